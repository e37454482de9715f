#include "tools/threads/Crew.h"

#include <system_error>
#include <utility>

namespace tool {

Crew::Crew(int threads) {
  m_threads.reserve(static_cast<std::size_t>(threads));
  try {
    for (int i = 1; i < threads; ++i) m_threads.emplace_back([this] { Serve(); });
  } catch (const std::system_error&) {
    // Deliberate: there is a thread less.
  }
}

Crew::~Crew() {
  {
    const std::lock_guard lock(m_lock);
    m_isEnding = true;
  }
  m_begun.notify_all();
  for (std::thread& thread : m_threads) thread.join();
}

void Crew::Do(std::size_t count, const std::function<void(std::size_t)>& work) {
  std::unique_lock lock(m_lock);
  m_work = &work;
  m_next = 0;
  m_count = count;
  if (count > 1) m_begun.notify_all();
  Work(lock);
  m_done.wait(lock, [this] { return m_running == 0; });
  m_work = nullptr;
  if (m_failure) std::rethrow_exception(std::exchange(m_failure, nullptr));
}

void Crew::Serve() {
  std::unique_lock lock(m_lock);
  while (true) {
    m_begun.wait(lock, [this] { return m_isEnding || m_next < m_count; });
    if (m_isEnding) return;
    Work(lock);
  }
}

// Does pieces until none is left.
void Crew::Work(std::unique_lock<std::mutex>& lock) {
  while (m_next < m_count) {
    const std::size_t piece = m_next++;
    const std::function<void(std::size_t)>& work = *m_work;
    ++m_running;
    lock.unlock();
    std::exception_ptr failure;
    try {
      work(piece);
    } catch (...) {
      failure = std::current_exception();
    }
    lock.lock();
    --m_running;
    if (failure) {
      m_next = m_count;
      if (!m_failure) m_failure = failure;
    }
  }
  if (m_running == 0) m_done.notify_one();
}

}  // namespace tool
