// Scripts with which shells complete the command line: the names of commands and options, the choices of an option, and
// the names of files where a file is meant.
//
// Threads: any.

#ifndef TOOLS_MANUAL_COMPLETIONS_H
#define TOOLS_MANUAL_COMPLETIONS_H

#include <string>

#include "tools/commandline/Description.h"

namespace tool {

std::string BashCompletion(const ToolDescription& tool);
std::string ZshCompletion(const ToolDescription& tool);
std::string FishCompletion(const ToolDescription& tool);

}  // namespace tool

#endif
