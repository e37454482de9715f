#include "storage/ZBufferPair.h"

#include <algorithm>
#include <new>
#include <utility>

void ZBufferPair::Begin() {
  for (std::unique_ptr<DataBuffer>& buffer : m_buffers) {
    if (!buffer) buffer = std::make_unique<DataBuffer>(ZCompressed_FileStream::kBufferSize);
    buffer->Reset();
  }
  m_semaphores.emplace();
  m_stopped = m_ended = false;
}

void ZBufferPair::Drop() {
  for (std::unique_ptr<DataBuffer>& buffer : m_buffers) buffer.reset();
}

// ---- Both sides ----

// Called under the lock.
ZBufferPair::DataBuffer* ZBufferPair::Lowest(DataBuffer::State state) const {
  DataBuffer* lowest = nullptr;
  for (const std::unique_ptr<DataBuffer>& buffer : m_buffers) {
    if (buffer->state == state && (lowest == nullptr || buffer->position < lowest->position)) lowest = buffer.get();
  }
  return lowest;
}

ZBufferPair::DataBuffer* ZBufferPair::Find(DataBuffer::State state) {
  const sfMutexLock lock(m_stateLock);
  return Lowest(state);
}

ZBufferPair::DataBuffer* ZBufferPair::Take(DataBuffer::State from, DataBuffer::State to) {
  const sfMutexLock lock(m_stateLock);
  DataBuffer* const buffer = Lowest(from);
  if (buffer != nullptr) buffer->state = to;
  return buffer;
}

void ZBufferPair::Hand(DataBuffer& buffer, bool isLast) {
  {
    const sfMutexLock lock(m_stateLock);
    buffer.state = DataBuffer::kReady;
    m_ended = isLast;
    if (m_active == &buffer) m_active = nullptr;
  }
  m_semaphores->readyBuffers.postSemaphore();
}

void ZBufferPair::Free(DataBuffer& buffer) {
  {
    const sfMutexLock lock(m_stateLock);
    buffer.Reset();
    if (m_active == &buffer) m_active = nullptr;
  }
  m_semaphores->freeBuffers.postSemaphore();
}

ZBufferPair::DataBuffer* ZBufferPair::Active() {
  const sfMutexLock lock(m_stateLock);
  return m_active;
}

// ---- The caller ----

bool ZBufferPair::TakeActive(DataBuffer::State from, DataBuffer::State to) {
  DataBuffer* const buffer = Take(from, to);
  const sfMutexLock lock(m_stateLock);
  m_active = buffer;
  return buffer != nullptr;
}

void ZBufferPair::KeepActive(Kept& kept) {
  DataBuffer* const active = Active();
  if (active == nullptr) return;
  try {
    if (!kept) kept = std::make_unique<DataBuffer>(ZCompressed_FileStream::kBufferSize);
  } catch (const std::bad_alloc&) {
    return Free(*active);
  }
  {
    const sfMutexLock lock(m_stateLock);
    kept->Reset();
    std::swap(kept, *std::ranges::find(m_buffers, active, &std::unique_ptr<DataBuffer>::get));
    m_active = nullptr;
  }
  m_semaphores->freeBuffers.postSemaphore();
}

void ZBufferPair::Stop() {
  const sfMutexLock lock(m_stateLock);
  m_stopped = true;
}

bool ZBufferPair::IsDrained() {
  const sfMutexLock lock(m_stateLock);
  return m_ended && Lowest(DataBuffer::kReady) == nullptr;
}

// ---- The thread ----

bool ZBufferPair::IsStopped() {
  const sfMutexLock lock(m_stateLock);
  return m_stopped;
}

void ZBufferPair::EndHanding() {
  {
    const sfMutexLock lock(m_stateLock);
    m_ended = true;
  }
  m_semaphores->readyBuffers.postSemaphore();
}
