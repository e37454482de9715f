// datasrc info FILE [--json] [--password-file F]

#include <memory>
#include <string>

#include "Columns/dictionary/DictionaryJson.h"
#include "Platform/text/QUAVMB.h"
#include "tools/commandline/PasswordFile.h"
#include "tools/commands/Commands.h"
#include "tools/dictionary/DictionaryText.h"
#include "tools/dictionary/FittedDictionary.h"
#include "tools/files/Output.h"
#include "tools/systemfile/OpenSource.h"

namespace tool {

using namespace dstext;

namespace {

struct InfoArguments {
  std::string file;
  std::string passwordFile;
  bool json = false;
};

void Info(const InfoArguments& arguments) {
  RefuseInputAsOutput(arguments.file, "");
  RefuseInputAsOutput(arguments.passwordFile, "", "password file");
  const OpenedSource source = OpenSource(arguments.file, ReadPasswordFile(arguments.passwordFile));
  Output output("");
  if (arguments.json) {
    DictionaryJson(*source.data).Write([&](std::string_view piece) {
      output.Text() += piece;
      output.Settle();
    });
  } else {
    AppendDictionaryText(output.Text(), source);
  }
  output.Finish();
  Losses losses;
  CountMissingValues(*source.data, kUtf8Name, losses);
  losses.Report(arguments.file);
}

}  // namespace

void AddInfoCommand(CommandLine& line) {
  const auto arguments = std::make_shared<InfoArguments>();
  Command command = line.Add("info", "Shows the dictionary of a file.");
  command.Argument("FILE", arguments->file, "The system file");
  command.Flag("--json", arguments->json, "Prints one JSON object");
  AddPasswordOption(command, arguments->passwordFile);
  command.Work([arguments] { Info(*arguments); });
}

}  // namespace tool
