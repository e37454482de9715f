// The base of objects that several handles share: it counts the handles and knows whether sharing is allowed.
//
// A new object has the count 0 and is shareable; the handle that takes it adds the first reference. Removing the last
// reference deletes the object, so it must be on the heap.
//
// Threads: the count is atomic, so handles on one object may be copied and dropped on different threads. The members
// of a derived class are not guarded.

#ifndef PLATFORM_THREADS_QUAV_REFCNTOBJECT_H
#define PLATFORM_THREADS_QUAV_REFCNTOBJECT_H

#include <atomic>

#include "Platform/Export.h"

class DATASRC_API QUAV_RefCntObject {
 public:
  QUAV_RefCntObject() = default;
  // A copy is a new object: no handle holds it yet, and it is shareable.
  QUAV_RefCntObject(const QUAV_RefCntObject&) {}
  QUAV_RefCntObject& operator=(const QUAV_RefCntObject&) { return *this; }
  virtual ~QUAV_RefCntObject();

  void AddReference() { m_references.fetch_add(1, std::memory_order_relaxed); }
  // Deletes the object when this was its last reference.
  void RemoveReference();
  // Returns whether more than one handle holds the object.
  bool IsShared() const { return m_references.load(std::memory_order_acquire) > 1; }
  bool IsShareable() const { return m_shareable.load(std::memory_order_relaxed); }
  // From now on a handle that takes the object makes its own copy of it.
  void MarkUnshareable() { m_shareable.store(false, std::memory_order_relaxed); }

 private:
  std::atomic<long> m_references{0};
  std::atomic<bool> m_shareable{true};
};

#endif
