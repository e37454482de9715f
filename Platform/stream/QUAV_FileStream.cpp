// One buffer serves both directions. At any time it holds nothing, bytes read ahead of the position, or bytes written
// and not yet given to the system. The places are counted from its origin:
//
//   reading   [0, next) read already     [next, next + readable) the window      writable = 0
//   writing   [0, next) to be written    [next, next + writable) room            readable = 0
//   nothing   next = readable = writable = 0
//
// The position is start + next in each case.
//
// The system copies 1.5 times as fast when both the memory and the range of the file begin at a page. So the buffer
// begins at a page, before it is room for the bytes that a window keeps, and the first transfer from an odd position
// is short: all that follow begin at pages.
//
// Read and Write are a copy and two additions as long as readable or writable lasts. Everything else is in the slow
// paths: StartReading and Fill, StartWriting and WriteHeld.

#include "Platform/stream/QUAV_FileStream.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

#include "Platform/Assert.h"
#include "Platform/stream/QUAV_File.h"

namespace {

constexpr std::size_t kBufferSize = QUAV_FileStream::kBufferSize;
constexpr std::size_t kPageSize = 4096;
// The room before the page at which transfers begin.
constexpr std::size_t kRoomInFront = QUAV_FileStream::kMaxPeek;

// The minimal length of a file for which reading ahead is requested.
constexpr std::int64_t kReadAheadLeast = 4 * static_cast<std::int64_t>(kBufferSize);

struct PageDeleter {
  void operator()(std::byte* pages) const { ::operator delete[](pages, std::align_val_t{kPageSize}); }
};
using Pages = std::unique_ptr<std::byte[], PageDeleter>;

Pages MakePages(std::size_t size) {
  return Pages(static_cast<std::byte*>(::operator new[](size, std::align_val_t{kPageSize})));
}

// The size of a transfer from the position after which the next one begins at a page of the file.
std::size_t TransferSize(std::int64_t position) { return kBufferSize - static_cast<std::size_t>(position) % kPageSize; }

}  // namespace

struct QUAV_FileStream::Data {
  explicit Data(bool encryptFiles = false) : encrypt(encryptFiles) {}

  const bool encrypt;
  ExtNameStr name;
  std::shared_ptr<QUAV_File> file;    // null: closed
  Pages buffer;                       // kRoomInFront + kBufferSize bytes
  std::size_t origin = kRoomInFront;  // the places below count from here
  std::int64_t start = 0;             // the position in the file of the byte at the origin
  std::size_t next = 0;
  std::size_t readable = 0;
  std::size_t writable = 0;
  bool writing = false;
  bool metEnd = false;
  int error = 0;       // the first failure since the stream was opened or cleared
  int writeError = 0;  // the first failure of a write
  bool readsAhead = false;

  std::int64_t Position() const { return start + static_cast<std::int64_t>(next); }
  std::byte* At(std::size_t place) const { return buffer.get() + origin + place; }
  Window Held() const { return buffer ? Window{At(next), At(next + readable)} : Window{}; }

  // Remember a failure, set errno to its reason and return false.
  bool Fail(int reason);
  bool FailWrite(int reason);
  // Returns 0, or -1, with errno set, while a failed write is remembered.
  int WriteResult() const;
  int Error() const;
  void Clear();

  bool Open(const ExtNameStr& newName, const char* mode);
  void Share(Data& other);
  int Flush();
  int Close();
  void Abandon();

  void StopReadingAhead();

  void HoldNothing(std::int64_t position);
  void NeedBuffer();

  bool StartReading();
  bool Fill();
  std::size_t TakeHeld(std::byte* to, std::size_t count);
  std::size_t ReadDirect(std::byte* to, std::size_t count);
  std::size_t ReadSlow(std::byte* to, std::size_t count);
  void PeekSlow(std::size_t wanted);

  bool StartWriting();
  bool WriteHeld();
  QUAV_File::Transfer Put(const std::byte* from, std::size_t count);
  std::size_t WriteDirect(const std::byte* from, std::size_t count);
  std::size_t WriteSlow(const std::byte* from, std::size_t count);

  std::int64_t Length();
  std::int64_t Target(long offset, SeekDirection direction);
  bool MoveTo(std::int64_t position);
};

// ---- Failures ----

bool QUAV_FileStream::Data::Fail(int reason) {
  if (error == 0) error = reason;
  errno = reason;
  return false;
}

bool QUAV_FileStream::Data::FailWrite(int reason) {
  if (writeError == 0) writeError = reason;
  return Fail(reason);
}

