// datasrc info FILE [VARIABLE...] [--json] [--password-file F]

#include <unistd.h>

#include <memory>
#include <nlohmann/json.hpp>
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
    "in JSON, the member `variables` then has only these.\n"
    "\n"
    "Examples:\n"
    "  datasrc info survey.quav\n"
    "  datasrc info survey.quav age income\n"
    "  datasrc info survey.quav --json";

struct InfoArguments {
  std::string file;
  std::vector<std::string> variables;
  std::string passwordFile;
  bool json = false;
};

// Writes the object with these variables only.
void WriteChosen(const QUAV_DataSource& data, const std::vector<int>& columns, std::string& out) {
  using Json = nlohmann::ordered_json;
  DictionaryJson json(data);
  const Json file = Json::parse(json.File());
  Json tree;
  for (const auto& member : file.items()) {
    if (member.key() == "attributes") {
      tree["variables"] = Json::array();
      for (const int column : columns) tree["variables"].push_back(Json::parse(json.Variable(column)));
    }
    tree[member.key()] = member.value();
  }
  AppendJson(out, tree);
  out += '\n';
}

void WriteAll(const QUAV_DataSource& data, Output& output) {
  DictionaryJson(data).Write([&](std::string_view piece) {
    output.Text() += piece;
    output.Settle();
  });
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
    WriteChosen(*source.data, columns, output.Text());
  else if (arguments.json)
    WriteAll(*source.data, output);
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
  command.Work([arguments] { Info(*arguments); });
}

}  // namespace tool
