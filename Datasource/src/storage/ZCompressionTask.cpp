#include "storage/ZCompressionTask.h"

#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <new>
#include <utility>

#include "Platform/Assert.h"

namespace {

constexpr std::size_t kBufferSize = ZCompressed_FileStream::kBufferSize;
constexpr int kLevel = 1;
constexpr std::size_t kPaddedTo = 16;
// The results that the task returns instead of zlib: Compression for a block that has not ended, Decompression for
// bytes that are no whole block.
constexpr int kNotAtTheEnd = Z_BUF_ERROR;
constexpr int kNoWholeBlock = Z_DATA_ERROR;

// The size of the largest compressed block, before padding. Without a stream, deflateBound returns the bound for any
// settings.
std::size_t WorstSize() { return deflateBound(nullptr, kBufferSize); }

std::size_t Padding(std::size_t size) { return size % kPaddedTo == 0 ? 0 : kPaddedTo - size % kPaddedTo; }

z_stream Stream(std::byte* out, std::size_t outSize, const std::byte* in, std::size_t inSize) {
  z_stream stream{};
  stream.next_in = const_cast<Bytef*>(static_cast<const Bytef*>(static_cast<const void*>(in)));
  stream.avail_in = static_cast<uInt>(inSize);
  stream.next_out = static_cast<Bytef*>(static_cast<void*>(out));
  stream.avail_out = static_cast<uInt>(outSize);
  return stream;
}

}  // namespace

// ---- Blocks ----

int ZCompressionTask::Compression(std::byte* out, std::size_t& outSize, const std::byte* in, std::size_t inSize) {
  z_stream stream = Stream(out, outSize, in, inSize);
  const int begun = deflateInit(&stream, kLevel);
  if (begun != Z_OK) return begun;
  const int result = deflate(&stream, Z_FINISH);
  outSize = stream.total_out;
  deflateEnd(&stream);
  return result == Z_OK ? kNotAtTheEnd : result;
}

int ZCompressionTask::Decompression(std::byte* out, std::size_t& outSize, const std::byte* in, std::size_t inSize) {
  z_stream stream = Stream(out, outSize, in, inSize);
  const int begun = inflateInit(&stream);
  if (begun != Z_OK) return begun;
  const int result = inflate(&stream, Z_FINISH);
  const bool allTaken = stream.avail_in == 0;
  const std::size_t size = stream.total_out;
  const int ended = inflateEnd(&stream);
  if (result == Z_STREAM_END) outSize = size;
  if (result == Z_STREAM_END) return ended;
  if (result == Z_NEED_DICT || (result == Z_BUF_ERROR && allTaken)) return kNoWholeBlock;
  return result;
}

// ---- Between runs ----

ZCompressionTask::ZCompressionTask(const std::shared_ptr<QUAV_File>& file, std::string name)
    : m_file(file), m_name(std::move(name)) {}

ZCompressionTask::~ZCompressionTask() { End(); }

// `owner_before` works for expired files too.
bool ZCompressionTask::IsOf(const std::shared_ptr<QUAV_File>& file) const {
  return !m_file.owner_before(file) && !file.owner_before(m_file);
}

bool ZCompressionTask::CheckFile(const std::shared_ptr<QUAV_File>& file, const std::string& name) {
  if (name.empty() || m_name != name) return false;
  m_file = file;
  return true;
}

void ZCompressionTask::Begin(bool write, long wanted) {
  NeedBuffers();
  m_semaphores.emplace();
  m_runFile = m_file.lock();
  m_runFile->Join();
  m_writeMode = write;
  m_requested = wanted;
  m_finished = m_stop = m_ended = false;
  m_readFault = 0;
}

void ZCompressionTask::End() {
  if (m_runFile) m_runFile->Leave();
  m_runFile.reset();
  m_active = nullptr;
}

void ZCompressionTask::Forget() {
  m_file.reset();
  m_name.clear();
  m_blocks = {};
  for (std::unique_ptr<DataBuffer>& buffer : m_buffers) buffer.reset();
  m_compressed.reset();
  m_length = 0;
}

void ZCompressionTask::NeedBuffers() {
  for (std::unique_ptr<DataBuffer>& buffer : m_buffers) {
    if (!buffer) buffer = std::make_unique<DataBuffer>(kBufferSize);
    buffer->Reset();
  }
  if (!m_compressed) m_compressed = std::make_unique<DataBuffer>(WorstSize() + kPaddedTo);
}

// ---- Buffers ----

