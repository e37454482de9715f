// datasrc diff A B [--cases N] [--password-file F]

#include <unistd.h>

#include <memory>
#include <string>

#include "Columns/dictionary/CaseCount.h"
#include "Platform/messages/ThrowError.h"
#include "tools/commandline/PasswordFile.h"
#include "tools/commands/Commands.h"
#include "tools/diff/CaseDiff.h"
#include "tools/diff/DictionaryDiff.h"
#include "tools/files/Output.h"
#include "tools/files/StandardInput.h"
#include "tools/systemfile/OpenSource.h"

namespace tool {

namespace {

constexpr int kTrouble = 2;
constexpr long long kDefaultCases = 10;

constexpr char kFooter[] =
    "Prints what differs between two system files: first the dictionaries, then the cases. Variables\n"
    "belong together when their names are equal, in upper or lower case; cases are compared in their\n"
    "order, counted from 0. The exit status is 0 when nothing differs, 1 when something does, and 2\n"
    "when the files cannot be compared.\n"
    "\n"
    "How a file is stored is no difference: compression, encoding, encryption, byte order, and who\n"
    "wrote it when. -0.0 differs from 0.0. A NaN equals each NaN. Trailing blanks of texts do not\n"
    "count. The password is used for each file that is encrypted.";

struct DiffArguments {
  std::string first;
  std::string second;
  std::string passwordFile;
  long long cases = kDefaultCases;
};

OpenedSource Open(const std::string& input, const ExtNameStr& password) {
  const std::string file = PathOfInput(input);
  return OpenSource(file, IsEncrypted(file) ? password : ExtNameStr());
}

int Diff(const DiffArguments& arguments) {
  const ExtNameStr password = ReadPasswordFile(arguments.passwordFile);
  const OpenedSource first = Open(arguments.first, password);
  const OpenedSource second = Open(arguments.second, password);
  dstext::RequireCells(*first.file, arguments.first);
  dstext::RequireCells(*second.file, arguments.second);
  Output output("");
  const Color color(STDOUT_FILENO);
  Differences differences(output.Text(), color);
  const auto columns = CompareDictionaries(*first.data, *second.data, differences);
  output.Flush();
  try {
    CompareCases(*first.data, *second.data, columns, {.most = arguments.cases, .threads = ThreadsToUse()}, differences);
  } catch (const QuavServerError&) {
    // The differences before the fault are good and are shown.
    output.Flush();
    throw;
  }
  output.Finish();
  return differences.IsAny() ? 1 : 0;
}

}  // namespace

void AddDiffCommand(CommandLine& line) {
  const auto arguments = std::make_shared<DiffArguments>();
  Command command = line.Add("diff", "Compares two files.");
  command.Argument("A", arguments->first, "The first system file");
  command.Argument("B", arguments->second, "The second system file");
  command.Option("--cases", "N", arguments->cases, "Prints the first N differences of the cases; by default 10");
  AddPasswordOption(command, arguments->passwordFile);
  command.Footer(kFooter);
  command.Example("datasrc diff old.quav new.quav",
                  "all differences of the dictionaries, and the first 10 of the cases");
  command.Example("datasrc diff old.quav new.quav --cases 100", "the first 100 differences of the cases");
  command.ExitStatus(0, "Nothing differs.");
  command.ExitStatus(1, "Something differs.");
  command.ExitStatus(kTrouble, "The files cannot be compared, or the command line is wrong.");
  command.FailureStatus(kTrouble);
  command.WorkWithStatus([arguments] { return Diff(*arguments); });
}

}  // namespace tool
