#include "storage/ZReadRun.h"

#include <algorithm>

#include "Platform/Assert.h"

// ---- The caller ----

ZReadRun::Result ZReadRun::Read(ReadRequest& request, long end, Kept& kept) {
  if (m_reader != &kept) KeepBlock();
  m_reader = &kept;
  while (request.toGo > 0 && *request.position < end) {
    if (m_buffers.Active() == nullptr) {
      Request(*request.position);
      if (!TakeActive()) return m_fault == 0 ? Result::needsNewRun : Result::failed;
    }
    DataBuffer& active = *m_buffers.Active();
    if (*request.position < active.position) return Result::needsNewRun;
    active.Read(request);
    if (!active.Holds(*request.position)) m_buffers.Free(active);
  }
  return Result::done;
}

void ZReadRun::KeepBlock() {
  if (m_reader != nullptr) m_buffers.KeepActive(*m_reader);
}

void ZReadRun::Leaves(const Kept& kept) {
  if (m_reader == &kept) m_reader = nullptr;
}

void ZReadRun::Request(long wanted) {
  const sfMutexLock lock(m_positionLock);
  m_requested = wanted;
}

// Returns false when no more buffers will come.
bool ZReadRun::TakeActive() {
  if (m_buffers.IsDrained()) return false;
  m_buffers.Semaphores().readyBuffers.waitSemaphore();
  if (m_buffers.TakeActive(DataBuffer::kReady, DataBuffer::kRead)) return true;
  QUAV_ASSERT(m_buffers.IsDrained(), "false");
  return false;
}

void ZReadRun::Stop() {
  m_buffers.Stop();
  m_buffers.Semaphores().freeBuffers.postSemaphore();
}

// ---- The thread ----

void ZReadRun::Work() {
  const std::size_t count = m_blocks.Table().Count();
  for (std::size_t next = 0; next < count && WaitForFree(); ++next) {
    next = NextBlock(next);
    DataBuffer* const buffer = m_buffers.Take(DataBuffer::kFree, DataBuffer::kFilled);
    QUAV_ASSERT(buffer != nullptr, "false");
    m_fault = m_blocks.Load(m_blocks.Table().Block(next), *buffer);
    if (m_fault != 0) return m_buffers.EndHanding();
    m_buffers.Hand(*buffer, next + 1 == count);
  }
}

// Returns false when the flush has come.
bool ZReadRun::WaitForFree() {
  m_buffers.Semaphores().freeBuffers.waitSemaphore();
  return !m_buffers.IsStopped();
}

// Returns the next block, or the block that the caller wants when that is farther on.
std::size_t ZReadRun::NextBlock(std::size_t next) {
  const sfMutexLock lock(m_positionLock);
  return std::max(next, m_blocks.Table().IndexAt(m_requested));
}
