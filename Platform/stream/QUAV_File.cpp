#include "Platform/stream/QUAV_File.h"

#include <fcntl.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <limits>
#include <map>
#include <mutex>
#include <string>
#include <utility>

#include "Platform/Assert.h"
#include "Platform/stream/FileCalls.h"
#include "Platform/stream/FileCipher.h"
#include "Platform/stream/Holes.h"

namespace {

static_assert(sizeof(off_t) == sizeof(std::int64_t));

// No system call transfers more than this.
constexpr std::size_t kMaxRequest = 0x7ffff000;
// Everybody may read and write, except as the process's umask says.
constexpr mode_t kPermissions = 0666;
constexpr mode_t kTemporaryPermissions = 0600;

int OpenFlags(const FileMode& mode) {
  int flags = O_CLOEXEC;
  if (mode.read && mode.write) flags |= O_RDWR;
  if (!mode.read) flags |= O_WRONLY;
  if (mode.create) flags |= O_CREAT;
  if (mode.truncate) flags |= O_TRUNC;
  if (mode.append) flags |= O_APPEND;
  return flags;
}

mode_t Permissions(const FileMode& mode) {
  return mode.temporary || mode.deleteOnClose ? kTemporaryPermissions : kPermissions;
}

// Repeats the call as long as signals interrupt it.
template <class Call>
auto Uninterrupted(Call call) {
  auto result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}

// Calls `call(bytes done, bytes to go)` until all is done, a call transfers nothing, or a call fails.
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

// A write that takes nothing without a reason would be repeated for ever: it counts as a failure of the device.
QUAV_File::Transfer Written(QUAV_File::Transfer transfer, std::size_t size) {
  if (transfer.error == 0 && transfer.bytes < size) transfer.error = EIO;
  return transfer;
}

// The number of bytes from the offset up to the last possible position.
std::size_t Room(std::int64_t offset) { return static_cast<std::size_t>(QUAV_File::kMaxPosition - offset); }

int OpenFile(const char* name, int flags, mode_t permissions) {
  return Uninterrupted([&] { return PresentFileCalls().open(name, flags, permissions); });
}

// Returns whether a failed O_TMPFILE means that the file system, or the kernel, does not support it.
bool MakesNoNamelessFiles(int error) { return error == EOPNOTSUPP || error == EISDIR || error == EINVAL; }

// Makes the file under its name, for this process alone, and unlinks it at once. If it cannot be unlinked, that is a
// failure.
int OpenUnlinked(const char* name, int flags, mode_t permissions) {
  const int descriptor = OpenFile(name, flags | O_EXCL | O_NOFOLLOW, permissions);
  if (descriptor < 0 || PresentFileCalls().unlink(name) == 0) return descriptor;
  const int error = errno;
  PresentFileCalls().close(descriptor);
  errno = error;
  return -1;
}

// O_EXCL: the file can never get a name.
int OpenNameless(const char* name, int flags, mode_t permissions) {
  const std::string folder = (std::filesystem::path(name).parent_path() / ".").string();
  const int nameless = (flags & ~(O_CREAT | O_TRUNC)) | O_TMPFILE | O_EXCL;
  const int descriptor = OpenFile(folder.c_str(), nameless, permissions);
  if (descriptor >= 0 || !MakesNoNamelessFiles(errno)) return descriptor;
  return OpenUnlinked(name, flags, permissions);
}

int OpenAs(const char* name, const FileMode& mode) {
  const int flags = OpenFlags(mode);
  return mode.deleteOnClose ? OpenNameless(name, flags, Permissions(mode)) : OpenFile(name, flags, Permissions(mode));
}

// Returns the errno that makes an open file useless; 0 when it is usable. (A directory can be opened for reading.)
int Refusal(int descriptor, struct stat& status) {
  if (Uninterrupted([&] { return PresentFileCalls().fstat(descriptor, &status); }) != 0) return errno;
  return S_ISDIR(status.st_mode) ? EISDIR : 0;
}

}  // namespace

