#include "tools/threads/TaskPool.h"

#include <algorithm>
#include <csignal>
#include <system_error>
#include <utility>

namespace tool {

namespace {

// Blocks all signals of this thread, and of those that it starts.
class BlockedSignals {
 public:
  BlockedSignals() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &m_before);
  }
  ~BlockedSignals() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
  BlockedSignals(const BlockedSignals&) = delete;
  BlockedSignals& operator=(const BlockedSignals&) = delete;

 private:
  sigset_t m_before;
};

}  // namespace

TaskPool::~TaskPool() {
  {
    const std::lock_guard lock(m_lock);
    m_isEnding = true;
  }
  m_waits.notify_all();
  for (std::thread& thread : m_threads) thread.join();
}

void TaskPool::Add(Job& job) {
  bool isMore = false;
  {
    const std::lock_guard lock(m_lock);
    m_waiting.push_back(&job);
    isMore = m_waiting.size() > 1;
  }
  if (isMore) Start();
  m_waits.notify_one();
}

void TaskPool::Start() {
  if (std::exchange(m_hasTried, true)) return;
  const BlockedSignals blocked;
  try {
    for (int i = 1; i < m_threadsWanted; ++i) m_threads.emplace_back([this] { Serve(); });
  } catch (const std::system_error&) {
    // Deliberate: there is a thread less.
  }
}

void TaskPool::Serve() {
  std::unique_lock lock(m_lock);
  for (;;) {
    m_waits.wait(lock, [this] { return m_isEnding || !m_waiting.empty(); });
    if (m_isEnding) return;
    DoNext(lock);
  }
}

void TaskPool::DoNext(std::unique_lock<std::mutex>& lock) {
  Job& job = *m_waiting.front();
  m_waiting.pop_front();
  Do(job, lock);
}

void TaskPool::Do(Job& job, std::unique_lock<std::mutex>& lock) {
  lock.unlock();
  try {
    job.task();
  } catch (...) {
    job.failure = std::current_exception();
  }
  lock.lock();
  job.isDone = true;
  m_done.notify_all();
}

void TaskPool::Finish(Job& job) {
  std::unique_lock lock(m_lock);
  if (const auto found = std::ranges::find(m_waiting, &job); found != m_waiting.end()) {
    m_waiting.erase(found);
    Do(job, lock);
  }
  while (!job.isDone) {
    if (m_waiting.empty()) {
      m_done.wait(lock);
    } else {
      DoNext(lock);
    }
  }
}

void TaskPool::Drop(std::deque<Job>& jobs) {
  std::unique_lock lock(m_lock);
  for (Job& job : jobs)
    if (const auto found = std::ranges::find(m_waiting, &job); found != m_waiting.end()) {
      m_waiting.erase(found);
      job.isDone = true;
    }
  m_done.wait(lock, [&jobs] { return std::ranges::all_of(jobs, &Job::isDone); });
}

void TaskLine::Add(std::function<void()> task) {
  m_jobs.push_back({std::move(task)});
  m_pool.Add(m_jobs.back());
}

void TaskLine::FinishOldest() {
  m_pool.Finish(m_jobs.front());
  const std::exception_ptr failure = m_jobs.front().failure;
  m_jobs.pop_front();
  if (failure) std::rethrow_exception(failure);
}

void TaskLine::Drop() {
  m_pool.Drop(m_jobs);
  m_jobs.clear();
}

}  // namespace tool
