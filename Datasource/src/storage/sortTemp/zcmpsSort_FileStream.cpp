#include "datasrc/zcmpsSort_FileStream.h"

#include <algorithm>
#include <cerrno>
#include <new>
#include <system_error>

#include "Platform/stream/QUAV_File.h"
#include "storage/sortTemp/baseDataStream.h"
#include "storage/sortTemp/dataPoolManager.h"
#include "storage/sortTemp/worker.h"

namespace {

constexpr unsigned long kFootprint = kSortBlockSize + 0x40;

}  // namespace

// A buffer of one block serves one direction at a time. While writing, it holds the bytes that were written last.
// While reading, it holds the block that the position was last in.
struct zcmpsSort_FileStream::Data {
  // In the order of their construction: each uses those before it and is destroyed before them.
  std::shared_ptr<dataPoolManager> pool;  // shared by all copies; null: not open
  std::unique_ptr<baseDataStream> base;
  std::unique_ptr<workerThread> worker;  // only the writer has one
  bool isCopy = false;

  SortBuffer buffer;       // null before the first use
  bool writing = false;    // the direction of the buffer
  long start = -1;         // the position of its first byte in the stream; -1: none
  unsigned long size = 0;  // the bytes in it
  long end = 0;            // the end of what the writer has written, including the buffer

  bool Holds(long position) const {
    return !writing && start >= 0 && start <= position && position < start + static_cast<long>(size);
  }
  long Length() const { return isCopy ? pool->Blocks().TotalSize() : end; }

  void Open(const std::shared_ptr<QUAV_File>& file, bool encrypt);
  void Share(const Data& other);
  void Shut();

  int Write(const char* from, unsigned long count, unsigned long& done);
  void Flush();

  int Read(long position, char* to, unsigned long count, unsigned long& done);
  int DirectRead(long position);
};

// ---- Opening and closing ----

void zcmpsSort_FileStream::Data::Open(const std::shared_ptr<QUAV_File>& file, bool encrypt) {
  pool = std::make_shared<dataPoolManager>(file, encrypt);
  base = std::make_unique<baseDataStream>(*pool);
  worker = std::make_unique<workerThread>(*pool);
  isCopy = false;
  worker->startThread();
}

// The other stream is flushed already. After the rewinding, all that was written is in the file.
void zcmpsSort_FileStream::Data::Share(const Data& other) {
  if (!other.pool) return;
  if (other.worker) other.worker->rewindThread();
  pool = other.pool;
  base = std::make_unique<baseDataStream>(*pool);
  isCopy = true;
}

void zcmpsSort_FileStream::Data::Shut() {
  worker.reset();
  base.reset();
  pool.reset();
  buffer.reset();
  writing = false;
  start = -1;
  size = 0;
  end = 0;
}

// ---- Writing ----

// Returns 0 or an errno.
int zcmpsSort_FileStream::Data::Write(const char* from, unsigned long count, unsigned long& done) {
  if (isCopy || pool->IsClosed()) return EBADF;
  if (!buffer) buffer = MakeSortBuffer();
  if (!writing) size = 0;
  writing = true;
  while (done < count) {
    if (pool->Fault() != 0) return pool->Fault();
    if (size == 0) start = end;
    const unsigned long taken = std::min(count - done, kSortBlockSize - size);
    std::copy_n(from + done, taken, buffer.get() + size);
    size += taken;
    end += static_cast<long>(taken);
    done += taken;
    if (size == kSortBlockSize) Flush();
  }
  return 0;
}

void zcmpsSort_FileStream::Data::Flush() {
  if (!writing || size == 0) return;
  base->Write(buffer, size, start);
  size = 0;
  start = -1;
}

// ---- Reading ----

// Returns 0 or an errno. The end of the data is no error, unless a failed write ended them: then its errno is
// returned.
int zcmpsSort_FileStream::Data::Read(long position, char* to, unsigned long count, unsigned long& done) {
  if (writing) {
    Flush();
    pool->WaitWritten();
    writing = false;
    start = -1;
  }
  while (done < count) {
    const long from = position + static_cast<long>(done);
    const int error = Holds(from) ? 0 : DirectRead(from);
    if (error != 0) return error;
    if (!Holds(from)) return pool->Fault();
    const unsigned long offset = static_cast<unsigned long>(from - start);
    const unsigned long taken = std::min(count - done, size - offset);
    std::copy_n(buffer.get() + offset, taken, to + done);
    done += taken;
  }
  return 0;
}

// Fills the buffer with the block that holds the position, or empties it. Returns 0 or an errno.
int zcmpsSort_FileStream::Data::DirectRead(long position) {
  const blockInfo* block = nullptr;
  start = -1;
  size = 0;
  if (position >= pool->Blocks().TotalSize() || !pool->Blocks().GetBlockInfo(position, block)) return 0;
  if (!buffer) buffer = MakeSortBuffer();
  const int error = isCopy ? base->Read(buffer, size, *block) : base->directRead(buffer, size, block->position);
  if (error == 0) start = block->position;
  return error;
}

