#include "storage/ZWriteRun.h"

#include <cerrno>

#include "Platform/Assert.h"

// ---- The caller ----

int ZWriteRun::Write(WriteRequest& request, long& length) {
  DataBuffer* active = m_buffers.Active();
  while (request.toGo > 0) {
    if (m_blocks.Fault() != 0) return m_blocks.Fault();
    if (active == nullptr) {
      if (*request.position != length) return ESPIPE;
      active = TakeActive();
    }
    active->Write(request);
    length = active->End();
    if (!active->IsFull()) continue;
    m_buffers.Hand(*active);
    active = nullptr;
  }
  return 0;
}

ZWriteRun::DataBuffer* ZWriteRun::TakeActive() {
  m_buffers.Semaphores().freeBuffers.waitSemaphore();
  QUAV_ASSERT(m_buffers.TakeActive(DataBuffer::kFree, DataBuffer::kFilled), "false");
  return m_buffers.Active();
}

void ZWriteRun::Finish() {
  m_buffers.Stop();
  m_buffers.Semaphores().readyBuffers.postSemaphore();
  m_buffers.Semaphores().finished.waitSemaphore();
}

// ---- The thread ----

void ZWriteRun::Work() {
  while (!m_finished) {
    m_buffers.Semaphores().readyBuffers.waitSemaphore();
    DataBuffer* const buffer = TakeForCompressing();
    if (buffer == nullptr) continue;
    m_blocks.Append(*buffer);
    m_buffers.Free(*buffer);
  }
  m_buffers.Semaphores().finished.postSemaphore();
}

// Returns the next ready buffer. At the flush, after all ready ones, returns the active buffer, or null when there is
// none.
ZWriteRun::DataBuffer* ZWriteRun::TakeForCompressing() {
  DataBuffer* const ready = m_buffers.Find(DataBuffer::kReady);
  if (ready != nullptr) return ready;
  m_finished = true;
  DataBuffer* const active = m_buffers.Active();
  QUAV_ASSERT(m_buffers.IsStopped() && (active == nullptr || active->state == DataBuffer::kFilled), "false");
  return active;
}