int QUAV_FileStream::Data::WriteResult() const {
  if (writeError == 0) return 0;
  errno = writeError;
  return -1;
}

int QUAV_FileStream::Data::Error() const { return error == 0 && file ? file->LostWrite() : error; }

void QUAV_FileStream::Data::Clear() {
  error = writeError = 0;
  metEnd = false;
  if (file) file->SetLostWrite(0);
}

// ---- Opening and closing ----

// If closing the previous file loses bytes, the newly opened stream remembers that as its first failure.
bool QUAV_FileStream::Data::Open(const ExtNameStr& newName, const char* mode) {
  const int lost = Close() == 0 ? 0 : errno;
  error = writeError = lost;
  metEnd = false;
  name = newName;
  std::optional<FileMode> parsed = ParseFileMode(mode);
  if (!parsed) return Fail(EINVAL);
  parsed->encrypt = encrypt;
  file = QUAV_File::Open(name.GetGeneric().c_str(), *parsed);
  return file || Fail(errno);
}

void QUAV_FileStream::Data::Share(Data& other) {
  name = other.name;
  HoldNothing(other.Position());
  if (!other.file) return;
  if (!other.WriteHeld()) FailWrite(errno);
  file = other.file;
  file->Join();
  HoldNothing(other.Position());
}

int QUAV_FileStream::Data::Flush() {
  WriteHeld();
  return WriteResult();
}

int QUAV_FileStream::Data::Close() {
  if (!file) return 0;
  WriteHeld();
  StopReadingAhead();
  if (file->LostWrite() != 0) FailWrite(file->LostWrite());
  const int closing = file->Leave();
  if (closing != 0) FailWrite(closing);
  file.reset();
  HoldNothing(0);
  return WriteResult();
}

// Closes for a stream that is being destroyed: the streams that still share the file report its failure.
void QUAV_FileStream::Data::Abandon() {
  const std::shared_ptr<QUAV_File> shared = file;
  if (Close() != 0) shared->SetLostWrite(errno);
}

void QUAV_FileStream::Data::StopReadingAhead() {
  if (readsAhead) file->Advise(POSIX_FADV_NORMAL);
  readsAhead = false;
}

// ---- The buffer ----

void QUAV_FileStream::Data::HoldNothing(std::int64_t position) {
  origin = kRoomInFront;
  start = position;
  next = readable = writable = 0;
  writing = false;
}

void QUAV_FileStream::Data::NeedBuffer() {
  if (!buffer) buffer = MakePages(kRoomInFront + kBufferSize);
}

// ---- Reading ----

bool QUAV_FileStream::Data::StartReading() { return file ? WriteHeld() : Fail(EBADF); }

// Moves the rest of the window to the place before the page, and reads after it. At most kMaxPeek bytes are left.
bool QUAV_FileStream::Data::Fill() {
  NeedBuffer();
  const std::size_t newOrigin = kRoomInFront - readable;
  if (readable > 0) std::memmove(buffer.get() + newOrigin, At(next), readable);
  origin = newOrigin;
  start = Position();
  next = 0;
  const std::int64_t from = start + static_cast<std::int64_t>(readable);
  const QUAV_File::Transfer transfer = file->ReadAt(At(readable), TransferSize(from), from);
  readable += transfer.bytes;
  return transfer.error == 0 || Fail(transfer.error);
}

std::size_t QUAV_FileStream::Data::TakeHeld(std::byte* to, std::size_t count) {
  const std::size_t taken = std::min(count, readable);
  if (taken > 0) std::memcpy(to, At(next), taken);
  next += taken;
  readable -= taken;
  return taken;
}

std::size_t QUAV_FileStream::Data::ReadDirect(std::byte* to, std::size_t count) {
  const std::int64_t from = Position();
  const QUAV_File::Transfer transfer = file->ReadAt(to, count, from);
  HoldNothing(from + static_cast<std::int64_t>(transfer.bytes));
  if (transfer.error != 0)
    Fail(transfer.error);
  else if (transfer.bytes < count)
    metEnd = true;
  return transfer.bytes;
}

std::size_t QUAV_FileStream::Data::ReadSlow(std::byte* to, std::size_t count) {
  if (count == 0 || !StartReading()) return 0;
  const std::size_t held = TakeHeld(to, count);
  const std::size_t rest = count - held;
  // One fill brings this much. What is not less does not need the buffer.
  if (rest >= TransferSize(Position())) return held + ReadDirect(to + held, rest);
  const bool filled = Fill();
  if (filled && readable < rest) metEnd = true;
  return held + TakeHeld(to + held, rest);
}

