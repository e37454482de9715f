// Where a command's text goes: standard output, or a file.
//
//   Output output(path);
//   output.Text() += "...";   append, as often as wanted
//   output.Settle();          now and then: hands a full buffer to the system
//   output.Finish();          last: a write that fails later than this is not heard of
//
// A new file, or one that is replaced, gets its name when it is whole (NewFile): without Finish nothing remains of it,
// and what stood under the name stays. What is no regular file (a device, a pipe) is written as it is.
//
// Failures are thrown as ToolError; a pipe whose reader has gone as ClosedPipe.
//
// Threads: one thread at a time.

#ifndef TOOLS_FILES_OUTPUT_H
#define TOOLS_FILES_OUTPUT_H

#include <optional>
#include <string>

#include "tools/files/NewFile.h"

namespace tool {

// The reader of a pipe has all that it wanted.
struct ClosedPipe {};

class Output {
 public:
  // An empty path, and "-", are standard output.
  explicit Output(const std::string& path);
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;
  ~Output();

  // What is held and not yet written.
  std::string& Text() { return m_text; }
  void Settle() {
    if (m_text.size() >= kBufferSize) Flush();
  }
  void Flush();
  void Finish();
  bool IsTerminal() const;

 private:
  static constexpr std::size_t kBufferSize = 256UL * 1024;

  Output();
  void OpenFile(const std::string& path);
  [[noreturn]] void Fail(const char* what) const;

  std::string m_text;
  std::string m_name;                // for messages
  std::optional<NewFile> m_newFile;  // when a file is made
  int m_descriptor;
  bool m_closes = false;  // the descriptor is this object's to close
};

// Writes the text to standard output, and notices a full disk.
void Print(const std::string& text);

}  // namespace tool

#endif
