// Prints errors and warnings, each on one line of standard error. The form is for people or for scripts:
//
//   datasrc: warning 1722: TEXT: FILE
//   datasrc: error 1204: TEXT: FILE (record 7/13, byte 1234)
//   {"level": "error", "number": 1204, "text": "TEXT", "file": "FILE",
//    "place": {"byte": 1234, "record": 7, "subtype": 13}}                      on one line; what is unknown is null
//
// Threads: one thread at a time.

#ifndef TOOLS_MESSAGES_REPORT_H
#define TOOLS_MESSAGES_REPORT_H

#include <optional>
#include <string>

#include "Platform/messages/ThrowError.h"

namespace tool {

struct ReportSettings {
  bool isQuiet = false;  // no warnings and no progress
  bool isJson = false;
};
// The settings of the process, to be changed before the work begins.
ReportSettings& PresentReportSettings();

// An error or a warning. The text stays on one line, whatever characters it contains.
struct ReportedMessage {
  std::optional<int> number = {};  // in the message catalog
  std::string text;
  std::string file = {};  // empty when it concerns none
  FilePlace place = {};
};

void ReportError(const ReportedMessage& message);
void ReportWarning(const ReportedMessage& message);
void ReportWarning(const std::string& text, const std::string& file);
// `number` is the number in the message catalog.
void ReportWarning(int number, const std::string& text, const std::string& file);
// Returns how many warnings there were so far, also those that were not printed.
long long WarningCount();

}  // namespace tool

#endif
