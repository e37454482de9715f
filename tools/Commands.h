// The commands of the tool. Each adds its arguments to the command line; its work is done while the command line is
// parsed, as soon as its arguments are complete.
//
// A wrong command line is a CLI::ParseError, a failure of the work a QuavServerError or a ToolError.

#ifndef TOOLS_COMMANDS_H
#define TOOLS_COMMANDS_H

#include <CLI/CLI.hpp>

namespace tool {

void AddInfoCommand(CLI::App& app);
void AddCatCommand(CLI::App& app);
void AddConvertCommand(CLI::App& app);
void AddAppendCommand(CLI::App& app);
void AddMangleCommand(CLI::App& app);
void AddHelpCommand(CLI::App& app);

// Prints through Output, so that a full disk is noticed.
void Print(const std::string& text);

}  // namespace tool

#endif
