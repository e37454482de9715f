// datasrc verify FILE [--json] [--salvage OUT] [--no-sync] [--password-file F]

#include <unistd.h>

#include <memory>
#include <string>

#include "Columns/dictionary/FileOpening.h"
#include "Columns/files/NewFile.h"
#include "datasrc/SystemFileVerification.h"
#include "tools/commandline/PasswordFile.h"
#include "tools/commands/Commands.h"
#include "tools/files/Output.h"
#include "tools/files/StandardInput.h"
#include "tools/forms/CaseForm.h"
#include "tools/messages/Report.h"
#include "tools/verify/Salvage.h"
#include "tools/verify/VerifyReport.h"

namespace tool {

namespace {

constexpr char kFooter[] =
    "Reads the whole file and prints each fault with its byte, its record and its case, counted from\n"
    "0. The exit status is 1 when there are faults, and 0 when there are none.\n"
    "\n"
    "A warning is about something that is read past: an extension record that cannot be read, or a\n"
    "name that is not allowed. Cases that are not compressed have no checksums: a changed byte in\n"
    "them cannot be seen. - as FILE is standard input.\n"
    "\n"
    "--salvage writes the readable cases to a new system file: those before the first fault and, of\n"
    "a file with zlib compression, those after the last damaged block. It warns of those that are\n"
    "missing.";

struct VerifyArguments {
  std::string file;
  std::string salvage;
  std::string passwordFile;
  bool json = false;
  bool noSync = false;
};

void Print(const VerifyArguments& arguments, const VerifiedFile& found) {
  Output output("");
  if (arguments.json)
    AppendVerifyJson(output.Text(), arguments.file, found);
  else
    AppendVerifyText(output.Text(), arguments.file, found, Color(STDOUT_FILENO));
  output.Finish();
}

void CheckSalvage(const std::string& path) {
  if (path == "-") throw WrongUsage("--salvage", "a system file cannot be written to standard output");
  RefuseForeignSuffix("--salvage", path);
  if (FormOfSuffix(path).form != CaseForm::systemFile)
    throw WrongUsage("--salvage", "a system file is written: use a suffix such as .quav, and `datasrc convert` on it");
}

int Verify(const VerifyArguments& arguments) {
  CheckSalvage(arguments.salvage);
  RefuseInputAsOutput(arguments.file, arguments.salvage);
  RefuseInputAsOutput(arguments.passwordFile, arguments.salvage, "password file");
  const std::string file = PathOfInput(arguments.file);
  const ExtNameStr password = ReadPasswordFile(arguments.passwordFile);
  dstext::RefuseIrregularFile(file);
  const ExtNameStr name(file);
  VerifiedFile found;
  if (arguments.salvage.empty()) {
    VerifyProgress progress;
    found = VerifySystemFile(name, password, ThreadsToUse(), progress);
    Print(arguments, found);
  } else {
    Salvage salvage(arguments.salvage, {.sync = !arguments.noSync});
    found = VerifySystemFile(name, password, ThreadsToUse(), salvage);
    Print(arguments, found);
    salvage.Finish(file, found);
  }
  if (!password.Empty() && found.kind == VerifiedFile::systemFile)
    ReportWarning("the file is not encrypted: the password is not used", file);
  CountWarnings(found.warnings.size());
  return found.faults.empty() ? 0 : 1;
}

}  // namespace

void AddVerifyCommand(CommandLine& line) {
  const auto arguments = std::make_shared<VerifyArguments>();
  Command command = line.Add("verify", "Checks a file and its cases from end to end.");
  command.Argument("FILE", arguments->file, "The system file");
  command.Flag("--json", arguments->json, "Prints one JSON object");
  command.Option("--salvage", "OUT", arguments->salvage, "Writes what is readable to a new system file");
  AddNoSyncOption(command, arguments->noSync);
  AddPasswordOption(command, arguments->passwordFile);
  command.Footer(kFooter);
  command.Example("datasrc verify penguins.quav", "the faults of a file");
  command.Example("datasrc verify penguins.quav --salvage whole.quav", "the readable cases in a new file");
  command.ExitStatus(1, "There are faults, or the work failed.");
  command.WorkWithStatus([arguments] { return Verify(*arguments); });
}

}  // namespace tool
