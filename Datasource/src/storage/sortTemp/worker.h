// The thread of a sort file: how it runs, how it changes from writing to reading, and how it ends. The protocol is
// described in dataPoolManager.h.
//
// Choice: the thread sleeps where it could wait for an event. While reading, it sleeps for 10 ms whenever no copy
// wants a block. While writing, it waits for the writer's next block without a sleep. Where it finds no work in its
// phase it sleeps for 100 ms, but the protocol's order of calls excludes that. No read or write ever waits for a
// sleep. endThread may, because it joins the thread.
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
