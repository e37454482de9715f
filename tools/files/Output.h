// The destination of a command's text: standard output or a file.
//
//   Output output(path);
//   output.Text() += "...";   append any number of times
//   output.Settle();          now and then: hands a full buffer to the system
//   output.Finish();          last: writes the rest; a later failure would go unnoticed
//
// A new or replaced file gets its name when it is complete (NewFile). Without Finish nothing remains of it, and an old
// file stays. A path that is not a regular file (a device, a pipe) is written directly.
//
// With `isPacked`, the bytes are gzip data.
//
// Failures are thrown as ToolError. A pipe that its reader has closed is thrown as ClosedPipe.
//
// Threads: one thread at a time.

#ifndef TOOLS_FILES_OUTPUT_H
#define TOOLS_FILES_OUTPUT_H

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Columns/files/NewFile.h"
#include "tools/files/GzipOutput.h"

namespace tool {

// Thrown when the reader of a pipe has closed it: it has all that it wanted.
struct ClosedPipe {};

class Output {
 public:
  // An empty path and "-" mean standard output.
  explicit Output(const std::string& path, const dstext::NewFileOptions& options = {}, bool isPacked = false);
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;
  ~Output();

  // The name for messages.
  const std::string& Name() const { return m_name; }
  // The text that is not yet written.
  std::string& Text() { return m_text; }
  void Settle() {
    if (m_text.size() >= kBufferSize) Flush();
  }
  // Returns how many bytes are missing until Settle hands the text over.
  std::size_t MissingBytes() const { return m_text.size() >= kBufferSize ? 0 : kBufferSize - m_text.size(); }
  void Flush();
  void Finish();
  bool IsTerminal() const;
  // The columns of the terminal; 0 for anything else.
  std::size_t Width() const;

 private:
  static constexpr std::size_t kBufferSize = 256UL * 1024;

  Output();
  void OpenFile(const std::string& path, const dstext::NewFileOptions& options);
  void WriteAll(std::string_view bytes);
  [[noreturn]] void Fail(const char* what) const;

  std::string m_text;
  std::unique_ptr<GzipOutput> m_packing;     // null when the bytes are the text itself
  std::string m_name;                        // for messages
  std::optional<dstext::NewFile> m_newFile;  // set when a file is made
  int m_descriptor;
  bool m_closes = false;  // true when this object closes the descriptor
};

// Writes the text to standard output. Fails as Output does, for example on a full disk.
void Print(const std::string& text);

// Throws an error when an output would replace or overwrite an input. Names are those of Output and InputBytes, which
// may mean the standard streams. `what` the input is: "dictionary".
void RefuseInputAsOutput(const std::string& input, const std::string& output, const char* what = "input file");

}  // namespace tool

#endif
