#include "tools/files/Output.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>
#include <system_error>

#include "tools/messages/Report.h"
#include "tools/messages/ToolError.h"
#include "tools/text/Color.h"

namespace tool {

namespace {

bool IsStandard(const std::string& path) { return path.empty() || path == "-"; }

}  // namespace

Output::Output() : m_name("standard output"), m_descriptor(STDOUT_FILENO) {
  m_text.reserve(kBufferSize + kBufferSize / 4);
}

// Delegates to the other constructor, so that the destructor runs when opening throws.
Output::Output(const std::string& path, const dstext::NewFileOptions& options, bool isPacked) : Output() {
  if (isPacked) m_packing = std::make_unique<GzipOutput>();
  if (!IsStandard(path)) OpenFile(path, options);
}

Output::~Output() {
  if (m_closes) close(m_descriptor);
}

void Output::OpenFile(const std::string& path, const dstext::NewFileOptions& options) {
  m_name = path;
  if (!dstext::IsIrregular(path)) {
    m_descriptor = m_newFile.emplace(path, options).Descriptor();
    return;
  }
  m_descriptor = open(path.c_str(), O_WRONLY | O_CLOEXEC);
  if (m_descriptor < 0) Fail("the output cannot be opened");
  m_closes = true;
}

void Output::Flush() {
  if (m_packing) {
    WriteAll(m_packing->Pack(m_text));
  } else {
    WriteAll(m_text);
  }
  m_text.clear();
}

void Output::WriteAll(std::string_view rest) {
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
}

void Output::Finish() {
  Flush();
  if (m_packing) WriteAll(m_packing->End());
  if (m_newFile) {
    RefuseWarnings();
    return m_newFile->Finish();
  }
  if (!m_closes) return;
  m_closes = false;
  if (close(m_descriptor) != 0) Fail("the output cannot be written");
}

bool Output::IsTerminal() const { return isatty(m_descriptor) == 1; }

std::size_t Output::Width() const { return TerminalWidth(m_descriptor); }

void Output::Fail(const char* what) const {
  const int reason = errno;
  throw ToolError(std::string(what) + " (" + std::generic_category().message(reason) + ")", m_name);
}

void Print(const std::string& text) {
  Output output("");
  output.Text() += text;
  output.Finish();
}

// The shell may have opened a file for reading and writing, or for appending, as standard output.
void RefuseInputAsOutput(const std::string& input, const std::string& output, const char* what) {
  if (!IsStandard(output)) return dstext::RefuseToReplaceInput(input == "-" ? "/dev/stdin" : input, output, what);
  struct stat from {};
  struct stat to {};
  const bool isKnown = input == "-" ? fstat(STDIN_FILENO, &from) == 0 : stat(input.c_str(), &from) == 0;
  if (isKnown && fstat(STDOUT_FILENO, &to) == 0 && S_ISREG(to.st_mode) && from.st_dev == to.st_dev &&
      from.st_ino == to.st_ino)
    throw ToolError(std::string("the output would overwrite the ") + what, input);
}

}  // namespace tool
