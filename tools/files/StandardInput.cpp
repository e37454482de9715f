#include "tools/files/StandardInput.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "Platform/messages/ThrowError.h"
#include "Platform/stream/QUAV_FileStream.h"
#include "Platform/tempdirs/QuavTempDirs.h"
#include "tools/messages/ToolError.h"

namespace tool {

namespace {

constexpr int kNoTempFile = 1001;
constexpr mode_t kOwnerOnly = 0600;
constexpr char kPath[] = "/dev/stdin";
constexpr std::size_t kPiece = 256UL * 1024;
constexpr std::size_t kMostInMemory = 8UL * 1024 * 1024;

[[noreturn]] void FailToKeep() {
  throw ToolError("the input cannot be kept (" + std::generic_category().message(errno) + ")", "standard input");
}

// Makes a file without a name in a temp directory. Where the file system has no such files, its name is removed at once.
int MakeNameless() {
  std::array<char, kTempNameRoom> name{};
  FormTempName("stdin", name.data());
  const std::string folder = std::filesystem::path(name.data()).parent_path();
  int descriptor = open(folder.c_str(), O_TMPFILE | O_EXCL | O_RDWR | O_CLOEXEC, kOwnerOnly);
  if (descriptor < 0 && (errno == EOPNOTSUPP || errno == EISDIR || errno == EINVAL)) {
    descriptor = open(name.data(), O_CREAT | O_EXCL | O_NOFOLLOW | O_RDWR | O_CLOEXEC, kOwnerOnly);
    if (descriptor >= 0) unlink(name.data());
  }
  if (descriptor < 0) ThrowError::StringSys(kDatasrcCatalog, kNoTempFile, name.data());
  return descriptor;
}

// A temp file without a name, with other bytes on disk.
class HiddenFile {
 public:
  HiddenFile() : m_descriptor(MakeNameless()), m_stream(true) {
    const std::string path = "/proc/self/fd/" + std::to_string(m_descriptor);
    if (m_stream.Open(path.c_str(), "w+b") == 0) FailToKeep();
  }
  HiddenFile(const HiddenFile&) = delete;
  HiddenFile& operator=(const HiddenFile&) = delete;
  ~HiddenFile() { close(m_descriptor); }

  void Append(std::string_view bytes) {
    if (m_stream.Write(bytes.data(), bytes.size()) != bytes.size()) FailToKeep();
  }
  // Returns the descriptor of the complete file, which is at its end.
  int Descriptor() {
    if (m_stream.Flush() != 0 || lseek(m_descriptor, 0, SEEK_END) < 0) FailToKeep();
    return m_descriptor;
  }

 private:
  const int m_descriptor;
  QUAV_FileStream m_stream;
};

// A file in memory, as long as the bytes are few.
class SmallFile {
 public:
  SmallFile() : m_descriptor(memfd_create("input", MFD_CLOEXEC)) {
    if (m_descriptor < 0) FailToKeep();
  }
  SmallFile(const SmallFile&) = delete;
  SmallFile& operator=(const SmallFile&) = delete;
  ~SmallFile() { close(m_descriptor); }

  std::size_t Size() const { return m_size; }
  int Descriptor() const { return m_descriptor; }

  void Append(std::string_view bytes) {
    m_size += bytes.size();
    while (!bytes.empty()) {
      const ssize_t count = write(m_descriptor, bytes.data(), bytes.size());
      if (count < 0 && errno != EINTR) FailToKeep();
      if (count > 0) bytes.remove_prefix(static_cast<std::size_t>(count));
    }
  }
  void CopyTo(HiddenFile& file) const {
    std::vector<char> piece(kPiece);
    for (std::size_t done = 0; done < m_size;) {
      const ssize_t count = pread(m_descriptor, piece.data(), piece.size(), static_cast<off_t>(done));
      if (count == 0 || (count < 0 && errno != EINTR)) FailToKeep();
      if (count < 0) continue;
      file.Append({piece.data(), static_cast<std::size_t>(count)});
      done += static_cast<std::size_t>(count);
    }
  }

 private:
  const int m_descriptor;
  std::size_t m_size = 0;
};

void MakeStandardInput(int descriptor) {
  if (dup2(descriptor, STDIN_FILENO) < 0) FailToKeep();
}

// The file must stay open: who opens it again reads plain bytes only as long as that is so.
std::unique_ptr<HiddenFile>& HiddenStandardInput() {
  static std::unique_ptr<HiddenFile> file;
  return file;
}

}  // namespace

std::string StandardInputAsFile(InputBytes* begun) {
  struct stat status {};
  const bool isFile = fstat(STDIN_FILENO, &status) == 0 && S_ISREG(status.st_mode);
  static bool isKept = false;
  if (begun == nullptr && (isKept || (isFile && lseek(STDIN_FILENO, 0, SEEK_CUR) == 0))) return kPath;
  std::optional<InputBytes> own;
  if (begun == nullptr) begun = &own.emplace("-");
  begun->ReadOnce();
  SmallFile small;
  std::unique_ptr<HiddenFile> hidden;
  std::vector<char> piece(kPiece);
  while (const std::size_t size = begun->Read(piece.data(), piece.size())) {
    if (!hidden && small.Size() + size > kMostInMemory) {
      hidden = std::make_unique<HiddenFile>();
      small.CopyTo(*hidden);
    }
    const std::string_view bytes(piece.data(), size);
    if (hidden) {
      hidden->Append(bytes);
    } else {
      small.Append(bytes);
    }
  }
  MakeStandardInput(hidden ? hidden->Descriptor() : small.Descriptor());
  HiddenStandardInput() = std::move(hidden);
  isKept = true;
  return kPath;
}

std::string PathOfInput(const std::string& input) { return input == "-" ? StandardInputAsFile() : input; }

}  // namespace tool
