#include "storage/sortTemp/worker.h"

#include "Platform/threads/QUAV_msleep.h"
#include "storage/sortTemp/dataPoolManager.h"

namespace {

constexpr int kIdle = 100;  // milliseconds
constexpr int kNobodyAsks = 10;

}  // namespace

// ---- The thread's life ----

void* workerCallBackObject::callback(void* /*message*/) {
  while (!m_stop) {
    if (m_write)
      Write();
    else if (m_read)
      Read();
    else
      QUAV_msleep(kIdle);
  }
  return nullptr;
}

void workerCallBackObject::Write() {
  const bool hasWritten = m_pool.QueryForWrite();
  if (!hasWritten && m_write && !m_stop) QUAV_msleep(kIdle);
}

void workerCallBackObject::Read() {
  const bool hasRead = m_pool.QueryForRead();
  if (!hasRead && !m_stop) QUAV_msleep(kNobodyAsks);
}

// ---- Called on the writer's thread ----

void workerCallBackObject::rewindObject() {
  if (m_pool.IsClosed()) return;
  m_pool.WaitWritten();
  m_read = true;
  m_write = false;
  m_pool.End();
}

void workerCallBackObject::stopObject() {
  m_stop = true;
  m_pool.End();
}

workerThread::~workerThread() { endThread(); }

void workerThread::startThread() {
  m_thread.init();
  m_thread.startAll();
  m_thread.run(&m_callback, nullptr, 1);
}

void workerThread::endThread() {
  m_callback.stopObject();
  m_thread.stopAll();
}

void workerThread::rewindThread() { m_callback.rewindObject(); }