void QUAV_FileStream::Data::PeekSlow(std::size_t wanted) {
  if (StartReading() && Fill() && readable < wanted) metEnd = true;
}

// ---- Writing ----

bool QUAV_FileStream::Data::StartWriting() {
  if (!file || !file->Mode().write) return FailWrite(EBADF);
  const std::int64_t position = file->Mode().append ? file->Length() : Position();
  if (position < 0) return FailWrite(errno);
  if (position > QUAV_File::kMaxPosition - static_cast<std::int64_t>(kBufferSize)) return FailWrite(EFBIG);
  NeedBuffer();
  HoldNothing(position);
  writing = true;
  writable = TransferSize(position);
  return true;
}

// Writes the held bytes to the system. Bytes that it did not take stay held, for another attempt.
bool QUAV_FileStream::Data::WriteHeld() {
  if (!writing) return true;
  const QUAV_File::Transfer transfer = Put(At(0), next);
  start += static_cast<std::int64_t>(transfer.bytes);
  next -= transfer.bytes;
  if (transfer.error == 0) {
    HoldNothing(start);
    return true;
  }
  std::memmove(At(0), At(transfer.bytes), next);
  writable = kBufferSize - next;
  return FailWrite(transfer.error);
}

QUAV_File::Transfer QUAV_FileStream::Data::Put(const std::byte* from, std::size_t count) {
  return file->Mode().append ? file->Append(from, count) : file->WriteAt(from, count, start);
}

std::size_t QUAV_FileStream::Data::WriteDirect(const std::byte* from, std::size_t count) {
  const QUAV_File::Transfer transfer = Put(from, count);
  HoldNothing(start + static_cast<std::int64_t>(transfer.bytes));
  if (transfer.error != 0) FailWrite(transfer.error);
  return transfer.bytes;
}

std::size_t QUAV_FileStream::Data::WriteSlow(const std::byte* from, std::size_t count) {
  std::size_t done = 0;
  while (done < count) {
    if (writable == 0 && !(WriteHeld() && StartWriting())) break;
    const std::size_t rest = count - done;
    if (next == 0 && rest >= kBufferSize) return done + WriteDirect(from + done, rest);
    const std::size_t taken = std::min(rest, writable);
    std::memcpy(At(next), from + done, taken);
    next += taken;
    writable -= taken;
    done += taken;
  }
  return done;
}

// ---- Positions ----

std::int64_t QUAV_FileStream::Data::Length() {
  if (!file) {
    Fail(EBADF);
    return -1;
  }
  const std::int64_t length = file->Length();
  if (length < 0) Fail(errno);
  if (length < 0 || !writing) return length;
  const std::int64_t held = static_cast<std::int64_t>(next);
  return file->Mode().append ? length + held : std::max(length, start + held);
}

// The position that a seek asks for; -1, with errno set, when it is invalid.
std::int64_t QUAV_FileStream::Data::Target(long offset, SeekDirection direction) {
  std::int64_t from = 0;
  switch (direction) {
    case kSeekFromStart:
      break;
    case kSeekFromPresent:
      from = Position();
      break;
    case kSeekFromEnd:
      from = Length();
      if (from < 0) return -1;
      break;
    default:
      errno = EINVAL;
      return -1;
  }
  std::int64_t target = 0;
  if (!__builtin_add_overflow(from, offset, &target) && target >= 0) return target;
  errno = EINVAL;
  return -1;
}

bool QUAV_FileStream::Data::MoveTo(std::int64_t position) {
  if (position == Position()) return true;
  if (!WriteHeld()) return false;
  const std::size_t held = next + readable;
  if (position < start || position > start + static_cast<std::int64_t>(held)) {
    HoldNothing(position);
    return true;
  }
  next = static_cast<std::size_t>(position - start);
  readable = held - next;
  return true;
}

// ---- The stream ----

QUAV_FileStream::QUAV_FileStream() : m_data(std::make_unique<Data>()) {}

QUAV_FileStream::QUAV_FileStream(bool encrypt) : m_data(std::make_unique<Data>(encrypt)) {}

QUAV_FileStream::QUAV_FileStream(const char* name, const char* mode, bool encrypt) : QUAV_FileStream(encrypt) {
  m_data->Open(ExtNameStr(name), mode);
}

QUAV_FileStream::QUAV_FileStream(const QUAV_FileStream& other)
    : QUAV_StrBaseIO(other), m_data(std::make_unique<Data>(other.m_data->encrypt)) {
  m_data->Share(*other.m_data);
}

