// The tasks of all compressed files of the process, and the threads of those that run.
//
// A task has a slot for good, or until it is replaced; a stream knows it by the slot's number. There are a few slots at
// first. When all are taken, a new file gets the slot of the task that has been left alone for longest, of those that
// neither run nor have a stream: the table of a file that may still be read is never given up. With no such task there
// is one slot more.
//
// Threads: the one thread that all compressed streams are used on (zcompressedfilestr.h); there is no lock.

#ifndef DATASRC_SRC_STORAGE_ZCOMPRESSIONPOOL_H
#define DATASRC_SRC_STORAGE_ZCOMPRESSIONPOOL_H

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "Platform/stream/QUAV_File.h"
#include "Platform/threads/sfThreadPool.h"
#include "storage/ZCompressionTask.h"

// Runs a task, in the mode that it was begun in.
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
  // The pool of the process. Choice: it is never destroyed, so that streams may live as long as the process.
  static ZCompressionPool& Instance();

  ZCompressionPool() = default;
  ZCompressionPool(const ZCompressionPool&) = delete;
  ZCompressionPool& operator=(const ZCompressionPool&) = delete;
  // Flushes what runs.
  virtual ~ZCompressionPool();

  // Has the file's task run, a new one when it has none, and answers its number. What runs already is flushed first.
  // Reading begins at `wanted`, a position in the stream. Throws std::system_error when the system gives no thread, and
  // std::bad_alloc; the task, if any, does not run then.
  int GetThreadIndex(const std::shared_ptr<QUAV_File>& file, const std::string& name, bool write, long wanted);
  // The number of the task of the open file; -1 for none.
  int Find(const std::shared_ptr<QUAV_File>& file) const;
  // Ends the run of the task, if it runs. 0 for a number that is none, else 1.
  int Flush(int index);

  // A stream takes the number, and gives it back; `file` is what it has open then. The last one has the task forget its
  // file, unless copies of the stream have it open that never asked for the number.
  void Join(int index);
  void Leave(int index, const std::shared_ptr<QUAV_File>& file);

  // Null for a number that is none.
  ZCompressionTask* Task(int index) const;
  bool Runs(int index) const;

 protected:  // Tests break the pool here, to see it asserted.
  // The pool is stopped before the callback goes.
  struct Running {
    explicit Running(ZCompressionTask& task) : callback(task) {}
    ZCompressionCallback callback;
    sfThreadPool thread{1, 0};
  };

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
