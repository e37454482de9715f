// datasrc append FILE IN [--from FORM] [--in-place] [--no-sync] [--password-file F]

#include <unistd.h>

#include <memory>
#include <string>

#include "Columns/dictionary/CaseCount.h"
#include "Columns/files/LockedFile.h"
#include "Columns/files/NewFile.h"
#include "Platform/text/QUAVMB.h"
#include "tools/cases/CopyCases.h"
#include "tools/cases/LongTextMender.h"
#include "tools/cases/SourceCases.h"
#include "tools/cases/SystemFileWriter.h"
#include "tools/cases/Utf8Cases.h"
#include "tools/commandline/PasswordFile.h"
#include "tools/commands/Commands.h"
#include "tools/files/FileContents.h"
#include "tools/forms/AddedCases.h"
#include "tools/forms/CaseForm.h"
#include "tools/messages/Report.h"
#include "tools/messages/ToolError.h"
#include "tools/systemfile/OpenSource.h"

namespace tool {

namespace {

constexpr char kFooter[] =
    "The suffix of IN shows its form: .csv is CSV, .jsonl is JSON lines, any other is a system file;\n"
    "--from overrides the suffix. - is standard input with CSV or JSON lines.\n"
    "\n"
    "IN must have the variables of FILE. A system file has all of them with the same types and\n"
    "widths, in any order. CSV has their names in its header, in any order. JSON lines have a value\n"
    "for each variable.\n"
    "\n"
    "The cases are added to a copy of FILE, which replaces FILE when it is complete. With --in-place\n"
    "they are added to FILE itself; after a failure, it may contain the cases before the fault.\n"
    "\n"
    "append waits until no other append works on FILE. When another program changes FILE meanwhile,\n"
    "that is an error and no case is added.\n"
    "\n"
    "An encrypted FILE is always rewritten as a whole. With --in-place, a failure can destroy it.\n"
    "The password is also used for IN when IN is encrypted.";

struct AppendArguments {
  std::string file;
  std::string input;
  std::string from;
  std::string passwordFile;
  bool inPlace = false;
  bool noSync = false;
};

class AppendWriter final : public CaseWriter {
 public:
  // `name` is the file's for a person.
  AppendWriter(SystemFileDataSource& file, const std::string& name)
      : m_file(file), m_name(name), m_mender(file, file.CharacterEncoding()) {}

  void WriteCase(const OBS* cells) override { m_file.AddRow(m_mender.Mended(cells)); }
  void End() override {
    m_file.Close();
    m_mender.Report(m_name);
  }

 private:
  SystemFileDataSource& m_file;
  std::string m_name;
  LongTextMender m_mender;
};

// Appends to `path`, which is FILE or its copy. Errors are reported about `name`.
void AppendTo(const std::string& path, CaseReader& cases, const std::string& name, const ExtNameStr& password) {
  try {
    SystemFileDataSource file(ExtNameStr(path), password, false);
    dstext::LearnCaseCount(file);
    AppendWriter writer(file, name);
    CopyCases(cases, writer, STDERR_FILENO);
  } catch (const QuavServerError& error) {
    ThrowAbout(name, path, error);
  }
}

void AppendInPlace(const std::string& name, CaseReader& cases, const ExtNameStr& password,
                   const dstext::NewFileOptions& options) {
  AppendTo(name, cases, name, password);
  if (options.sync) options.old->Sync();
}

void AppendToCopy(const std::string& name, CaseReader& cases, const ExtNameStr& password,
                  const dstext::NewFileOptions& options) {
  dstext::NewFile copy(name, options);
  CopyContents(name, copy.Descriptor());
  AppendTo(copy.Path(), cases, name, password);
  copy.Finish();
}

// Passes the cases of several readers to a writer whose Begin and End the caller calls.
class PartWriter final : public CaseWriter {
 public:
  explicit PartWriter(CaseWriter& whole) : m_whole(whole) {}
  void WriteCase(const OBS* cells) override { m_whole.WriteCase(cells); }

 private:
  CaseWriter& m_whole;
};

// The library cannot add cases to a file in reversed byte order, so the file is written again.
void WriteAnew(CaseReader& cases, const std::string& name, const ExtNameStr& password,
               const dstext::NewFileOptions& options) {
  const SystemFileDataSource file(ExtNameStr(name), password, false);
  SystemFileWriter writer(
      name, file, {file.GetCompressionLevel(), file.CharacterEncoding(), file.CharacterEncoding(), password, options});
  PartWriter part(writer);
  SourceCases old(file);
  writer.Begin();
  CopyCases(old, part, STDERR_FILENO);
  CopyCases(cases, part, STDERR_FILENO);
  writer.End();
}

void Append(const AppendArguments& arguments) {
  if (arguments.inPlace) dstext::RefuseToReplaceInput(arguments.input, arguments.file);
  const ExtNameStr password = ReadPasswordFile(arguments.passwordFile);
  const dstext::LockedFile locked(arguments.file);
  if (!locked.Warning().empty()) ReportWarning(locked.Warning(), arguments.file);
  const dstext::NewFileOptions options{.sync = !arguments.noSync, .old = &locked};
  const OpenedSource file = OpenAsStored(arguments.file, password);
  if (file.data->ColumnCount() == 0)
    throw ToolError("cases cannot be added to a file without variables", arguments.file);
  dstext::RequireCells(*file.file, arguments.file);
  const AddedCases added = OpenAddedCases(arguments.input, arguments.from, file, password);
  // From here on, text is written in the encoding of the file.
  const std::string encoding = file.file->CharacterEncoding();
  const SystemFileDataSource::TemporaryCodePage codePage(encoding, QUAVMBqSameCodePage(encoding.c_str(), kUtf8Name));
  Utf8Cases cases(*added.cases);
  locked.RefuseChange();
  if (arguments.inPlace) return AppendInPlace(arguments.file, cases, password, options);
  if (file.file->bReversedByteOrder()) return WriteAnew(cases, arguments.file, password, options);
  AppendToCopy(arguments.file, cases, password, options);
}

}  // namespace

void AddAppendCommand(CommandLine& line) {
  const auto arguments = std::make_shared<AppendArguments>();
  Command command = line.Add("append", "Adds the cases of a file to a system file.");
  command.Argument("FILE", arguments->file, "The system file to which the cases are added");
  command.Argument("IN", arguments->input, "The cases: CSV, JSON lines or a system file");
  command.Option("--from", "FORM", arguments->from, "The form of IN: csv, jsonl, or quav for a system file",
                 {kCsvName, kJsonLinesName, kSystemFileName});
  command.Flag("--in-place", arguments->inPlace, "Adds to FILE itself, not to a copy");
  AddNoSyncOption(command, arguments->noSync);
  AddPasswordOption(command, arguments->passwordFile);
  command.Footer(kFooter);
  command.Work([arguments] { Append(*arguments); });
}

}  // namespace tool