QUAV_FileStream::~QUAV_FileStream() { m_data->Abandon(); }

void QUAV_FileStream::Clear() { m_data->Clear(); }

bool QUAV_FileStream::Good() { return m_data->Error() == 0; }

// For a count of 0, `count - 1` is larger than any number of held bytes: the slow path keeps null pointers from memcpy.
unsigned long QUAV_FileStream::Read(void* buffer, unsigned long count) {
  Data& data = *m_data;
  if (count - 1 >= data.readable) return data.ReadSlow(static_cast<std::byte*>(buffer), count);
  std::memcpy(buffer, data.At(data.next), count);
  data.next += count;
  data.readable -= count;
  return count;
}

unsigned long QUAV_FileStream::Write(const void* buffer, unsigned long count) {
  Data& data = *m_data;
  if (count - 1 >= data.writable) return data.WriteSlow(static_cast<const std::byte*>(buffer), count);
  std::memcpy(data.At(data.next), buffer, count);
  data.next += count;
  data.writable -= count;
  return count;
}

int QUAV_FileStream::Seek(long offset, SeekDirection direction) {
  if (!m_data->file) {
    m_data->Fail(EBADF);
    return -1;
  }
  const std::int64_t target = m_data->Target(offset, direction);
  if (target < 0 || !m_data->MoveTo(target)) return -1;
  m_data->metEnd = false;
  return 0;
}

long QUAV_FileStream::Tell() const { return m_data->Position(); }

int QUAV_FileStream::EndOfFile() { return m_data->metEnd ? 1 : 0; }

int QUAV_FileStream::Open(const char* name, const char* mode) { return m_data->Open(ExtNameStr(name), mode) ? 1 : 0; }

int QUAV_FileStream::Open(const ExtNameStr& name, const char* mode) { return m_data->Open(name, mode) ? 1 : 0; }

int QUAV_FileStream::Open(const char* name, const char* /*password*/, const char* mode) {
  return m_data->Open(ExtNameStr(name), mode) ? 1 : 0;
}

int QUAV_FileStream::Open(const ExtNameStr& name, const ExtNameStr& /*password*/, const char* mode) {
  return m_data->Open(name, mode) ? 1 : 0;
}

void QUAV_FileStream::ClearAndReset() {
  m_data->Clear();
  if (!m_data->writing) m_data->HoldNothing(m_data->Position());
}

ExtNameStr QUAV_FileStream::GetNameStr() const { return m_data->name; }

int QUAV_FileStream::Close() { return m_data->Close(); }

int QUAV_FileStream::Close() const { return m_data->Close(); }

int QUAV_FileStream::Flush() { return m_data->Flush(); }

const char* QUAV_FileStream::Name() const { return m_data->name.GetGeneric().c_str(); }

unsigned long QUAV_FileStream::Footprint() const { return m_data->buffer ? kRoomInFront + kBufferSize : 0; }

QUAV_FileStream::Window QUAV_FileStream::Peek(std::size_t wanted) {
  QUAV_ASSERT(wanted <= kMaxPeek, "wanted <= kMaxPeek");
  if (wanted > m_data->readable) m_data->PeekSlow(wanted);
  return m_data->Held();
}

void QUAV_FileStream::Skip(std::size_t count) {
  QUAV_ASSERT(count <= m_data->readable, "count <= window");
  m_data->next += count;
  m_data->readable -= count;
}

long QUAV_FileStream::Length() { return m_data->Length(); }

bool QUAV_FileStream::IsOpen() const { return m_data->file != nullptr; }

bool QUAV_FileStream::DataReady() const { return IsOpen(); }

const std::shared_ptr<QUAV_File>& QUAV_FileStream::GetFile() const { return m_data->file; }

void QUAV_FileStream::SetPosition(long position) { m_data->HoldNothing(position); }

void QUAV_FileStream::RememberFailure(int error) const { m_data->Fail(error); }

void QUAV_FileStream::RememberEnd() { m_data->metEnd = true; }

int QUAV_FileStream::Error() const { return m_data->Error(); }

int QUAV_FileStream::Reopen(const ExtNameStr& password, const char* mode) {
  Close();
  return Open(GetNameStr(), password, mode);
}

void QUAV_FileStream::EnableMultiThreadReading() {
  if (!m_data->file || m_data->file->Length() < kReadAheadLeast) return;
  m_data->file->Advise(POSIX_FADV_SEQUENTIAL);
  m_data->readsAhead = true;
}

void QUAV_FileStream::DisableMultiThreadReading() { m_data->StopReadingAhead(); }
