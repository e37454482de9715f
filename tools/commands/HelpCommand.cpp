// datasrc help [COMMAND]

#include <memory>
#include <string>

#include "tools/commands/Commands.h"
#include "tools/files/Output.h"

namespace tool {

void AddHelpCommand(CommandLine& line) {
  const auto about = std::make_shared<std::string>();
  Command command = line.Add("help", "Prints the help of the tool or of one command.");
  command.Argument("COMMAND", *about, "The command", Command::Need::optional);
  command.Example("datasrc help convert", "the help of a command");
  command.Work([&line, about] { Print(line.Help(*about)); });
}

}  // namespace tool
