// A counting semaphore: it counts things to take, and a thread can wait for the next one.
//
// Choice: a mutex and a condition, not std::counting_semaphore, because that of libstdc++ 12 may sleep through a post.
//
// Threads: any; that is its purpose. What happens before a post is visible to the thread whose wait the post ends.

#ifndef PLATFORM_THREADS_SFSEMAPHORE_H
#define PLATFORM_THREADS_SFSEMAPHORE_H

#include <condition_variable>
#include <mutex>

class sfSemaphore {
 public:
  explicit sfSemaphore(unsigned count) : m_count(count) {}
  sfSemaphore(const sfSemaphore&) = delete;
  sfSemaphore& operator=(const sfSemaphore&) = delete;

  // Takes one; waits while there is none.
  void waitSemaphore();
  // Takes one if there is one, and returns whether it did.
  bool tryWaitSemaphore();
  // Adds one.
  void postSemaphore();

 private:
  std::mutex m_mutex;
  std::condition_variable m_posted;
  unsigned m_count;  // guarded by m_mutex
};

#endif
