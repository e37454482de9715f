// A mutex that is told where it is taken. sfMutexLock takes one for the length of a scope.
//
// Threads: any; that is what it is for. Whoever locked it unlocks it, and does not lock it again before.

#ifndef PLATFORM_THREADS_SFMUTEX_H
#define PLATFORM_THREADS_SFMUTEX_H

#include <mutex>

// In what way a mutex is taken. There is one way; its number is what callers pass.
enum LockType : int { kExclusiveLock = 1 };

class sfMutex {
 public:
  sfMutex() = default;
  sfMutex(const sfMutex&) = delete;
  sfMutex& operator=(const sfMutex&) = delete;

  // Source and line say who asks, for a person with a debugger; the source may be null.
  void lock(LockType /*type*/, const char* /*source*/, int /*line*/) { m_mutex.lock(); }
  void unlock(const char* /*source*/, int /*line*/) { m_mutex.unlock(); }

 private:
  std::mutex m_mutex;
};

class sfMutexLock {
 public:
  explicit sfMutexLock(sfMutex& mutex, const char* source = __builtin_FILE(), int line = __builtin_LINE())
      : m_mutex(mutex), m_source(source), m_line(line) {
    m_mutex.lock(kExclusiveLock, m_source, m_line);
  }
  sfMutexLock(const sfMutexLock&) = delete;
  sfMutexLock& operator=(const sfMutexLock&) = delete;
  ~sfMutexLock() { m_mutex.unlock(m_source, m_line); }

 private:
  sfMutex& m_mutex;
  const char* m_source;
  int m_line;
};

#endif
