// Prints messages for people, each on one line of standard error: "datasrc: warning: TEXT: FILE".
//
// Threads: one thread at a time.

#ifndef TOOLS_MESSAGES_REPORT_H
#define TOOLS_MESSAGES_REPORT_H

#include <string>

namespace tool {

// Prints the name of the tool and the message. The message stays on one line, whatever characters it contains.
void Report(const std::string& message);
void ReportWarning(const std::string& text, const std::string& file);
// `number` is the number in the message catalog.
void ReportWarning(int number, const std::string& text, const std::string& file);

}  // namespace tool

#endif
