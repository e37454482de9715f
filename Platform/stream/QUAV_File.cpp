#include "Platform/stream/QUAV_File.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <limits>

#include "Platform/Assert.h"
#include "Platform/stream/FileCalls.h"

namespace {

static_assert(sizeof(off_t) == sizeof(std::int64_t));

// More than this no system call transfers.
constexpr std::size_t kMaxRequest = 0x7ffff000;
constexpr std::int64_t kMaxPosition = std::numeric_limits<std::int64_t>::max();
// Reading and writing for everybody, less what the process's umask takes away.
constexpr mode_t kPermissions = 0666;

int OpenFlags(const FileMode& mode) {
  int flags = O_CLOEXEC;
  if (mode.read && mode.write) flags |= O_RDWR;
  if (!mode.read) flags |= O_WRONLY;
  if (mode.create) flags |= O_CREAT;
  if (mode.truncate) flags |= O_TRUNC;
  if (mode.append) flags |= O_APPEND;
  return flags;
}

// Makes the call until no signal interrupts it.
template <class Call>
auto Uninterrupted(Call call) {
  auto result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}

// Calls `call(bytes done, bytes to go)` until all is done, it transfers nothing or it fails.
template <class Call>
QUAV_File::Transfer TransferAll(std::size_t size, Call call) {
  QUAV_File::Transfer transfer;
  while (transfer.bytes < size) {
    const std::size_t request = std::min(size - transfer.bytes, kMaxRequest);
    const ssize_t got = Uninterrupted([&] { return call(transfer.bytes, request); });
    if (got < 0) transfer.error = errno;
    if (got <= 0) break;
    transfer.bytes += static_cast<std::size_t>(got);
  }
  return transfer;
}

// A write that takes nothing and names no reason would be tried for ever: it counts as a failure of the device.
QUAV_File::Transfer Written(QUAV_File::Transfer transfer, std::size_t size) {
  if (transfer.error == 0 && transfer.bytes < size) transfer.error = EIO;
  return transfer;
}

// The bytes from the offset up to the last position that there is.
std::size_t Room(std::int64_t offset) { return static_cast<std::size_t>(kMaxPosition - offset); }

// Why an open file cannot serve, as an errno; 0 when it can. (A directory may well be opened for reading.)
int Refusal(int descriptor) {
  struct stat status {};
  if (Uninterrupted([&] { return PresentFileCalls().fstat(descriptor, &status); }) != 0) return errno;
  return S_ISDIR(status.st_mode) ? EISDIR : 0;
}

}  // namespace

std::shared_ptr<QUAV_File> QUAV_File::Open(const char* name, const FileMode& mode) {
  std::shared_ptr<QUAV_File> file(new QUAV_File(mode));
  file->m_descriptor = Uninterrupted([&] { return PresentFileCalls().open(name, OpenFlags(mode), kPermissions); });
  if (file->m_descriptor < 0) return nullptr;
  const int refusal = Refusal(file->m_descriptor);
  if (refusal == 0) return file;
  file->Close();
  errno = refusal;
  return nullptr;
}

QUAV_File::~QUAV_File() { Close(); }

QUAV_File::Transfer QUAV_File::ReadAt(void* buffer, std::size_t size, std::int64_t offset) const {
  QUAV_ASSERT(0 <= offset, "0 <= offset");
  std::byte* const bytes = static_cast<std::byte*>(buffer);
  return TransferAll(std::min(size, Room(offset)), [&](std::size_t done, std::size_t request) {
    return PresentFileCalls().pread(m_descriptor, bytes + done, request, offset + static_cast<std::int64_t>(done));
  });
}

QUAV_File::Transfer QUAV_File::WriteAt(const void* buffer, std::size_t size, std::int64_t offset) {
  QUAV_ASSERT(!m_mode.append, "!m_mode.append");
  QUAV_ASSERT(0 <= offset, "0 <= offset");
  if (size > Room(offset)) return {0, EFBIG};
  const std::byte* const bytes = static_cast<const std::byte*>(buffer);
  const auto call = [&](std::size_t done, std::size_t request) {
    return PresentFileCalls().pwrite(m_descriptor, bytes + done, request, offset + static_cast<std::int64_t>(done));
  };
  return Written(TransferAll(size, call), size);
}

QUAV_File::Transfer QUAV_File::Append(const void* buffer, std::size_t size) {
  QUAV_ASSERT(m_mode.append, "m_mode.append");
  const std::byte* const bytes = static_cast<const std::byte*>(buffer);
  const auto call = [&](std::size_t done, std::size_t request) {
    return PresentFileCalls().write(m_descriptor, bytes + done, request);
  };
  return Written(TransferAll(size, call), size);
}

std::int64_t QUAV_File::Length() const {
  struct stat status {};
  const int answer = Uninterrupted([&] { return PresentFileCalls().fstat(m_descriptor, &status); });
  return answer == 0 ? status.st_size : -1;
}

void QUAV_File::Advise(int advice) const {
  PresentFileCalls().fadvise(m_descriptor, 0, 0, advice);  // 0 bytes from 0 on is all of it
}

void QUAV_File::Join() { ++m_users; }

int QUAV_File::Leave() { return --m_users == 0 ? Close() : 0; }

int QUAV_File::Close() {
  if (m_descriptor < 0) return 0;
  const int answer = PresentFileCalls().close(m_descriptor);
  m_descriptor = -1;
  // Interrupted or not, the descriptor is free by now: it may be another file's, and is never closed twice.
  return answer == 0 || errno == EINTR ? 0 : errno;
}
