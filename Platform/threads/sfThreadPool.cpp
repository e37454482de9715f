#include "Platform/threads/sfThreadPool.h"

#include "Platform/Assert.h"

msgBaseData::~msgBaseData() = default;

CallBackObject::~CallBackObject() = default;

sfThreadPoolBase::~sfThreadPoolBase() { stopAll(); }

void sfThreadPoolBase::init() {
  QUAV_ASSERT(m_threads.empty(), "m_threads.empty()");
  const std::lock_guard lock(m_mutex);
  m_jobs.clear();
  m_stopping = false;
}

void sfThreadPoolBase::startAll() {
  try {
    while (m_threads.size() < static_cast<std::size_t>(m_wanted)) m_threads.emplace_back([this] { Work(); });
  } catch (...) {
    stopAll();
    throw;
  }
}

void sfThreadPoolBase::stopAll() {
  {
    const std::lock_guard lock(m_mutex);
    m_stopping = true;
    m_changed.notify_all();
  }
  for (std::thread& thread : m_threads) thread.join();
  m_threads.clear();
}

void sfThreadPoolBase::Give(const Job& job) {
  const std::lock_guard lock(m_mutex);
  m_jobs.push_back(job);
  m_changed.notify_one();
}

// The function of a thread: it does jobs until none is left and no more will come.
void sfThreadPoolBase::Work() {
  std::unique_lock lock(m_mutex);
  for (;;) {
    m_changed.wait(lock, [this] { return m_stopping || !m_jobs.empty(); });
    if (m_jobs.empty()) return;
    const Job job = m_jobs.front();
    m_jobs.pop_front();
    lock.unlock();
    job.callback->callback(job.message);
    lock.lock();
  }
}

sfThreadPool::sfThreadPool(int threads, int stackSize) : sfThreadPoolBase(threads) {
  QUAV_ASSERT(threads > 0, "threads > 0");
  QUAV_ASSERT(stackSize == 0, "stackSize == 0");
}

void sfThreadPool::run(CallBackObject* callback, msgBaseData* message, int times) {
  for (int i = 0; i < times; ++i) Give({callback, message});
}
