// Passwords for files: they come from files of their own, so that no list of processes and no history of a shell shows
// them.
//
// Threads: one thread at a time.

#ifndef TOOLS_COMMANDLINE_PASSWORDFILE_H
#define TOOLS_COMMANDLINE_PASSWORDFILE_H

#include <string>

#include "Platform/stream/ExtNameStr.h"
#include "tools/commandline/CommandLine.h"

namespace tool {

// The password in the first line of the file, in UTF-8; the one behind a mangled one. Empty when no file is named. A
// file that others can read gets a warning. Throws ToolError, which never tells what stands in the file, when there is
// no password.
ExtNameStr ReadPasswordFile(const std::string& path);
// The first line as it stands.
ExtNameStr ReadFirstLine(const std::string& path);

// The option --password-file of a command that opens a file.
void AddPasswordOption(Command& command, std::string& path);

}  // namespace tool

#endif
