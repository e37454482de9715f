// The commands of the tool. Each adds its arguments to the command line; its work is done while the command line is
// parsed, as soon as its arguments are complete.
//
// A wrong command line is a WrongUsage, a failure of the work a QuavServerError or a ToolError.

#ifndef TOOLS_COMMANDS_COMMANDS_H
#define TOOLS_COMMANDS_COMMANDS_H

#include "tools/commandline/CommandLine.h"

namespace tool {

void AddInfoCommand(CommandLine& line);
void AddCatCommand(CommandLine& line);
void AddConvertCommand(CommandLine& line);
void AddAppendCommand(CommandLine& line);
void AddMangleCommand(CommandLine& line);
void AddHelpCommand(CommandLine& line);

}  // namespace tool

#endif
