// The thread of a sort file: its life, and how it is turned. The protocol is told in dataPoolManager.h.
//
// Choice: between two pieces of work the thread sleeps for a short time, it waits for no event: 10 ms when no copy
// wants a block, 100 ms when there is nothing at all. No caller ever waits for that.
//
// Threads: startThread, rewindThread and endThread on the writer's thread.

#ifndef DATASRC_SRC_STORAGE_SORTTEMP_WORKER_H
#define DATASRC_SRC_STORAGE_SORTTEMP_WORKER_H

#include <atomic>

#include "Platform/threads/sfThreadPool.h"

class dataPoolManager;

class workerCallBackObject : public CallBackObject {
 public:
  // The pool outlives it.
  explicit workerCallBackObject(dataPoolManager& pool) : m_pool(pool) {}

  void* callback(void* message) override;
  // From writing to reading, once.
  void rewindObject();
  // Has the callback come back.
  void stopObject();

 private:
  void Write();
  void Read();

  dataPoolManager& m_pool;
  std::atomic<bool> m_write = true;
  std::atomic<bool> m_read = false;
  std::atomic<bool> m_stop = false;
};

class workerThread {
 public:
  explicit workerThread(dataPoolManager& pool) : m_callback(pool) {}
  workerThread(const workerThread&) = delete;
  workerThread& operator=(const workerThread&) = delete;
  // Ends the thread.
  ~workerThread();

  // Throws std::system_error when the system has no thread to give.
  void startThread();
  void endThread();
  void rewindThread();

 private:
  workerCallBackObject m_callback;
  sfThreadPool m_thread{1, 0};
};

#endif