// Called under the state lock.
ZCompressionTask::DataBuffer* ZCompressionTask::Lowest(DataBuffer::State state) {
  DataBuffer* lowest = nullptr;
  for (const std::unique_ptr<DataBuffer>& buffer : m_buffers) {
    if (buffer->state == state && (lowest == nullptr || buffer->position < lowest->position)) lowest = buffer.get();
  }
  return lowest;
}

// Returns null when no buffer is in the state.
ZCompressionTask::DataBuffer* ZCompressionTask::Take(DataBuffer::State from, DataBuffer::State to) {
  const sfMutexLock lock(m_stateLock);
  DataBuffer* const buffer = Lowest(from);
  if (buffer != nullptr) buffer->state = to;
  return buffer;
}

// Called on the caller's thread.
bool ZCompressionTask::TakeActive(DataBuffer::State from, DataBuffer::State to) {
  DataBuffer* const buffer = Take(from, to);
  const sfMutexLock lock(m_stateLock);
  m_active = buffer;
  return buffer != nullptr;
}

// Passes the buffer to the draining side. `isLast`: the thread in read mode hands over no more.
void ZCompressionTask::Hand(DataBuffer& buffer, bool isLast) {
  {
    const sfMutexLock lock(m_stateLock);
    buffer.state = DataBuffer::kReady;
    m_ended = isLast;
    if (m_active == &buffer) m_active = nullptr;
  }
  m_semaphores->readyBuffers.postSemaphore();
}

// Passes the buffer to the filling side.
void ZCompressionTask::Free(DataBuffer& buffer) {
  {
    const sfMutexLock lock(m_stateLock);
    buffer.Reset();
    if (m_active == &buffer) m_active = nullptr;
  }
  m_semaphores->freeBuffers.postSemaphore();
}

// ---- Writing: the caller ----

int ZCompressionTask::Write(WriteRequest& request) {
  while (request.toGo > 0) {
    if (Fault() != 0) return Fault();
    if (m_active == nullptr) {
      if (*request.position != m_length) return ESPIPE;
      TakeActiveForWriting();
    }
    DataBuffer& buffer = *m_active;
    buffer.Write(request);
    m_length = buffer.End();
    if (buffer.IsFull()) Hand(buffer, false);
  }
  return 0;
}

void ZCompressionTask::TakeActiveForWriting() {
  m_semaphores->freeBuffers.waitSemaphore();
  QUAV_ASSERT(TakeActive(DataBuffer::kFree, DataBuffer::kFilled), "false");
}

void ZCompressionTask::FinishWriting() {
  {
    const sfMutexLock lock(m_stateLock);
    m_stop = true;
  }
  m_semaphores->readyBuffers.postSemaphore();
  m_semaphores->finished.waitSemaphore();
}

// ---- Writing: the thread ----

void* ZCompressionTask::comThreadFunc() {
  while (!m_finished) {
    m_semaphores->readyBuffers.waitSemaphore();
    DataBuffer* const buffer = TakeForCompressing();
    if (buffer == nullptr) continue;
    QUAV_ASSERT(Flush(*buffer) == 0, "false");
    Free(*buffer);
  }
  m_semaphores->finished.postSemaphore();
  return nullptr;
}

// Returns the next ready buffer. At the flush, after all ready ones, returns the active buffer, or null when there is
// none.
ZCompressionTask::DataBuffer* ZCompressionTask::TakeForCompressing() {
  const sfMutexLock lock(m_stateLock);
  DataBuffer* const ready = Lowest(DataBuffer::kReady);
  if (ready != nullptr) return ready;
  m_finished = true;
  if (m_stop && m_active == nullptr) return nullptr;
  QUAV_ASSERT(m_stop && m_active->state == DataBuffer::kFilled, "false");
  return m_active;
}

// Returns 0 or the error of zlib. A failure of the disk is kept in m_fault.
int ZCompressionTask::Flush(DataBuffer& buffer) {
  if (Fault() != 0) return 0;
  std::size_t size = m_compressed->Capacity() - kPaddedTo;
  const int result = Compression(m_compressed->Bytes(), size, buffer.Bytes(), buffer.bufsize);
  if (result != Z_STREAM_END) return result;
  m_fault = Append(buffer, size);
  return 0;
}

// Writes the block after the last one. Returns 0 or an errno.
int ZCompressionTask::Append(DataBuffer& buffer, std::size_t size) {
  const std::size_t padding = Padding(size);
  std::fill_n(m_compressed->Bytes() + size, padding, std::byte{0});
  const long position = m_blocks.empty() ? 0 : m_blocks.back().position + static_cast<long>(m_blocks.back().length);
  const QUAV_File::Transfer transfer = m_runFile->WriteAt(m_compressed->Bytes(), size + padding, position);
  if (transfer.error != 0) return transfer.error;
  try {
    m_blocks.push_back({position, size + padding, padding, buffer.position, buffer.bufsize});
  } catch (const std::bad_alloc&) {
    return ENOMEM;
  }
  return 0;
}

