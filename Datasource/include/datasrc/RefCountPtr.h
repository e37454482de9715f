// The copy-on-write handle by which variables, value label maps and extension blocks are shared, and the counted base
// whose count is guarded by a lock.
//
//   reading   through `->`, from the shared body
//   writing   through Unshared(), which first gives this handle a body of its own when others hold it too
//
// A raw pointer into a body must not be held across a write.
//
// Threads: handles on one ThreadSafeRefCntObject may live on several threads; one handle is used by one thread at a
// time.

#ifndef DATASRC_REFCOUNTPTR_H
#define DATASRC_REFCOUNTPTR_H

#include <utility>

#include "Platform/Export.h"
#include "Platform/threads/CriticalSection.h"

// A shared object whose count and flag are read and changed only under its lock. A copy of it starts with count 0,
// shareable. Deletion, when the last reference goes, happens outside the lock.
class DATASRC_API ThreadSafeRefCntObject {
 public:
  ThreadSafeRefCntObject() = default;
  ThreadSafeRefCntObject(const ThreadSafeRefCntObject&) {}
  ThreadSafeRefCntObject& operator=(const ThreadSafeRefCntObject&) { return *this; }
  virtual ~ThreadSafeRefCntObject();

  void AddReference();
  void RemoveReference();
  // Whether more than one handle holds the object.
  bool IsShared() const;
  bool IsShareable() const;
  // From now on a handle that takes the object makes itself a copy.
  void MarkUnshareable();

 private:
  mutable CriticalSection m_lock;  // guards the two below
  long m_references = 0;
  short m_shareable = 1;
};

// T has the counting operations above (or those of QUAV_RefCntObject) and a copy constructor.
template <class T>
class RefCountPtr {
 public:
  RefCountPtr() = default;
  RefCountPtr(T* object) : m_object(object) { Init(); }
  RefCountPtr(const RefCountPtr& other) : m_object(other.m_object) { Init(); }
  RefCountPtr(RefCountPtr&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
  ~RefCountPtr() { Release(); }

  RefCountPtr& operator=(T* object) {
    if (object != m_object) {
      Release();
      m_object = object;
      Init();
    }
    return *this;
  }
  RefCountPtr& operator=(const RefCountPtr& other) { return *this = other.m_object; }
  RefCountPtr& operator=(RefCountPtr&& other) noexcept {
    std::swap(m_object, other.m_object);
    return *this;
  }

  T* operator->() const { return m_object; }
  T& operator*() const { return *m_object; }
  T* get() const { return m_object; }
  bool IsValid() const { return m_object != nullptr; }

  friend bool operator==(const RefCountPtr& a, const RefCountPtr& b) { return a.m_object == b.m_object; }
  friend bool operator==(const RefCountPtr& a, const T* b) { return a.m_object == b; }

  // The step before every write: a body that no other handle holds.
  T* Unshared() {
    if (m_object->IsShared()) {
      T* copy = new T(*m_object);
      m_object->RemoveReference();
      m_object = copy;
      Init();
    }
    return m_object;
  }

 private:
  // After each taking of a pointer: an object that must not be shared is replaced by a copy, and the reference counts.
  void Init() {
    if (m_object == nullptr) return;
    if (!m_object->IsShareable()) m_object = new T(*m_object);
    m_object->AddReference();
  }
  void Release() {
    if (m_object != nullptr) m_object->RemoveReference();
  }

  T* m_object = nullptr;
};

#endif
