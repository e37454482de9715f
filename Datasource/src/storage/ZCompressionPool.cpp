#include "storage/ZCompressionPool.h"

#include "Platform/Assert.h"

void* ZCompressionCallback::callback(void* /*message*/) {
  return m_task.IsWriting() ? m_task.comThreadFunc() : m_task.decThreadFunc();
}

ZCompressionPool& ZCompressionPool::Instance() {
  static ZCompressionPool& pool = *new ZCompressionPool;
  return pool;
}

ZCompressionPool::~ZCompressionPool() {
  for (int index = 0; IsIndex(index); ++index) Flush(index);
}

int ZCompressionPool::GetThreadIndex(const std::shared_ptr<QUAV_File>& file, const std::string& name, bool write,
                                     long wanted) {
  const std::scoped_lock lock(m_mutex);
  QUAV_ASSERT(tasks.size() == threads.size(), "tasks.size() == threads.size()");
  for (const std::unique_ptr<ZCompressionTask>& task : tasks) {
    ++task->age;
    if (task->IsUnused()) task->Forget();
  }
  const int found = Find(file);
  const int index = found >= 0 ? found : NewTask(file, name);
  Flush(index);
  tasks[static_cast<std::size_t>(index)]->age = found >= 0 ? 0 : 1;
  Start(index, write, wanted);
  return index;
}

int ZCompressionPool::Find(const std::shared_ptr<QUAV_File>& file) const {
  const std::scoped_lock lock(m_mutex);
  for (const std::unique_ptr<ZCompressionTask>& task : tasks) {
    if (task->IsOf(file)) return task->index;
  }
  return -1;
}

int ZCompressionPool::NewTask(const std::shared_ptr<QUAV_File>& file, const std::string& name) {
  auto task = std::make_unique<ZCompressionTask>(file, name);
  const int index = FreeSlot();
  task->index = index;
  tasks[static_cast<std::size_t>(index)] = std::move(task);
  return index;
}

// Returns the index of a slot whose task may be replaced, or of a new slot.
int ZCompressionPool::FreeSlot() {
  const bool isFull = m_limit < tasks.size();
  const int unused = isFull ? OldestUnused() : -1;
  if (unused >= 0) return unused;
  if (isFull) ++m_limit;
  threads.reserve(tasks.size() + 1);
  tasks.emplace_back();
  threads.emplace_back();
  return static_cast<int>(tasks.size()) - 1;
}

// Returns -1 when each task runs or may still be used.
int ZCompressionPool::OldestUnused() const {
  int oldest = -1;
  for (const std::unique_ptr<ZCompressionTask>& task : tasks) {
    if (Runs(task->index) || !task->IsUnused()) continue;
    if (oldest < 0 || task->age > Task(oldest)->age) oldest = task->index;
  }
  return oldest;
}

void ZCompressionPool::Start(int index, bool write, long wanted) {
  ZCompressionTask& task = *Task(index);
  auto running = std::make_unique<Running>(task);
  task.Begin(write, wanted);
  try {
    running->thread.init();
    running->thread.startAll();
    running->thread.run(&running->callback, nullptr, 1);
  } catch (...) {
    task.End();
    throw;
  }
  threads[static_cast<std::size_t>(index)] = std::move(running);
  task.runs = true;
}

int ZCompressionPool::Flush(int index) {
  const std::scoped_lock lock(m_mutex);
  if (!IsIndex(index)) return 0;
  std::unique_ptr<Running>& running = threads[static_cast<std::size_t>(index)];
  if (!running) return 1;
  ZCompressionTask& task = *Task(index);
  if (task.IsWriting())
    task.FinishWriting();
  else
    task.StopReading();
  running->thread.stopAll();
  running.reset();
  task.runs = false;
  task.End();
  return 1;
}

void ZCompressionPool::Join(int index) {
  const std::scoped_lock lock(m_mutex);
  ++Task(index)->users;
}

void ZCompressionPool::Leave(int index, const std::shared_ptr<QUAV_File>& file) {
  const std::scoped_lock lock(m_mutex);
  ZCompressionTask& task = *Task(index);
  if (--task.users > 0) return;
  Flush(index);
  // A copy without an index may still use the file. If it does not, the next GetThreadIndex makes this task forget.
  const bool isLast = !task.IsOf(file) || file.use_count() == 1;
  if (isLast) task.Forget();
}

ZCompressionTask* ZCompressionPool::Task(int index) const {
  const std::scoped_lock lock(m_mutex);
  return IsIndex(index) ? tasks[static_cast<std::size_t>(index)].get() : nullptr;
}

bool ZCompressionPool::Runs(int index) const {
  const std::scoped_lock lock(m_mutex);
  return threads[static_cast<std::size_t>(index)] != nullptr;
}
