#include "storage/sortTemp/baseDataStream.h"

#include <utility>

#include "storage/sortTemp/dataPoolManager.h"

baseDataStream::baseDataStream(dataPoolManager& pool) : m_pool(pool) { m_pool.pushToPool(&m_data); }

baseDataStream::~baseDataStream() { m_pool.popFromPool(m_data.id); }

void baseDataStream::Write(SortBuffer& buffer, unsigned long size, long position) {
  if (m_data.first == -1)
    m_data.first = position;
  else
    m_data.freed.waitSemaphore();
  std::swap(m_data.buffer, buffer);
  m_data.size = size;
  m_data.position = position;
  m_data.filled.postSemaphore();
}

int baseDataStream::Read(SortBuffer& buffer, unsigned long& size, const blockInfo& block) {
  int error = 0;
  if (IsReadAhead(block) && TakeReadAhead(buffer, size, block, error)) return error;
  return directRead(buffer, size, block.position);
}

// Returns whether the worker has read the block, or is reading it. If not, sends the worker to the block after it.
bool baseDataStream::IsReadAhead(const blockInfo& block) {
  const sfMutexLock lock(m_data.lock);
  const bool isFirst = m_data.first == -1;
  const bool isNext = !isFirst && m_data.next == block.position;
  const bool isFree = !isFirst && m_data.freed.tryWaitSemaphore();
  if (isNext && !isFree) return true;
  if (isFirst) m_data.first = block.position;
  m_data.next = block.End();
  const bool isMine = isFirst || isFree || m_data.filled.tryWaitSemaphore();
  if (isMine) m_data.freed.postSemaphore();
  return false;
}

// Returns false when another block was read ahead.
bool baseDataStream::TakeReadAhead(SortBuffer& buffer, unsigned long& size, const blockInfo& block, int& error) {
  m_data.filled.waitSemaphore();
  const bool isIt = m_data.position == block.position;
  if (isIt) {
    std::swap(m_data.buffer, buffer);
    size = m_data.size;
    error = m_data.error;
  }
  {
    const sfMutexLock lock(m_data.lock);
    m_data.next = block.End();
  }
  m_data.freed.postSemaphore();
  return isIt;
}

int baseDataStream::directRead(SortBuffer& buffer, unsigned long& size, long position) {
  return m_pool.directRead(buffer.get(), size, position);
}
