// The copy-on-write handle that shares variables, value label maps and extension blocks, and a base whose reference
// count is guarded by a lock.
//
//   reading   through `->`, from the shared body
//   writing   through Unshared(), which first copies the body when other handles hold it, too
//
// Do not keep a raw pointer into a body across a write.
//
// Threads: handles on one body may be on several threads, one thread at a time for each handle.

#ifndef DATASRC_REFCOUNTPTR_H
#define DATASRC_REFCOUNTPTR_H

#include <utility>

#include "Platform/Export.h"
#include "Platform/threads/CriticalSection.h"

// A shared object; its lock guards its count and flag. A new object and a copy have the count 0 and are shareable. The
// last RemoveReference deletes the object, outside the lock, so it must be on the heap.
class DATASRC_API ThreadSafeRefCntObject {
 public:
  ThreadSafeRefCntObject() = default;
  ThreadSafeRefCntObject(const ThreadSafeRefCntObject&) {}
  ThreadSafeRefCntObject& operator=(const ThreadSafeRefCntObject&) { return *this; }
  virtual ~ThreadSafeRefCntObject();

  void AddReference();
  void RemoveReference();
  // Returns whether more than one handle holds the object.
  bool IsShared() const;
  bool IsShareable() const;
  // From now on a handle that takes the object makes its own copy of it.
  void MarkUnshareable();

 private:
  mutable CriticalSection m_lock;  // guards the two below
  long m_references = 0;
  short m_shareable = 1;
};

// T has the counting operations above (or those of QUAV_RefCntObject) and a copy constructor. A handle may be null;
// then `->`, `*` and Unshared must not be called.
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
      RefCountPtr taken(object);  // may have to copy the object: the old one stays until that has succeeded
      std::swap(m_object, taken.m_object);
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

  // Returns a body that no other handle holds. Call it before each write.
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
  // Runs after a pointer was stored: replaces an object that is not shareable by a copy, and adds a reference.
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
