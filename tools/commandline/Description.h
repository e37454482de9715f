// What the command line consists of, without the parser: the help, the man pages and the completions of shells are made
// from this.
//
// Threads: any.

#ifndef TOOLS_COMMANDLINE_DESCRIPTION_H
#define TOOLS_COMMANDLINE_DESCRIPTION_H

#include <string>
#include <vector>

namespace tool {

struct OptionDescription {
  std::vector<std::string> names = {};  // with their dashes
  std::string type = {};                // names the value; empty for a flag
  std::string help = {};
  std::vector<std::string> choices = {};  // the values; empty when any value is possible
  bool mayRepeat = false;
};

struct ArgumentDescription {
  std::string name;
  std::string help;
  bool isRequired = true;
  bool mayRepeat = false;
};

struct ExampleDescription {
  std::string line;
  std::string meaning;
};

struct ExitStatusDescription {
  int status;
  std::string meaning;
};

struct CommandDescription {
  std::string name;
  std::string about;
  std::vector<ArgumentDescription> arguments;
  std::vector<OptionDescription> options;  // without those of all commands
  std::string footer;                      // see Command::Footer
  std::vector<ExampleDescription> examples;
  std::vector<ExitStatusDescription> exitStatuses;  // with an unusual meaning
};

struct ToolDescription {
  std::string name;
  std::string about;
  std::string version;                     // with the name
  std::vector<OptionDescription> options;  // of the tool and of all commands
  OptionDescription versionOption;         // of the tool only
  std::vector<CommandDescription> commands;
};

}  // namespace tool

#endif
