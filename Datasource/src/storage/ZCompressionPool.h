// The tasks of all compressed files of the process, and the threads of the tasks that run.
//
// A task keeps its slot until another task replaces it; a stream refers to it by the index of the slot. At first
// there are a few slots. When all are taken, a new file gets the slot of the task that has been unused for longest.
// Only a task that does not run and whose file no stream can use is replaced: the table of a file that may still be
// read is never dropped. If there is no such task, the pool gets one more slot.
//
// Threads: any. The pool has a lock; a stream takes it when it opens, ends or changes its direction, not for each read
// or write. The streams of one file are for one thread at a time.

#ifndef DATASRC_SRC_STORAGE_ZCOMPRESSIONPOOL_H
#define DATASRC_SRC_STORAGE_ZCOMPRESSIONPOOL_H

#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "Platform/stream/QUAV_File.h"
#include "Platform/threads/sfThreadPool.h"
#include "storage/ZCompressionTask.h"

// Runs a task in the mode in which it was begun.
class ZCompressionCallback : public CallBackObject {
 public:
  // The task is not owned.
  explicit ZCompressionCallback(ZCompressionTask& task) : m_task(task) {}
  void* callback(void* message) override;

 private:
  ZCompressionTask& m_task;
};

class ZCompressionPool {
 public:
  // Returns the pool of the process. Choice: it is never destroyed, so streams may live as long as the process.
  static ZCompressionPool& Instance();

  ZCompressionPool() = default;
  ZCompressionPool(const ZCompressionPool&) = delete;
  ZCompressionPool& operator=(const ZCompressionPool&) = delete;
  // Flushes all tasks that run.
  virtual ~ZCompressionPool();

  // For operations that belong together: while the caller has the lock, no operation of another thread comes between.
  [[nodiscard]] std::unique_lock<std::recursive_mutex> Lock() const { return std::unique_lock(m_mutex); }

  // Starts a run of the file's task, or of a new task when the file has none, and returns the task's index. A task
  // that already runs is flushed first. Reading begins at `wanted`, a position in the stream. Throws
  // std::system_error when the system gives no thread, and std::bad_alloc; the task, if there is one, does not run
  // then.
  int GetThreadIndex(const std::shared_ptr<QUAV_File>& file, const std::string& name, bool write, long wanted);
  // Returns the index of the open file's task, -1 for none.
  int Find(const std::shared_ptr<QUAV_File>& file) const;
  // Ends the run of the task, if it runs. Returns 1, or 0 for an index that does not exist.
  int Flush(int index);

  // A stream takes the index, and gives it back; `file` is the file that it has open then. When the last stream gives
  // the index back, the task is flushed and forgets its file, unless the file is still open in copies that never took
  // the index.
  void Join(int index);
  void Leave(int index, const std::shared_ptr<QUAV_File>& file);

  // Returns null for an index that does not exist. A task stays where it is while a stream has its index.
  ZCompressionTask* Task(int index) const;
  bool Runs(int index) const;

 protected:  // Tests break the pool here, to see that it is asserted.
  // The order of the members matters: the thread stops before the callback is destroyed.
  struct Running {
    explicit Running(ZCompressionTask& task) : callback(task) {}
    ZCompressionCallback callback;
    sfThreadPool thread{1, 0};
  };

  mutable std::recursive_mutex m_mutex;  // guards all members below
  std::size_t m_limit = 8;
  std::vector<std::unique_ptr<ZCompressionTask>> tasks;
  std::vector<std::unique_ptr<Running>> threads;  // null: the task does not run

 private:
  bool IsIndex(int index) const { return 0 <= index && static_cast<std::size_t>(index) < tasks.size(); }
  int NewTask(const std::shared_ptr<QUAV_File>& file, const std::string& name);
  int FreeSlot();
  int OldestUnused() const;
  void Start(int index, bool write, long wanted);
};

#endif
