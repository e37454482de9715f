#include "tools/commands/Commands.h"

namespace tool {

void AddCommands(CommandLine& line) {
  AddInfoCommand(line);
  AddVerifyCommand(line);
  AddDiffCommand(line);
  AddCatCommand(line);
  AddConvertCommand(line);
  AddAppendCommand(line);
  AddConcatCommand(line);
  AddStatsCommand(line);
  AddReportCommand(line);
  AddMangleCommand(line);
  AddHelpCommand(line);
}

}  // namespace tool
