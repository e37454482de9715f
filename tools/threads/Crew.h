// Does pieces of work on several threads.
//
//   Crew crew(threads);
//   crew.Do(count, work);   calls work(0) to work(count - 1), each once, on any of the threads, and waits for all
//
// The thread that calls Do works, too, so with one thread none is started. The threads end in the destructor.
//
// Threads: Do on one thread at a time.

#ifndef TOOLS_THREADS_CREW_H
#define TOOLS_THREADS_CREW_H

#include <condition_variable>
#include <cstddef>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace tool {

class Crew {
 public:
  // `threads` is at least 1. If the system has no more threads, those that are there do the work.
  explicit Crew(int threads);
  Crew(const Crew&) = delete;
  Crew& operator=(const Crew&) = delete;
  ~Crew();

  // When `work` throws, the pieces that have not begun are omitted, and the first exception is thrown again.
  void Do(std::size_t count, const std::function<void(std::size_t)>& work);

 private:
  void Serve();
  void Work(std::unique_lock<std::mutex>& lock);

  std::mutex m_lock;  // guards all members below, but for m_threads
  std::condition_variable m_begun;
  std::condition_variable m_done;
  const std::function<void(std::size_t)>* m_work = nullptr;  // null when there is none
  std::size_t m_next = 0;
  std::size_t m_count = 0;
  std::size_t m_running = 0;
  std::exception_ptr m_failure;
  bool m_isEnding = false;

  std::vector<std::thread> m_threads;
};

}  // namespace tool

#endif
