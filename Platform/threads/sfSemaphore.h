// A counting semaphore: a number of things that may be taken, and a place to wait for the next one.
//
// Choice: a mutex and a condition, not std::counting_semaphore: that of libstdc++ 12 may sleep through a post.
//
// Threads: any; that is what it is for. What happens before a post is seen by the thread whose wait it ends.

#ifndef PLATFORM_THREADS_SFSEMAPHORE_H
#define PLATFORM_THREADS_SFSEMAPHORE_H

#include <condition_variable>
#include <mutex>

class sfSemaphore {
 public:
  explicit sfSemaphore(unsigned count) : m_count(count) {}
  sfSemaphore(const sfSemaphore&) = delete;
  sfSemaphore& operator=(const sfSemaphore&) = delete;

  // Takes one, and waits for it while there is none.
  void waitSemaphore();
  // Takes one if there is one, and says whether it did.
  bool tryWaitSemaphore();
  // Adds one.
  void postSemaphore();

 private:
  std::mutex m_mutex;
  std::condition_variable m_posted;
  unsigned m_count;  // guarded by m_mutex
};

#endif
