#include "datasrc/RefCountPtr.h"

#include <mutex>

ThreadSafeRefCntObject::~ThreadSafeRefCntObject() = default;

void ThreadSafeRefCntObject::AddReference() {
  const std::lock_guard guard(m_lock);
  ++m_references;
}

void ThreadSafeRefCntObject::RemoveReference() {
  bool last = false;
  {
    const std::lock_guard guard(m_lock);
    last = --m_references == 0;
  }
  if (last) delete this;
}

bool ThreadSafeRefCntObject::IsShared() const {
  const std::lock_guard guard(m_lock);
  return m_references > 1;
}

bool ThreadSafeRefCntObject::IsShareable() const {
  const std::lock_guard guard(m_lock);
  return m_shareable != 0;
}

void ThreadSafeRefCntObject::MarkUnshareable() {
  const std::lock_guard guard(m_lock);
  m_shareable = 0;
}
