#include "Platform/threads/sfSemaphore.h"

void sfSemaphore::waitSemaphore() {
  std::unique_lock lock(m_mutex);
  m_posted.wait(lock, [this] { return m_count > 0; });
  --m_count;
}

bool sfSemaphore::tryWaitSemaphore() {
  const std::lock_guard lock(m_mutex);
  if (m_count == 0) return false;
  --m_count;
  return true;
}

// Notifies under the lock, because the waiting thread may destroy the semaphore as soon as it has its count.
void sfSemaphore::postSemaphore() {
  const std::lock_guard lock(m_mutex);
  ++m_count;
  m_posted.notify_one();
}
