// Prints errors and warnings, each on one line of standard error. The form is for people or for scripts:
//
//   datasrc: warning 1722: TEXT: FILE
//   datasrc: error 1204: TEXT: FILE (record 7/13, byte 1234)
//   {"level": "error", "number": 1204, "text": "TEXT", "file": "FILE",
//    "place": {"byte": 1234, "record": 7, "subtype": 13}}                      on one line; what is unknown is null
//
// The place in a text is {"line": 12}.
//
// Threads: one thread at a time.

#ifndef TOOLS_MESSAGES_REPORT_H
#define TOOLS_MESSAGES_REPORT_H

#include <cstddef>
#include <optional>
#include <string>

#include "Platform/messages/ThrowError.h"

namespace tool {

struct ReportSettings {
  bool isQuiet = false;  // no warnings and no progress
  bool isJson = false;
  bool isStrict = false;  // warnings are failures
};
// The settings of the process, to be changed before the work begins.
ReportSettings& PresentReportSettings();

// An error or a warning. The text stays on one line, whatever characters it contains.
struct ReportedMessage {
  std::optional<int> number = {};  // in the message catalog
  std::string text;
  std::string file = {};  // empty when it concerns none
  FilePlace place = {};
  std::optional<long long> line = {};  // of a text, whose message says it, too
};

void ReportError(const ReportedMessage& message);
void ReportWarning(const ReportedMessage& message);
void ReportWarning(const std::string& text, const std::string& file);
// `number` is the number in the message catalog.
void ReportWarning(int number, const std::string& text, const std::string& file);
// Counts warnings that are shown in another way.
void CountWarnings(std::size_t count);
// Returns whether the warnings so far, also those that were not printed, are failures.
bool AreWarningsFailures();
inline constexpr char kStrictFailure[] = "there were warnings, and --strict makes them failures";
// Throws a ToolError if the warnings so far are failures. To be called before a new file replaces an old one.
void RefuseWarnings();

}  // namespace tool

#endif
