// The observers of a data source, in the order of their registration.
//
// An observer may register and unregister observers, itself included, while it is being called: one that is added then
// is called from the next iterator on, and one that is removed is called no more. Entries therefore never move during a
// call; a removed one becomes null, and goes later.
//
// Threads: several may call Tell at once; Add and Remove are writes.

#ifndef DATASRC_SRC_SOURCES_OBSERVERLIST_H
#define DATASRC_SRC_SOURCES_OBSERVERLIST_H

#include <algorithm>
#include <cstddef>
#include <memory>
#include <vector>

#include "datasrc/QUAV_DataSource.h"

class ObserverList {
 public:
  using Observer = QUAV_DataSource::Observer;

  ObserverList() = default;
  ObserverList(const ObserverList& other) : m_observers(other.m_observers ? other.Copy() : nullptr) {}
  ObserverList(ObserverList&&) noexcept = default;
  ObserverList& operator=(const ObserverList&) = delete;
  ObserverList& operator=(ObserverList&&) noexcept = default;
  ~ObserverList() = default;

  void Add(Observer* observer) {
    if (!m_observers) m_observers = std::make_shared<Observers>();
    if (!IsInCall()) std::erase(*m_observers, nullptr);
    m_observers->push_back(observer);
  }
  // Removes every occurrence. Needs no memory: destructors of observers call it.
  void Remove(const Observer* observer) noexcept {
    if (!m_observers) return;
    std::ranges::replace(*m_observers, observer, nullptr);
    if (!IsInCall()) std::erase(*m_observers, nullptr);
  }
  void Tell(QUAV_InputCaseIterator* iterator) const {
    if (!m_observers) return;
    const std::shared_ptr<Observers> observers = m_observers;
    const std::size_t count = observers->size();
    for (std::size_t i = 0; i < count; ++i)
      if (Observer* const observer = (*observers)[i]; observer != nullptr) observer->IteratorMade(iterator);
  }
  // Returns the observers that are registered.
  std::vector<Observer*> All() const { return m_observers ? *Copy() : std::vector<Observer*>(); }

 private:
  using Observers = std::vector<Observer*>;

  // A call owns the list, too.
  bool IsInCall() const { return m_observers.use_count() > 1; }
  std::shared_ptr<Observers> Copy() const {
    auto copy = std::make_shared<Observers>(*m_observers);
    std::erase(*copy, nullptr);
    return copy;
  }

  std::shared_ptr<Observers> m_observers;  // null before the first observer
};

#endif
