// The thread of a sort file: how it runs, how it changes from writing to reading, and how it ends. The protocol is
// described in dataPoolManager.h.
//
// While writing, the thread waits for the writer's next block (a semaphore). While reading, it polls.
//
// Deliberate: it sleeps for 10 ms whenever no copy wants a block, and is not woken by a copy that begins to want one. A
// copy never waits for this sleep: it reads a block that the thread has not begun by itself. What the sleep costs is
// read-ahead that begins up to 10 ms late, endThread, which joins the thread, as much later, and a thread that wakes a
// hundred times a second as long as the file is open for reading. (A sleep of 100 ms stands where the thread would find
// neither a phase nor a writer. The order of calls in the protocol excludes both.)
//
// Threads: startThread, rewindThread and endThread are called on the writer's thread.

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
  // Changes from writing to reading. Later calls do nothing.
  void rewindObject();
  // Makes the callback return.
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
