#include "storage/sortTemp/dataPoolManager.h"

#include <algorithm>
#include <cerrno>
#include <memory>
#include <new>

dataPoolManager::dataPoolManager(const std::shared_ptr<QUAV_File>& file, bool encrypt) : m_file(file, encrypt) {}

// ---- Streams ----

int dataPoolManager::pushToPool(SortMeeting* stream) {
  const sfMutexLock lock(m_poolLock);
  m_streams.push_back(stream);
  return stream->id = m_nextId++;
}

void dataPoolManager::popFromPool(int id) {
  const sfMutexLock lock(m_poolLock);
  std::erase_if(m_streams, [id](const SortMeeting* stream) { return stream->id == id; });
}

int dataPoolManager::directRead(char* buffer, unsigned long& size, long position) {
  const blockInfo* block = nullptr;
  size = 0;
  if (!m_blocks.GetBlockInfo(position, block)) return 0;
  const int error = ReadBlock(*block, buffer);
  if (error == 0) size = block->size;
  return error;
}

// ---- The end of the writing ----

// Returns the writer's meeting, or null unless the writer is the only stream.
SortMeeting* dataPoolManager::Writer() {
  const sfMutexLock lock(m_poolLock);
  return m_streams.size() == 1 ? m_streams.front() : nullptr;
}

void dataPoolManager::WaitWritten() {
  SortMeeting* const writer = Writer();
  if (writer == nullptr || m_closed || writer->first == -1) return;
  writer->freed.waitSemaphore();
  writer->freed.postSemaphore();
}

void dataPoolManager::End() {
  if (m_closed.exchange(true)) return;
  SortMeeting* const writer = Writer();
  if (writer != nullptr) writer->filled.postSemaphore();
}

// ---- The worker: writing ----

bool dataPoolManager::QueryForWrite() {
  SortMeeting* const writer = Writer();
  if (m_closed || writer == nullptr) return false;
  writer->filled.waitSemaphore();
  if (m_closed) return false;
  if (m_fault == 0) m_fault = Store(*writer);
  writer->size = 0;
  writer->freed.postSemaphore();
  return true;
}

// Writes the writer's block after the last one. A block that does not become shorter is stored as it is: its length
// in the file then equals its size, and so the reader recognises it. Returns 0 or an errno.
int dataPoolManager::Store(SortMeeting& writer) try {
  if (!m_output) m_output = MakeSortBuffer();
  unsigned long length = writer.size - 1;
  const bool isShorter = m_file.compressBlock(writer.buffer.get(), writer.size, m_output.get(), length);
  char* const block = isShorter ? m_output.get() : writer.buffer.get();
  if (!isShorter) length = writer.size;
  const unsigned long padding = Padding(m_file.Encrypt(), length);
  std::fill_n(block + length, padding, '\0');
  const long filePosition = m_blocks.FileEnd();
  {
    const sfMutexLock lock(m_fileLock);
    m_file.Seek(filePosition);
    const int error = m_file.Write(block, length + padding);
    if (error != 0) return error;
  }
  m_blocks.PushBlockInfo(m_blocks.TotalSize(), writer.size, filePosition, length, padding);
  return 0;
} catch (const std::bad_alloc&) {
  return ENOMEM;
}

// ---- The worker: reading ahead ----

bool dataPoolManager::QueryForRead() {
  const sfMutexLock lock(m_poolLock);
  const blockInfo* block = nullptr;
  SortMeeting* const stream = NextReader(block);
  if (stream == nullptr) return false;
  stream->error = ReadBlock(*block, stream->buffer.get());
  stream->position = block->position;
  stream->size = stream->error == 0 ? block->size : 0;
  stream->filled.postSemaphore();
  return true;
}

// Takes the token of the first copy that has a free one and a block to read ahead. Returns null when there is none.
// Called under the pool lock.
SortMeeting* dataPoolManager::NextReader(const blockInfo*& block) {
  for (SortMeeting* const stream : m_streams) {
    if (stream->id == 0) continue;  // the writer never reads through the worker
    const sfMutexLock lock(stream->lock);
    const bool isThere = m_blocks.GetBlockInfo(stream->next, block) && block->position == stream->next;
    if (isThere && stream->freed.tryWaitSemaphore()) return stream;
  }
  return nullptr;
}

// ---- Blocks ----

// Returns 0 or an errno: EIO for a block of another size than was written.
int dataPoolManager::ReadBlock(const blockInfo& block, char* out) try {
  if (IsStored(block)) return Transfer(block, out);
  const SortBuffer input = std::make_unique_for_overwrite<char[]>(block.compressedLength + block.padding);
  const int error = Transfer(block, input.get());
  if (error != 0) return error;
  unsigned long size = kSortBlockSize;
  m_file.decompressBlock(input.get(), block.compressedLength, out, size);
  return size == block.size ? 0 : EIO;
} catch (const std::bad_alloc&) {
  return ENOMEM;
}

int dataPoolManager::Transfer(const blockInfo& block, char* out) {
  const sfMutexLock lock(m_fileLock);
  m_file.Seek(block.filePosition);
  return m_file.Read(out, block.compressedLength + block.padding);
}
