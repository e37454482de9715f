// datasrc info FILE [VARIABLE...] [--json] [--password-file F]

#include <unistd.h>

#include <memory>
#include <string>
#include <vector>

#include "Columns/dictionary/DictionaryJson.h"
#include "Columns/text/JsonText.h"
#include "Platform/text/QUAVMB.h"
#include "tools/commandline/PasswordFile.h"
#include "tools/commands/Commands.h"
#include "tools/dictionary/DictionaryText.h"
#include "tools/dictionary/FittedDictionary.h"
#include "tools/files/Output.h"
#include "tools/forms/ShownColumns.h"
#include "tools/messages/Losses.h"
#include "tools/systemfile/OpenSource.h"

namespace tool {

using namespace dstext;

namespace {

constexpr char kFooter[] =
    "With names of variables, shows all that the dictionary has about each of them, and nothing else;\n"
    "in JSON, the member `variables` then has only these.";

struct InfoArguments {
  std::string file;
  std::vector<std::string> variables;
  std::string passwordFile;
  bool json = false;
};

// Writes the object piece by piece.
DictionaryJson::Sink To(Output& output) {
  return [&output](std::string_view piece) {
    output.Text() += piece;
    output.Settle();
  };
}

void Info(const InfoArguments& arguments) {
  RefuseInputAsOutput(arguments.file, "");
  RefuseInputAsOutput(arguments.passwordFile, "", "password file");
  const OpenedSource source = OpenSource(arguments.file, ReadPasswordFile(arguments.passwordFile));
  const bool isChosen = !arguments.variables.empty();
  const std::vector<int> columns = isChosen ? ColumnsOfNames(*source.data, arguments.variables) : std::vector<int>();
  Output output("");
  const DictionaryTextStyle style{Color(STDOUT_FILENO), output.Width()};
  if (arguments.json && isChosen)
    DictionaryJson(*source.data).Write(To(output), columns);
  else if (arguments.json)
    DictionaryJson(*source.data).Write(To(output));
  else if (isChosen)
    AppendVariablesText(output.Text(), source, columns, style);
  else
    AppendDictionaryText(output.Text(), source, style);
  output.Finish();
  Losses losses;
  CountMissingValues(*source.data, kUtf8Name, losses);
  losses.Report(arguments.file);
}

}  // namespace

void AddInfoCommand(CommandLine& line) {
  const auto arguments = std::make_shared<InfoArguments>();
  Command command = line.Add("info", "Shows the dictionary of a file, or some of its variables.");
  command.Argument("FILE", arguments->file, "The system file");
  command.Arguments("VARIABLE", arguments->variables, "The variables to show whole", Command::Need::optional);
  command.Flag("--json", arguments->json, "Prints one JSON object");
  AddPasswordOption(command, arguments->passwordFile);
  command.Footer(kFooter);
  command.Example("datasrc info penguins.quav", "the whole dictionary");
  command.Example("datasrc info penguins.quav species BodyMass", "all about two variables");
  command.Example("datasrc info penguins.quav --json > penguins.json", "the dictionary as JSON");
  command.Work([arguments] { Info(*arguments); });
}

}  // namespace tool
