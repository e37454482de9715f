// The option --threads of commands that work on several threads.
//
// Threads: any.

#ifndef TOOLS_COMMANDLINE_THREADS_H
#define TOOLS_COMMANDLINE_THREADS_H

#include <string>

#include "tools/commandline/CommandLine.h"

namespace tool {

void AddThreadsOption(Command& command, std::string& value);
// Returns the number of threads; those of the processor when the text is empty. Throws WrongUsage for any other text that
// is not a number from 1 on.
int ParseThreads(const std::string& text);

}  // namespace tool

#endif