// ---- The stream ----

zcmpsSort_FileStream::zcmpsSort_FileStream() : zcmpsSort_FileStream(false) {}

zcmpsSort_FileStream::zcmpsSort_FileStream(bool encrypt) : QUAV_FileStream(encrypt), m_data(std::make_unique<Data>()) {}

zcmpsSort_FileStream::zcmpsSort_FileStream(const char* name, const char* mode, bool encrypt)
    : zcmpsSort_FileStream(encrypt) {
  zcmpsSort_FileStream::Open(ExtNameStr(name), mode);
}

zcmpsSort_FileStream::zcmpsSort_FileStream(const zcmpsSort_FileStream& other)
    : QUAV_FileStream(other), m_data(std::make_unique<Data>()) {
  other.Flush();
  m_data->Share(*other.m_data);
  zcmpsSort_FileStream::Flush();
}

zcmpsSort_FileStream::~zcmpsSort_FileStream() { m_data->Shut(); }

int zcmpsSort_FileStream::Open(const char* name, const char* mode) { return Open(ExtNameStr(name), mode); }

int zcmpsSort_FileStream::Open(const char* name, const char* /*password*/, const char* mode) {
  return Open(ExtNameStr(name), mode);
}

int zcmpsSort_FileStream::Open(const ExtNameStr& name, const ExtNameStr& /*password*/, const char* mode) {
  return Open(name, mode);
}

int zcmpsSort_FileStream::Open(const ExtNameStr& name, const char* mode) {
  m_data->Shut();
  if (QUAV_FileStream::Open(name, mode) == 0) return 0;
  int error = EINVAL;
  if (!GetFile()->Mode().append) error = Start();
  if (error == 0) return 1;
  m_data->Shut();
  QUAV_FileStream::Close();
  RememberFailure(error);
  return 0;
}

// Returns 0 or an errno.
int zcmpsSort_FileStream::Start() {
  try {
    m_data->Open(GetFile(), GetFile()->Mode().encrypt);
    return 0;
  } catch (const std::bad_alloc&) {
    return ENOMEM;
  } catch (const std::system_error& noThread) {
    return noThread.code().value();
  }
}

int zcmpsSort_FileStream::Close() { return static_cast<const zcmpsSort_FileStream*>(this)->Close(); }

int zcmpsSort_FileStream::Close() const {
  if (m_data->isCopy || !m_data->pool) return 1;
  const int fault = m_data->pool->Fault();
  m_data->Shut();
  QUAV_FileStream::Close();
  if (fault != 0) RememberFailure(fault);
  return 1;
}

int zcmpsSort_FileStream::Flush() { return static_cast<const zcmpsSort_FileStream*>(this)->Flush(); }

int zcmpsSort_FileStream::Flush() const {
  if (!m_data->pool) return 1;
  m_data->Flush();
  if (m_data->pool->Fault() != 0) RememberFailure(m_data->pool->Fault());
  return 1;
}

unsigned long zcmpsSort_FileStream::Write(const void* buffer, unsigned long count) {
  if (count == 0 || !m_data->pool) return 0;
  unsigned long done = 0;
  int error = EBADF;
  try {
    if (GetFile()->Mode().write) error = m_data->Write(static_cast<const char*>(buffer), count, done);
  } catch (const std::bad_alloc&) {
    error = ENOMEM;
  }
  SetPosition(Tell() + static_cast<long>(done));
  if (error != 0) RememberFailure(error);
  return done;
}

unsigned long zcmpsSort_FileStream::Read(void* buffer, unsigned long count) {
  if (count == 0 || !m_data->pool) return 0;
  unsigned long done = 0;
  int error = 0;
  try {
    error = m_data->Read(Tell(), static_cast<char*>(buffer), count, done);
  } catch (const std::bad_alloc&) {
    error = ENOMEM;
  }
  SetPosition(Tell() + static_cast<long>(done));
  if (error != 0)
    RememberFailure(error);
  else if (done < count)
    RememberEnd();
  return done;
}

int zcmpsSort_FileStream::Seek(long offset, SeekDirection direction) {
  long from = 0;
  if (direction == kSeekFromPresent) from = Tell();
  if (direction == kSeekFromEnd && m_data->pool) from = m_data->Length();
  long target = 0;
  if (__builtin_add_overflow(from, offset, &target)) target = -1;
  QUAV_FileStream::Seek(0, kSeekFromStart);  // resets the end-of-file state
  SetPosition(target);
  return 0;
}

long zcmpsSort_FileStream::Length() { return m_data->pool ? m_data->Length() : QUAV_FileStream::Length(); }

unsigned long zcmpsSort_FileStream::Footprint() const { return kFootprint; }

QUAV_FileStream::Window zcmpsSort_FileStream::Peek(std::size_t wanted) {
  if (wanted > 0) RememberFailure(ENOTSUP);
  return {};
}
