// Does tasks on several threads, and finishes them in the order in which they were added.
//
//   TaskPool pool(threads);
//   TaskLine line(pool);
//   line.Add(task);         from now on any of the threads may do it
//   line.FinishOldest();    returns when the oldest task is done, and throws what it threw
//
// A thread that waits in FinishOldest does tasks meanwhile. It is one of the threads, so with one thread none is started.
// Otherwise they are started when more tasks wait than the caller can do: a single task needs none. They end in the
// destructor of the pool. Several lines may share a pool, which then does their tasks one after the other.
//
// The threads block all signals, so that the handlers run on the thread that makes the files.
//
// Threads: a pool and its lines belong to one thread. The pool outlives the lines.

#ifndef TOOLS_THREADS_TASKPOOL_H
#define TOOLS_THREADS_TASKPOOL_H

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace tool {

class TaskPool {
 public:
  // `threads` is at least 1. If the system has no more threads, those that are there do the work.
  explicit TaskPool(int threads) : m_threadsWanted(threads) {}
  TaskPool(const TaskPool&) = delete;
  TaskPool& operator=(const TaskPool&) = delete;
  ~TaskPool();

  int Threads() const { return m_threadsWanted; }
  // Returns whether the threads are started.
  bool IsStarted() const { return !m_threads.empty(); }

 private:
  friend class TaskLine;

  struct Job {
    std::function<void()> task;
    std::exception_ptr failure = {};
    bool isDone = false;
  };

  void Add(Job& job);
  void Finish(Job& job);
  void Drop(std::deque<Job>& jobs);
  void Start();
  void Serve();
  void DoNext(std::unique_lock<std::mutex>& lock);
  void Do(Job& job, std::unique_lock<std::mutex>& lock);

  int m_threadsWanted;
  bool m_hasTried = false;  // to start the threads

  std::mutex m_lock;  // guards the members below, and the state of all jobs
  std::condition_variable m_waits;
  std::condition_variable m_done;
  std::deque<Job*> m_waiting;
  bool m_isEnding = false;

  std::vector<std::thread> m_threads;
};

class TaskLine {
 public:
  explicit TaskLine(TaskPool& pool) : m_pool(pool) {}
  TaskLine(const TaskLine&) = delete;
  TaskLine& operator=(const TaskLine&) = delete;
  ~TaskLine() { Drop(); }

  // The most tasks that are worth having in the line.
  std::size_t Room() const { return 2 * static_cast<std::size_t>(m_pool.Threads()); }
  // Returns how many tasks were added and are not finished.
  std::size_t Size() const { return m_jobs.size(); }
  void Add(std::function<void()> task);
  void FinishOldest();
  // Omits the tasks that have not begun, waits for the others, and forgets what they threw.
  void Drop();

 private:
  TaskPool& m_pool;
  std::deque<TaskPool::Job> m_jobs;
};

}  // namespace tool

#endif
