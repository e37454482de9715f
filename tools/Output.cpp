#include "Output.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "ToolError.h"

namespace tool {

namespace {

constexpr mode_t kNewFileMode = 0666;  // what the umask leaves of it

bool IsOtherThanRegular(const std::string& path) {
  std::error_code none;
  const auto status = std::filesystem::status(path, none);
  return std::filesystem::exists(status) && !std::filesystem::is_regular_file(status);
}

// The file that a symbolic link leads to, so that the link stays when the file is replaced.
std::string Resolved(const std::string& path) {
  std::error_code none;
  const auto resolved = std::filesystem::weakly_canonical(path, none);
  return resolved.empty() ? path : resolved.string();
}

// The mode that the finished file is to have: that of the file it replaces, else that of any new file.
mode_t FinalMode(const std::string& path) {
  struct stat replaced {};
  if (stat(path.c_str(), &replaced) == 0) return replaced.st_mode & 07777;
  const mode_t mask = umask(0);
  umask(mask);
  return kNewFileMode & ~mask;
}

}  // namespace

Output::Output() : m_name("standard output"), m_descriptor(STDOUT_FILENO) {
  m_text.reserve(kBufferSize + kBufferSize / 4);
}

// It delegates, so that the destructor tidies up when opening throws.
Output::Output(const std::string& path) : Output() {
  if (!path.empty() && path != "-") OpenFile(path);
}

Output::~Output() {
  if (m_closes) close(m_descriptor);
  if (!m_partName.empty()) unlink(m_partName.c_str());
}

void Output::OpenFile(const std::string& path) {
  m_name = path;
  m_descriptor = -1;
  if (IsOtherThanRegular(path)) {
    m_descriptor = open(path.c_str(), O_WRONLY | O_CLOEXEC);
    if (m_descriptor < 0) Fail("the output cannot be opened");
    m_closes = true;
    return;
  }
  m_finalName = Resolved(path);
  std::string partName = m_finalName + ".XXXXXX";
  m_descriptor = mkostemp(partName.data(), O_CLOEXEC);
  if (m_descriptor < 0) Fail("the output cannot be made");
  m_closes = true;
  m_partName = partName;
  if (fchmod(m_descriptor, FinalMode(m_finalName)) != 0) Fail("the output cannot be made");
}

void Output::Flush() {
  std::string_view rest = m_text;
  while (!rest.empty()) {
    const ssize_t written = write(m_descriptor, rest.data(), rest.size());
    if (written >= 0) {
      rest.remove_prefix(static_cast<std::size_t>(written));
    } else if (errno == EPIPE) {
      throw ClosedPipe();
    } else if (errno != EINTR) {
      Fail("the output cannot be written");
    }
  }
  m_text.clear();
}

void Output::Finish() {
  Flush();
  if (!m_closes) return;
  m_closes = false;
  if (close(m_descriptor) != 0) Fail("the output cannot be written");
  if (m_partName.empty()) return;
  if (std::rename(m_partName.c_str(), m_finalName.c_str()) != 0) Fail("the output cannot be given its name");
  m_partName.clear();
}

bool Output::IsTerminal() const { return isatty(m_descriptor) == 1; }

void Output::Fail(const char* what) const {
  const int reason = errno;
  throw ToolError(std::string(what) + " (" + std::generic_category().message(reason) + ")", m_name);
}

}  // namespace tool
