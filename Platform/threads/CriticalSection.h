// A recursive lock: the thread that holds it may take it again. It works with std::lock_guard.
//
// Threads: any; that is its purpose.

#ifndef PLATFORM_THREADS_CRITICALSECTION_H
#define PLATFORM_THREADS_CRITICALSECTION_H

#include <mutex>

class CriticalSection {
 public:
  CriticalSection() = default;
  CriticalSection(const CriticalSection&) = delete;
  CriticalSection& operator=(const CriticalSection&) = delete;

  void lock() { m_mutex.lock(); }
  void unlock() { m_mutex.unlock(); }

 private:
  std::recursive_mutex m_mutex;
};

#endif