// The transfers of an enciphered file, for all who have it open. Reading deciphers in the reader's own memory; writing
// enciphers into memory of this object, piece by piece. A write after the end leaves a hole. The zero bytes of a hole
// would decipher to noise, so reading sets them to zero again.
//
// Who opens the file again while it is open finds this object by the identity of the file.
class QUAV_File::Enciphered {
 public:
  Enciphered(const Identity& identity, std::unique_ptr<FileCipher> cipher)
      : m_identity(identity), m_cipher(std::move(cipher)) {}
  Enciphered(const Enciphered&) = delete;
  Enciphered& operator=(const Enciphered&) = delete;
  // The last user calls this before it closes the file: until then no other file can have the identity. But the file may
  // have been made anew meanwhile, with another key.
  ~Enciphered() {
    const std::scoped_lock lock(theOpenMutex);
    const auto found = OpenFiles().find(m_identity);
    if (found != OpenFiles().end() && found->second.expired()) OpenFiles().erase(found);
  }

  static std::shared_ptr<Enciphered> Make(const Identity& identity, std::unique_ptr<FileCipher> cipher) {
    const auto made = std::make_shared<Enciphered>(identity, std::move(cipher));
    const std::scoped_lock lock(theOpenMutex);
    OpenFiles()[identity] = made;
    return made;
  }

  // Returns null when no file of this identity is open and enciphered.
  static std::shared_ptr<Enciphered> Find(const Identity& identity) {
    const std::scoped_lock lock(theOpenMutex);
    const auto found = OpenFiles().find(identity);
    return found == OpenFiles().end() ? nullptr : found->second.lock();
  }

  Transfer ReadAt(const QUAV_File& file, std::byte* to, std::size_t size, std::int64_t offset) {
    const Transfer transfer = file.ReadPlainAt(to, size, offset);
    if (!m_cipher->Apply(to, to, transfer.bytes, offset)) return {0, EIO};
    if (m_hasHoles) {
      const std::scoped_lock lock(m_mutex);
      m_holes.Clear(to, transfer.bytes, offset);
    }
    return transfer;
  }

  Transfer WriteAt(const QUAV_File& file, const std::byte* from, std::size_t size, std::int64_t offset) {
    const std::scoped_lock lock(m_mutex);
    Transfer whole;
    while (whole.error == 0 && whole.bytes < size) {
      const Transfer piece = WritePiece(file, from + whole.bytes, std::min(size - whole.bytes, kPiece),
                                        offset + static_cast<std::int64_t>(whole.bytes));
      whole.bytes += piece.bytes;
      whole.error = piece.error;
    }
    return whole;
  }

 private:
  static constexpr std::size_t kPiece = 256UL * 1024;

  // Never destroyed: files of static storage duration are closed after this source's own objects.
  static std::map<Identity, std::weak_ptr<Enciphered>>& OpenFiles() {
    static auto* const files = new std::map<Identity, std::weak_ptr<Enciphered>>;
    return *files;
  }

  Transfer WritePiece(const QUAV_File& file, const std::byte* from, std::size_t size, std::int64_t offset) {
    if (!m_cipher->Apply(from, m_piece.data(), size, offset)) return {0, EIO};
    const Transfer transfer = file.WritePlainAt(m_piece.data(), size, offset);
    if (transfer.bytes > 0) NoteWritten(offset, offset + static_cast<std::int64_t>(transfer.bytes));
    return transfer;
  }

  void NoteWritten(std::int64_t begin, std::int64_t end) {
    if (m_hasHoles) m_holes.Fill(begin, end);
    if (begin > m_length) m_holes.Add(m_length, begin);
    m_length = std::max(m_length, end);
    m_hasHoles = !m_holes.None();
  }

  static constinit std::mutex theOpenMutex;  // guards OpenFiles

