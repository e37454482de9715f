// datasrc info FILE [--json]

#include <memory>
#include <string>

#include "Commands.h"
#include "DictionaryJson.h"
#include "DictionaryText.h"
#include "OpenSource.h"
#include "Output.h"

namespace tool {

namespace {

struct InfoArguments {
  std::string file;
  bool json = false;
};

void Info(const InfoArguments& arguments) {
  const OpenedSource source = OpenSource(arguments.file);
  Output output("");
  if (arguments.json) {
    WriteDictionaryJson(source, output);
  } else {
    AppendDictionaryText(output.Text(), source);
  }
  output.Finish();
}

}  // namespace

void AddInfoCommand(CLI::App& app) {
  const auto arguments = std::make_shared<InfoArguments>();
  CLI::App* const command = app.add_subcommand("info", "Shows the dictionary of a file.");
  command->add_option("FILE", arguments->file, "The system file")->required()->type_name("");
  command->add_flag("--json", arguments->json, "As one JSON object");
  command->callback([arguments] { Info(*arguments); });
}

}  // namespace tool
