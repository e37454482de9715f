// The man pages: one of the tool, and one of each command.
//
// Threads: any.

#ifndef TOOLS_MANUAL_MANPAGES_H
#define TOOLS_MANUAL_MANPAGES_H

#include <string>

#include "tools/commandline/Description.h"

namespace tool {

// Return a page of section 1 in the `man` macros.
std::string ToolPage(const ToolDescription& tool);
std::string CommandPage(const ToolDescription& tool, const CommandDescription& command);

}  // namespace tool

#endif
