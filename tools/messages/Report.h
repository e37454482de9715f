// Messages for people, one line on standard error each: "datasrc: warning: TEXT: FILE".
//
// Threads: one thread at a time.

#ifndef TOOLS_MESSAGES_REPORT_H
#define TOOLS_MESSAGES_REPORT_H

#include <string>

namespace tool {

// The message behind the name of the tool, on one line whatever it holds.
void Report(const std::string& message);
void ReportWarning(const std::string& text, const std::string& file);
// With the number of the message catalog.
void ReportWarning(int number, const std::string& text, const std::string& file);

}  // namespace tool

#endif