  const Identity m_identity;
  const std::unique_ptr<FileCipher> m_cipher;
  std::atomic<bool> m_hasHoles = false;
  std::mutex m_mutex;  // guards the following members
  std::int64_t m_length = 0;
  Holes m_holes;
  alignas(4096) std::array<std::byte, kPiece> m_piece;  // aligned to a page: the system copies faster from there
};

constinit std::mutex QUAV_File::Enciphered::theOpenMutex;

QUAV_File::QUAV_File(const FileMode& mode) : m_mode(mode) {}

std::shared_ptr<QUAV_File> QUAV_File::Open(const char* name, const FileMode& mode) {
  std::shared_ptr<QUAV_File> file(new QUAV_File(mode));
  std::unique_ptr<FileCipher> cipher;
  if (mode.encrypt) {
    cipher = mode.truncate ? FileCipher::Make() : nullptr;
    if (!mode.truncate) errno = EINVAL;
    if (!cipher) return nullptr;
  }
  file->m_descriptor = OpenAs(name, mode);
  if (file->m_descriptor < 0) return nullptr;
  struct stat status {};
  int refusal = Refusal(file->m_descriptor, status);
  if (refusal == 0) {
    file->m_identity = {status.st_dev, status.st_ino};
    if (cipher) {
      file->m_enciphered = Enciphered::Make(file->m_identity, std::move(cipher));
    } else if (status.st_nlink == 0) {
      file->m_enciphered = Enciphered::Find(file->m_identity);
    }
    // Its place in the file decides how a byte is enciphered, and bytes at an unknown end have none.
    if (file->m_enciphered && mode.append) refusal = EINVAL;
  }
  if (refusal == 0) return file;
  file->Close();
  errno = refusal;
  return nullptr;
}

QUAV_File::~QUAV_File() { Close(); }

QUAV_File::Transfer QUAV_File::ReadAt(void* buffer, std::size_t size, std::int64_t offset) const {
  QUAV_ASSERT(0 <= offset, "0 <= offset");
  if (m_enciphered) return m_enciphered->ReadAt(*this, static_cast<std::byte*>(buffer), size, offset);
  return ReadPlainAt(buffer, size, offset);
}

QUAV_File::Transfer QUAV_File::ReadPlainAt(void* buffer, std::size_t size, std::int64_t offset) const {
  std::byte* const bytes = static_cast<std::byte*>(buffer);
  return TransferAll(std::min(size, Room(offset)), [&](std::size_t done, std::size_t request) {
    return PresentFileCalls().pread(m_descriptor, bytes + done, request, offset + static_cast<std::int64_t>(done));
  });
}

QUAV_File::Transfer QUAV_File::WriteAt(const void* buffer, std::size_t size, std::int64_t offset) {
  QUAV_ASSERT(!m_mode.append, "!m_mode.append");
  QUAV_ASSERT(0 <= offset, "0 <= offset");
  if (size > Room(offset)) return {0, EFBIG};
  if (m_enciphered) return m_enciphered->WriteAt(*this, static_cast<const std::byte*>(buffer), size, offset);
  return WritePlainAt(buffer, size, offset);
}

QUAV_File::Transfer QUAV_File::WritePlainAt(const void* buffer, std::size_t size, std::int64_t offset) const {
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

int QUAV_File::Truncate(std::int64_t length) {
  return Uninterrupted([&] { return PresentFileCalls().ftruncate(m_descriptor, length); }) == 0 ? 0 : errno;
}

void QUAV_File::Advise(int advice) const {
  PresentFileCalls().fadvise(m_descriptor, 0, 0, advice);  // 0 bytes from 0 on means the whole file
}

void QUAV_File::Join() { ++m_users; }

int QUAV_File::Leave() { return --m_users == 0 ? Close() : 0; }

int QUAV_File::Close() {
  if (m_descriptor < 0) return 0;
  m_enciphered.reset();
  const int answer = PresentFileCalls().close(m_descriptor);
  m_descriptor = -1;
  // Even after an interruption the descriptor is free: it may belong to another file now, so it is never closed twice.
  return answer == 0 || errno == EINTR ? 0 : errno;
}
