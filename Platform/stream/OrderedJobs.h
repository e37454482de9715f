// Jobs that several threads do. The owner gives them and takes them back in the same order.
//
//   OrderedJobs<Job> jobs(threads, makeWorker);   makeWorker makes a function for each thread, with its own tools
//   jobs.Give(std::move(job));                    as often as there is work; the caller limits how many are in
//   job = jobs.Take();                            the oldest, when it is done
//
// With 0 threads, or when the system can start none, Give does the job itself. A Give that throws for lack of memory
// has lost its job; the other jobs go on.
//
// When a worker throws, the Take of that job throws the same exception.
//
// Threads: one thread, the owner, calls Give, Take and Drop. The destructor waits for the jobs that have begun; the
// others are not done.

#ifndef PLATFORM_STREAM_ORDEREDJOBS_H
#define PLATFORM_STREAM_ORDEREDJOBS_H

#include <algorithm>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

template <class Job>
class OrderedJobs {
 public:
  using Worker = std::function<void(Job&)>;

  OrderedJobs(int threads, const std::function<Worker()>& makeWorker) {
    // Do first what may throw: a running thread must be joined.
    std::vector<Worker> workers(static_cast<std::size_t>(std::max(threads, 1)));
    std::ranges::generate(workers, makeWorker);
    m_threads.reserve(static_cast<std::size_t>(threads));
    try {
      for (int i = 0; i < threads; ++i)
        m_threads.emplace_back([this, work = workers[static_cast<std::size_t>(i)]] { Serve(work); });
    } catch (const std::exception&) {
      // The threads that did start do the work.
    }
    if (m_threads.empty()) m_ownWorker = workers.front();
  }
  OrderedJobs(const OrderedJobs&) = delete;
  OrderedJobs& operator=(const OrderedJobs&) = delete;
  ~OrderedJobs() {
    {
      const std::lock_guard lock(m_mutex);
      m_stop = true;
    }
    m_wake.notify_all();
    for (std::thread& thread : m_threads) thread.join();
  }

  int Threads() const { return static_cast<int>(m_threads.size()); }
  // The number of jobs that were given and not yet taken.
  std::size_t Size() const { return m_given.size(); }

  void Give(std::unique_ptr<Job> job) {
    const auto entry = std::make_shared<Entry>(std::move(job));
    const bool isOwn = m_threads.empty();
    {
      const std::lock_guard lock(m_mutex);
      m_given.push_back(entry);
      if (isOwn) m_begun = m_given.size();
    }
    if (isOwn) return Do(*entry, m_ownWorker);
    m_wake.notify_one();
  }

  // Waits for the oldest job and returns it. Size() must not be 0.
  std::unique_ptr<Job> Take() {
    std::unique_lock lock(m_mutex);
    const std::shared_ptr<Entry> entry = m_given.front();
    m_done.wait(lock, [&] { return entry->isDone; });
    m_given.pop_front();
    --m_begun;
    if (entry->failure) std::rethrow_exception(entry->failure);
    return std::move(entry->job);
  }

  // Forgets all given jobs. A job that has begun is finished, but its result and its failure are lost.
  void Drop() {
    const std::lock_guard lock(m_mutex);
    m_given.clear();
    m_begun = 0;
  }

 private:
  struct Entry {
    explicit Entry(std::unique_ptr<Job> theJob) : job(std::move(theJob)) {}
    std::unique_ptr<Job> job;  // belongs to the worker until isDone
    bool isDone = false;       // guarded by m_mutex
    std::exception_ptr failure;
  };

  void Do(Entry& entry, const Worker& work) {
    std::exception_ptr failure;
    try {
      work(*entry.job);
    } catch (...) {
      failure = std::current_exception();
    }
    const std::lock_guard lock(m_mutex);
    entry.failure = failure;
    entry.isDone = true;
  }

  void Serve(const Worker& work) {
    while (const std::shared_ptr<Entry> entry = Next()) {
      Do(*entry, work);
      m_done.notify_one();
    }
  }

  // Returns null when there is nothing more to do.
  std::shared_ptr<Entry> Next() {
    std::unique_lock lock(m_mutex);
    m_wake.wait(lock, [this] { return m_stop || m_begun < m_given.size(); });
    if (m_stop) return nullptr;
    return m_given[m_begun++];
  }

  std::mutex m_mutex;
  std::condition_variable m_wake;  // wakes the threads: m_begun, m_given or m_stop changed
  std::condition_variable m_done;  // wakes the owner: an isDone changed
  bool m_stop = false;             // guarded by m_mutex
  // Guarded by m_mutex. Only the owner changes it, so the owner may read it without the mutex.
  std::deque<std::shared_ptr<Entry>> m_given;
  std::size_t m_begun = 0;  // guarded by m_mutex; the number of m_given, from the oldest on, that have begun
  Worker m_ownWorker;       // null when threads do the jobs
  std::vector<std::thread> m_threads;
};

#endif
