#include "tools/files/FileContents.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>
#include <vector>

#include "Platform/messages/ThrowError.h"

namespace tool {

namespace {

constexpr int kCannotOpen = 1201;
constexpr int kNotWritten = 1202;
constexpr std::size_t kPiece = 256UL * 1024;
constexpr std::size_t kMostAtOnce = std::size_t{1} << 30;

class ReadDescriptor {
 public:
  explicit ReadDescriptor(const std::string& file) : m_descriptor(open(file.c_str(), O_RDONLY | O_CLOEXEC)) {
    if (m_descriptor < 0) ThrowError::StringSys(kDatasrcCatalog, kCannotOpen, file.c_str());
  }
  ReadDescriptor(const ReadDescriptor&) = delete;
  ReadDescriptor& operator=(const ReadDescriptor&) = delete;
  ~ReadDescriptor() { close(m_descriptor); }

  operator int() const { return m_descriptor; }

 private:
  int m_descriptor;
};

bool WriteAll(int to, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = write(to, bytes.data(), bytes.size());
    if (count < 0 && errno != EINTR) return false;
    if (count > 0) bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

// Returns a negative number on failure, 0 at the end, otherwise a positive number.
ssize_t CopyPiece(int from, int to, std::vector<char>& buffer) {
  const ssize_t count = read(from, buffer.data(), buffer.size());
  if (count <= 0) return count < 0 && errno == EINTR ? 1 : count;
  return WriteAll(to, {buffer.data(), static_cast<std::size_t>(count)}) ? count : -1;
}

}  // namespace

void CopyContents(const std::string& file, int to) {
  const ReadDescriptor from(file);
  ssize_t count = 1;
  while (count > 0) count = copy_file_range(from, nullptr, to, nullptr, kMostAtOnce, 0);
  // Not every pair of file systems can do that. The part that was copied stays; both descriptors are after it.
  std::vector<char> buffer(kPiece);
  count = 1;
  while (count > 0) count = CopyPiece(from, to, buffer);
  if (count < 0) ThrowError::StringSys(kDatasrcCatalog, kNotWritten, file.c_str());
}

}  // namespace tool
