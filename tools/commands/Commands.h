// The commands of the tool. Each function adds a command with its arguments to the command line. The parser runs the
// work of a command as soon as its arguments are complete.
//
// A wrong command line is thrown as WrongUsage, a failure of the work as QuavServerError or ToolError.

#ifndef TOOLS_COMMANDS_COMMANDS_H
#define TOOLS_COMMANDS_COMMANDS_H

#include "tools/commandline/CommandLine.h"

namespace tool {

inline constexpr char kToolName[] = "datasrc";
inline constexpr char kToolAbout[] = "Shows system files, and converts data to and from them.";

// Adds all commands, in the order of the help.
void AddCommands(CommandLine& line);

void AddInfoCommand(CommandLine& line);
void AddVerifyCommand(CommandLine& line);
void AddDiffCommand(CommandLine& line);
void AddCatCommand(CommandLine& line);
void AddConvertCommand(CommandLine& line);
void AddAppendCommand(CommandLine& line);
void AddConcatCommand(CommandLine& line);
void AddStatsCommand(CommandLine& line);
void AddReportCommand(CommandLine& line);
void AddMangleCommand(CommandLine& line);
void AddHelpCommand(CommandLine& line);

}  // namespace tool

#endif
