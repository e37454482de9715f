// A lock that its holder may take again. It serves std::lock_guard.
//
// Threads: any; that is what it is for.

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
