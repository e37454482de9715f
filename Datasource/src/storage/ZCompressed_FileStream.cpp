#include "datasrc/ZCompressed_FileStream.h"

#include <cerrno>
#include <new>
#include <system_error>

#include "Platform/stream/QUAV_File.h"
#include "storage/ZCompressionPool.h"
#include "storage/ZCompressionTask.h"
#include "storage/zcompressedfilestr.h"

namespace {

ZCompressionPool& Pool() { return ZCompressionPool::Instance(); }

// Returns the errno that the attempt returns, or the one that stands for its exception: no memory or no thread.
template <class Attempt>
int ErrorOf(Attempt attempt) {
  try {
    return attempt();
  } catch (const std::bad_alloc&) {
    return ENOMEM;
  } catch (const std::system_error& error) {
    return error.code().value();
  }
}

}  // namespace

// ---- Opening and closing ----

ZCompressed_FileStream::ZCompressed_FileStream(bool encrypt) : QUAV_FileStream(encrypt) {}

ZCompressed_FileStream::ZCompressed_FileStream(const char* name, const char* mode, bool encrypt)
    : QUAV_FileStream(name, mode, encrypt) {}

ZCompressed_FileStream::ZCompressed_FileStream(const ZCompressed_FileStream& other) : QUAV_FileStream(other) {
  TakeIndex(other.m_index);
}

ZCompressed_FileStream::~ZCompressed_FileStream() {
  if (m_task != nullptr) m_task->Leaves(m_kept);
  ZCompressed_FileStream::Close();
  TakeIndex(-1);
}

int ZCompressed_FileStream::Close() { return Flush(); }

int ZCompressed_FileStream::Close() const { return Flush(); }

int ZCompressed_FileStream::Flush() { return static_cast<const ZCompressed_FileStream*>(this)->Flush(); }

// Without an index there is nothing to flush. The pool is not asked then, because its first use allocates memory.
int ZCompressed_FileStream::Flush() const {
  if (m_index < 0) return 1;
  Pool().Flush(m_index);
  if (Task() != nullptr && Task()->Fault() != 0) RememberFailure(Task()->Fault());
  return 1;
}

// ---- The task ----

ZCompressionTask* ZCompressed_FileStream::Task() const { return m_task; }

// Returns whether the task runs in this mode, on the open file.
bool ZCompressed_FileStream::Runs(bool write) const {
  const ZCompressionTask* const task = Task();
  return task != nullptr && task->IsWriting() == write && task->runs && task->IsOf(GetFile());
}

// Between this and the operation that gave the index the caller keeps the pool's lock, unless another stream has it.
void ZCompressed_FileStream::TakeIndex(int index) {
  if (index == m_index) return;
  if (index >= 0) Pool().Join(index);
  if (m_task != nullptr) m_task->Leaves(m_kept);
  m_kept.reset();
  if (m_index >= 0) Pool().Leave(m_index, GetFile());
  m_index = index;
  m_task = index >= 0 ? Pool().Task(index) : nullptr;
}

// ---- Writing ----

unsigned long ZCompressed_FileStream::Write(const void* buffer, unsigned long count) {
  if (count == 0 || !DataReady()) return 0;
  long position = QUAV_FileStream::Tell();
  WriteRequest request{static_cast<const std::byte*>(buffer), count, &position};
  const int error = ErrorOf([&] { return WriteAll(request); });
  SetPosition(position);
  if (error != 0) RememberFailure(error);
  return count - request.toGo;
}

// Returns 0 or an errno.
int ZCompressed_FileStream::WriteAll(WriteRequest& request) {
  const FileMode& mode = GetFile()->Mode();
  if (!mode.write || mode.append) return EBADF;
  if (!Runs(true)) {
    const auto lock = Pool().Lock();
    TakeIndex(Pool().GetThreadIndex(GetFile(), Name(), true, 0));
  }
  return Task()->Write(request);
}

// ---- Reading ----

unsigned long ZCompressed_FileStream::Read(void* buffer, unsigned long count) {
  if (count == 0 || !DataReady()) return 0;
  long position = QUAV_FileStream::Tell();
  ReadRequest request{static_cast<std::byte*>(buffer), count, &position};
  const int error = ErrorOf([&] { return ReadAll(request); });
  SetPosition(position);
  if (error != 0)
    RememberFailure(error);
  else if (request.toGo > 0)
    RememberEnd();
  return count - request.toGo;
}

// Returns 0 or an errno. The end of the data is no error.
int ZCompressed_FileStream::ReadAll(ReadRequest& request) {
  for (;;) {
    if (m_kept && Task()->IsOf(GetFile())) m_kept->Read(request);
    if (request.toGo == 0) return 0;
    if (Runs(false)) {
      const ZCompressionTask::ReadResult result = Task()->Read(request, m_kept);
      if (result == ZCompressionTask::ReadResult::done) return 0;
      Pool().Flush(m_index);
      if (result == ZCompressionTask::ReadResult::failed) return Task()->ReadFault();
    }
    if (*request.position >= WrittenLength()) return 0;
    Pool().Flush(m_index);
    if (!Task()->HasBlock(*request.position)) return Task()->Fault();
    const auto lock = Pool().Lock();
    TakeIndex(Pool().GetThreadIndex(GetFile(), Name(), false, *request.position));
  }
}

// ---- Positions ----

int ZCompressed_FileStream::Seek(long offset, SeekDirection direction) {
  if (direction != kSeekFromEnd || !DataReady()) return QUAV_FileStream::Seek(offset, direction);
  long target = 0;
  if (!__builtin_add_overflow(WrittenLength(), offset, &target)) return QUAV_FileStream::Seek(target, kSeekFromStart);
  errno = EINVAL;
  return -1;
}

long ZCompressed_FileStream::Length() { return DataReady() ? WrittenLength() : QUAV_FileStream::Length(); }

long ZCompressed_FileStream::WrittenLength() {
  if (Task() == nullptr || !Task()->IsOf(GetFile())) FindTask();
  return Task() == nullptr ? 0 : Task()->Length();
}

// Called when a copy may have written or the stream has opened its file again. A file that was not truncated by the
// opening keeps its table.
void ZCompressed_FileStream::FindTask() {
  const auto lock = Pool().Lock();
  const bool isKept = Task() != nullptr && !GetFile()->Mode().truncate && Task()->CheckFile(GetFile(), Name());
  if (!isKept) TakeIndex(Pool().Find(GetFile()));
}

unsigned long ZCompressed_FileStream::Footprint() const { return 2 * kBufferSize; }

ZCompressed_FileStream::Window ZCompressed_FileStream::Peek(std::size_t wanted) {
  if (wanted > 0) RememberFailure(ENOTSUP);
  return {};
}
