// Jobs that several threads do, given and taken back in one order.
//
//   OrderedJobs<Job> jobs(threads, makeWorker);   makeWorker gives each thread a function of its own, with its own
//   tools jobs.Give(std::move(job));                    as often as there is work; the caller bounds how many are in
//   job = jobs.Take();                            the oldest, once it is done
//
// With 0 threads, and where the system has none to give, Give does the job itself.
//
// An exception that a worker lets out comes out of the Take of its job.
//
// Threads: Give, Take and Drop are for one thread, the owner's. The destructor waits for the jobs that are being done;
// those not begun are not done.

#ifndef PLATFORM_STREAM_ORDEREDJOBS_H
#define PLATFORM_STREAM_ORDEREDJOBS_H

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

template <class Job>
class OrderedJobs {
 public:
  using Worker = std::function<void(Job&)>;

  OrderedJobs(int threads, const std::function<Worker()>& makeWorker) {
    try {
      for (int i = 0; i < threads; ++i) m_threads.emplace_back([this, work = makeWorker()] { Serve(work); });
    } catch (const std::system_error&) {
      // The threads that there are do the work.
    }
    if (m_threads.empty()) m_ownWorker = makeWorker();
  }
  OrderedJobs(const OrderedJobs&) = delete;
  OrderedJobs& operator=(const OrderedJobs&) = delete;
  ~OrderedJobs() {
    {
      const std::lock_guard lock(m_mutex);
      m_stop = true;
      m_waiting.clear();
    }
    m_wake.notify_all();
    for (std::thread& thread : m_threads) thread.join();
  }

  int Threads() const { return static_cast<int>(m_threads.size()); }
  // Given and not yet taken.
  std::size_t Size() const { return m_given.size(); }

  void Give(std::unique_ptr<Job> job) {
    m_given.push_back(std::make_shared<Entry>(std::move(job)));
    if (m_threads.empty()) return Do(*m_given.back(), m_ownWorker);
    {
      const std::lock_guard lock(m_mutex);
      m_waiting.push_back(m_given.back());
    }
    m_wake.notify_one();
  }

  // The oldest job; Size() is not 0.
  std::unique_ptr<Job> Take() {
    const std::shared_ptr<Entry> entry = std::move(m_given.front());
    m_given.pop_front();
    std::unique_lock lock(m_mutex);
    m_done.wait(lock, [&] { return entry->isDone; });
    if (entry->failure) std::rethrow_exception(entry->failure);
    return std::move(entry->job);
  }

  // Forgets all jobs that were given. Those that are being done are done to their end, but nobody hears of it.
  void Drop() {
    const std::lock_guard lock(m_mutex);
    m_waiting.clear();
    m_given.clear();
  }

 private:
  struct Entry {
    explicit Entry(std::unique_ptr<Job> theJob) : job(std::move(theJob)) {}
    std::unique_ptr<Job> job;  // the worker's until isDone
    bool isDone = false;       // under m_mutex
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

  // Null when there is nothing more to do.
  std::shared_ptr<Entry> Next() {
    std::unique_lock lock(m_mutex);
    m_wake.wait(lock, [this] { return m_stop || !m_waiting.empty(); });
    if (m_stop) return nullptr;
    std::shared_ptr<Entry> entry = std::move(m_waiting.front());
    m_waiting.pop_front();
    return entry;
  }

  std::mutex m_mutex;
  std::condition_variable m_wake;                // of the threads: m_waiting or m_stop
  std::condition_variable m_done;                // of the owner: an isDone
  std::deque<std::shared_ptr<Entry>> m_waiting;  // under m_mutex
  bool m_stop = false;                           // under m_mutex
  std::deque<std::shared_ptr<Entry>> m_given;    // the owner's
  Worker m_ownWorker;                            // null when there are threads
  std::vector<std::thread> m_threads;
};

#endif
