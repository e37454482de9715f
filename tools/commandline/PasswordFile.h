// Reads passwords from files of their own, so that neither a process list nor a shell history shows them.
//
// Threads: one thread at a time.

#ifndef TOOLS_COMMANDLINE_PASSWORDFILE_H
#define TOOLS_COMMANDLINE_PASSWORDFILE_H

#include <string>

#include "Platform/stream/ExtNameStr.h"
#include "tools/commandline/CommandLine.h"

namespace tool {

// Returns the password in the first line of the file, in UTF-8; a mangled password is unmangled. Returns an empty
// password when `path` is empty. Warns when other users can read the file. Throws ToolError when it cannot read a
// password; the text of the error never contains the contents of the file.
ExtNameStr ReadPasswordFile(const std::string& path);
// Returns the first line unchanged.
ExtNameStr ReadFirstLine(const std::string& path);

// Adds the option --password-file to a command that opens a file.
void AddPasswordOption(Command& command, std::string& path);

}  // namespace tool

#endif
