// A mutex whose callers pass their source and line. sfMutexLock holds a mutex for the length of a scope.
//
// Threads: any; that is its purpose. The thread that locked a mutex unlocks it, and must not lock it a second time.

#ifndef PLATFORM_THREADS_SFMUTEX_H
#define PLATFORM_THREADS_SFMUTEX_H

#include <mutex>

// The way to take a mutex. There is only one; callers pass its number.
enum LockType : int { kExclusiveLock = 1 };

class sfMutex {
 public:
  sfMutex() = default;
  sfMutex(const sfMutex&) = delete;
  sfMutex& operator=(const sfMutex&) = delete;

  // Source and line identify the caller, for a person with a debugger; the source may be null.
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
