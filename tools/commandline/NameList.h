// Names of variables on the command line: A,B,C.
//
// Threads: any.

#ifndef TOOLS_COMMANDLINE_NAMELIST_H
#define TOOLS_COMMANDLINE_NAMELIST_H

#include <optional>
#include <string>
#include <vector>

namespace tool {

// Returns the names between the commas, none without a text. Throws WrongUsage about the option when a name is empty.
std::vector<std::string> ParseNames(const std::string& option, const std::optional<std::string>& text);

}  // namespace tool

#endif