// ---- Reading: the caller ----

bool ZCompressionTask::HasBlock(long wanted) const {
  return !m_blocks.empty() && wanted < m_blocks.back().start + static_cast<long>(m_blocks.back().size);
}

ZCompressionTask::ReadResult ZCompressionTask::Read(ReadRequest& request) {
  while (request.toGo > 0 && *request.position < m_length) {
    if (m_active == nullptr) {
      Request(*request.position);
      if (!TakeActiveForReading()) return m_readFault == 0 ? ReadResult::needsNewRun : ReadResult::failed;
    }
    if (*request.position < m_active->position) return ReadResult::needsNewRun;
    m_active->Read(request);
    if (!m_active->Holds(*request.position)) Free(*m_active);
  }
  return ReadResult::done;
}

void ZCompressionTask::Request(long wanted) {
  const sfMutexLock lock(m_positionLock);
  m_requested = wanted;
}

// Returns false when no more buffers will come.
bool ZCompressionTask::TakeActiveForReading() {
  if (IsDrained()) return false;
  m_semaphores->readyBuffers.waitSemaphore();
  if (TakeActive(DataBuffer::kReady, DataBuffer::kRead)) return true;
  QUAV_ASSERT(IsDrained(), "false");
  return false;
}

// Returns whether the thread hands over no more buffers, and the caller has taken all that it did.
bool ZCompressionTask::IsDrained() {
  const sfMutexLock lock(m_stateLock);
  return m_ended && Lowest(DataBuffer::kReady) == nullptr;
}

void ZCompressionTask::StopReading() {
  {
    const sfMutexLock lock(m_stateLock);
    m_stop = true;
  }
  m_semaphores->freeBuffers.postSemaphore();
}

// ---- Reading: the thread ----

void* ZCompressionTask::decThreadFunc() {
  std::size_t next = 0;
  while (!m_finished && WaitForFree()) {
    next = NextBlock(next);
    DataBuffer* const buffer = Take(DataBuffer::kFree, DataBuffer::kFilled);
    QUAV_ASSERT(buffer != nullptr, "false");
    const int error = Fill(*buffer, m_blocks[next++]);
    m_finished = error != 0 || next == m_blocks.size();
    if (error == 0)
      Hand(*buffer, m_finished);
    else
      FailReading(error);
  }
  return nullptr;
}

// Returns false when the flush has come.
bool ZCompressionTask::WaitForFree() {
  m_semaphores->freeBuffers.waitSemaphore();
  const sfMutexLock lock(m_stateLock);
  return !m_stop;
}

// Returns the next block, or the block that the caller wants when that is farther on.
std::size_t ZCompressionTask::NextBlock(std::size_t next) {
  const sfMutexLock lock(m_positionLock);
  return std::max(next, BlockAt(m_requested));
}

// Returns 0 or an errno: EIO for a file that has become shorter.
int ZCompressionTask::Fill(DataBuffer& buffer, const CompressedPosition& block) {
  const QUAV_File::Transfer transfer = m_runFile->ReadAt(m_compressed->Bytes(), block.length, block.position);
  if (transfer.bytes < block.length) return transfer.error != 0 ? transfer.error : EIO;
  std::size_t size = kBufferSize;
  int ret = Decompression(buffer.Bytes(), size, m_compressed->Bytes(), block.length - block.padding);
  // A shorter block would leave a gap, at which a reader would try the same block for ever.
  if (ret == 0 && size != block.size) ret = kNoWholeBlock;
  QUAV_ASSERT(ret == 0, "ret == 0");
  buffer.bufsize = size;
  buffer.position = block.start;
  return 0;
}

void ZCompressionTask::FailReading(int error) {
  {
    const sfMutexLock lock(m_stateLock);
    m_ended = true;
    m_readFault = error;
  }
  m_semaphores->readyBuffers.postSemaphore();
}

// Returns the index of the block that holds the position. The position must lie in the table.
std::size_t ZCompressionTask::BlockAt(long wanted) const {
  const auto behind = std::ranges::upper_bound(m_blocks, wanted, {}, &CompressedPosition::start);
  return static_cast<std::size_t>(behind - m_blocks.begin()) - 1;
}
