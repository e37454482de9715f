// What the description of a tool lacks.
//
// Threads: any.

#ifndef TOOLS_MANUAL_DESCRIPTIONGAPS_H
#define TOOLS_MANUAL_DESCRIPTIONGAPS_H

#include <string>
#include <vector>

#include "tools/commandline/Description.h"

namespace tool {

// Returns a line for each option and argument without a text or with a type that completions do not know, each command
// without a text or an example, and each example that does not run its command.
std::vector<std::string> DescriptionGaps(const ToolDescription& tool);

}  // namespace tool

#endif
