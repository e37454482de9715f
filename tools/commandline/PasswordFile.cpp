#include "tools/commandline/PasswordFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>

#include "Platform/cipher/PasswordCrypt.h"
#include "tools/messages/Report.h"
#include "tools/messages/ToolError.h"

namespace tool {

namespace {

constexpr std::size_t kLongestLine = 4096;

[[noreturn]] void Refuse(const std::string& path, const std::string& trouble) {
  throw ToolError("the password file " + trouble, path);
}

class Descriptor {
 public:
  explicit Descriptor(const std::string& path) : m_descriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
    if (m_descriptor < 0) Refuse(path, std::string("cannot be opened (") + std::strerror(errno) + ")");
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() { close(m_descriptor); }

  operator int() const { return m_descriptor; }

 private:
  int m_descriptor;
};

void WarnOfReaders(int descriptor, const std::string& path) {
  struct stat about {};
  if (fstat(descriptor, &about) != 0 || !S_ISREG(about.st_mode)) return;
  if ((about.st_mode & (S_IRGRP | S_IROTH)) != 0)
    ReportWarning("other users can read the password file: use chmod 600", path);
}

// The bytes at the start of a file, as many as a line may have. The destructor wipes them.
class Start {
 public:
  Start(int descriptor, const std::string& path) {
    while (m_size < m_bytes.size() && Line().size() == m_size) {
      const ssize_t count = read(descriptor, m_bytes.data() + m_size, m_bytes.size() - m_size);
      if (count < 0 && errno == EINTR) continue;
      if (count < 0) Refuse(path, std::string("cannot be read (") + std::strerror(errno) + ")");
      if (count == 0) break;
      m_size += static_cast<std::size_t>(count);
    }
  }
  Start(const Start&) = delete;
  Start& operator=(const Start&) = delete;
  ~Start() { explicit_bzero(m_bytes.data(), m_bytes.size()); }

  // Returns the first line, or all bytes when they contain no line end.
  std::string_view Line() const {
    std::string_view text(m_bytes.data(), m_size);
    text = text.substr(0, text.find('\n'));
    if (text.ends_with('\r')) text.remove_suffix(1);
    return text;
  }

 private:
  std::array<char, kLongestLine + 1> m_bytes;
  std::size_t m_size = 0;
};

// Text that the destructor wipes.
class PassingText {
 public:
  explicit PassingText(std::string_view text) : m_text(text) {}
  PassingText(const PassingText&) = delete;
  PassingText& operator=(const PassingText&) = delete;
  ~PassingText() { explicit_bzero(m_text.data(), m_text.size()); }

  const std::string& Text() const { return m_text; }

 private:
  std::string m_text;
};

}  // namespace

ExtNameStr ReadFirstLine(const std::string& path) {
  const Descriptor file(path);
  WarnOfReaders(file, path);
  const Start start(file, path);
  const std::string_view line = start.Line();
  if (line.empty()) Refuse(path, "has no password in its first line");
  if (line.size() > kLongestLine) Refuse(path, "has a first line longer than 4096 bytes");
  if (line.find('\0') != std::string_view::npos) Refuse(path, "is not a text file");
  const PassingText text(line);
  ExtNameStr password;
  password.SetU8(text.Text());
  return password;
}

ExtNameStr ReadPasswordFile(const std::string& path) {
  if (path.empty()) return {};
  ExtNameStr password = ReadFirstLine(path);
  ExtNameStr behind = password;
  return PasswordCrypt().decrypt(behind) ? behind : password;
}

void AddPasswordOption(Command& command, std::string& path) {
  command.Option("--password-file", "F", path, "The password of an encrypted file is the first line of F");
}

}  // namespace tool
