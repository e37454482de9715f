#include "tools/files/InputBytes.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "Platform/messages/ThrowError.h"
#include "tools/files/GzipInput.h"
#include "tools/files/TextDecoder.h"
#include "tools/messages/ToolError.h"

namespace tool {

namespace {

constexpr int kCannotOpen = 1201;
constexpr char kTempFilePrefix[] = "xfrm";  // of files that are never compressed
constexpr std::size_t kMostInMemory = 8UL * 1024 * 1024;

}  // namespace

InputBytes::InputBytes(const std::string& path) : m_name(path), m_descriptor(STDIN_FILENO) {
  if (path == "-") {
    m_name = "standard input";
  } else {
    m_descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (m_descriptor < 0) ThrowError::StringSys(kDatasrcCatalog, kCannotOpen, path.c_str());
    m_closes = true;
  }
  struct stat status {};
  // Standard input may be anywhere in a file. Its start is the present position, so its bytes are kept as for a pipe.
  m_isFile = m_closes && fstat(m_descriptor, &status) == 0 && S_ISREG(status.st_mode);
  if (m_isFile) posix_fadvise(m_descriptor, 0, 0, POSIX_FADV_SEQUENTIAL);
}

InputBytes::~InputBytes() {
  if (m_closes) close(m_descriptor);
}

std::size_t InputBytes::Read(char* bytes, std::size_t size) {
  return m_filters.empty() ? ReadBytes(bytes, size) : m_filters.back()->Read(bytes, size);
}

std::size_t InputBytes::ReadBytes(char* bytes, std::size_t size) {
  if (m_position < m_kept.size() + m_spilled) return ReadKept(bytes, size);
  const std::size_t count = ReadDescriptor(bytes, size);
  if (!m_isFile && m_keeps) Keep(bytes, count);
  return count;
}

void InputBytes::Rewind() {
  m_position = 0;
  if (m_rest != nullptr) m_rest->Seek(0, kSeekFromStart);
  if (m_isFile && lseek(m_descriptor, 0, SEEK_SET) != 0) Fail("the input cannot be read again");
  for (const auto& filter : m_filters) filter->Restart();
}

std::string InputBytes::Start() {
  constexpr std::size_t kPiece = 4096;
  constexpr std::size_t kEnough = 4;
  std::string start(kPiece, '\0');
  std::size_t size = 0;
  for (std::size_t count = 1; size < kEnough && count != 0; size += count)
    count = Read(start.data() + size, start.size() - size);
  start.resize(size);
  Rewind();
  return start;
}

void InputBytes::Unpack() { m_filters.push_back(std::make_unique<GzipInput>(Reader(), m_name)); }

bool InputBytes::Decode(const std::string& encoding) {
  bool isKnown = false;
  auto decoder = MakeTextDecoder(encoding, Reader(), m_name, isKnown);
  if (decoder) m_filters.push_back(std::move(decoder));
  return isKnown;
}

// Returns what a further filter reads from.
ReadFunction InputBytes::Reader() {
  if (m_filters.empty()) return [this](char* bytes, std::size_t size) { return ReadBytes(bytes, size); };
  return [before = m_filters.back().get()](char* bytes, std::size_t size) { return before->Read(bytes, size); };
}

std::size_t InputBytes::ReadDescriptor(char* bytes, std::size_t size) {
  for (;;) {
    const ssize_t count = read(m_descriptor, bytes, size);
    if (count >= 0) return static_cast<std::size_t>(count);
    if (errno != EINTR) Fail("the input cannot be read");
  }
}

std::size_t InputBytes::ReadKept(char* bytes, std::size_t size) {
  std::size_t count = 0;
  if (m_position < m_kept.size()) {
    count = m_kept.copy(bytes, size, m_position);
  } else {
    count = std::min(size, m_kept.size() + m_spilled - m_position);
    if (m_rest->Read(bytes, count) != count) Fail("the input cannot be read again");
  }
  m_position += count;
  return count;
}

void InputBytes::Keep(const char* bytes, std::size_t size) {
  m_position += size;
  if (m_rest == nullptr && m_kept.size() + size <= kMostInMemory) {
    m_kept.append(bytes, size);
  } else {
    Spill(bytes, size);
  }
}

void InputBytes::Spill(const char* bytes, std::size_t size) {
  if (m_rest == nullptr) m_rest = std::make_unique<QUAV_TempFile>(kTempFilePrefix, true);
  if (m_rest->Write(bytes, size) != size) Fail("the input cannot be saved for a second pass");
  m_spilled += size;
}

void InputBytes::Fail(const char* what) const {
  const int reason = errno;
  throw ToolError(std::string(what) + " (" + std::generic_category().message(reason) + ")", m_name);
}

}  // namespace tool
