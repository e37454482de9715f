// datasrc append FILE IN... [--from FORM] [--in-place] [--round-times] [options for CSV] [--no-sync] [--password-file F]

#include <unistd.h>

#include <algorithm>
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
#include "tools/files/Output.h"
#include "tools/forms/AddedCases.h"
#include "tools/forms/CaseForm.h"
#include "tools/messages/Report.h"
#include "tools/messages/ToolError.h"
#include "tools/systemfile/OpenSource.h"
#include "tools/threads/TaskPool.h"

namespace tool {

namespace {

constexpr char kFooter[] =
    "The cases of each IN are added in their order. The suffix of IN shows its form: .csv and .tsv are\n"
    "CSV, .jsonl and .ndjson JSON lines, each also with .gz; .arrow; any other is a system file;\n"
    "--from overrides the suffix. - is standard input.\n"
    "\n"
    "IN must have the variables of FILE. A system file has all of them with the same types and\n"
    "widths, in any order. An Arrow file has a column for each. CSV has their names in its header, in\n"
    "any order. JSON lines have a value for each variable; objects name them. All inputs are compared\n"
    "with FILE before the first case is added, and all differences are listed.\n"
    "\n"
    "The cases are added to a copy of FILE, which replaces FILE when it is complete. With --in-place\n"
    "they are added to FILE itself; after a failure, it may contain the cases before the fault, and if\n"
    "the disk was full a part of one more, without which `datasrc verify --salvage` writes a new file.\n"
    "\n"
    "The dictionary of FILE stays as it is, also what it says of how the cases are sorted.\n"
    "\n"
    "append waits until no other append works on FILE. When another program changes FILE meanwhile,\n"
    "that is an error and no case is added.\n"
    "\n"
    "An encrypted FILE is always rewritten as a whole. With --in-place, a failure can destroy it.\n"
    "The password is also used for IN when IN is encrypted.";

struct AppendArguments {
  std::string file;
  std::vector<std::string> inputs;
  CsvOptions csv;
  std::string from;
  std::string passwordFile;
  bool inPlace = false;
  bool roundTimes = false;
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

using Counts = std::vector<long long>;

// Appends to `path`, which is FILE or its copy. Errors are reported about `name`.
Counts AppendTo(const std::string& path, AllCases& added, const std::string& name, const ExtNameStr& password) {
  try {
    SystemFileDataSource file(ExtNameStr(path), password, false);
    dstext::LearnCaseCount(file);
    AppendWriter writer(file, name);
    return added.CopyTo(writer);
  } catch (const QuavServerError& error) {
    ThrowAbout(name, path, error);
  }
}

Counts AppendInPlace(const std::string& name, AllCases& added, const ExtNameStr& password,
                     const dstext::NewFileOptions& options) {
  RefuseWarnings();  // later ones come too late
  Counts counts = AppendTo(name, added, name, password);
  if (options.sync) options.old->Sync();
  return counts;
}

Counts AppendToCopy(const std::string& name, AllCases& added, const ExtNameStr& password,
                    const dstext::NewFileOptions& options) {
  dstext::NewFile copy(name, options);
  CopyContents(name, copy.Descriptor());
  Counts counts = AppendTo(copy.Path(), added, name, password);
  RefuseWarnings();
  copy.Finish();
  return counts;
}

// Passes everything to a writer, but writes the cases of a file first.
class WriterAfterFile final : public CaseWriter {
 public:
  WriterAfterFile(CaseWriter& whole, const SystemFileDataSource& file) : m_whole(whole), m_file(file) {}

  void Begin() override {
    m_whole.Begin();
    for (SourceCases old(m_file); old.Next();) m_whole.WriteCase(old.Cells());
  }
  void WriteCase(const OBS* cells) override { m_whole.WriteCase(cells); }
  void End() override { m_whole.End(); }

 private:
  CaseWriter& m_whole;
  const SystemFileDataSource& m_file;
};

// The library cannot add cases to a file in reversed byte order, so the file is written again.
Counts AppendAnew(const std::string& name, AllCases& added, const ExtNameStr& password,
                  const dstext::NewFileOptions& options) {
  const SystemFileDataSource file(ExtNameStr(name), password, false);
  SystemFileWriter writer(
      name, file,
      {file.GetCompressionLevel(), file.CharacterEncoding(), file.CharacterEncoding(), password, options, {}});
  WriterAfterFile both(writer, file);
  Counts counts = added.CopyTo(both);
  writer.Finish();
  return counts;
}

// Returns the password of FILE. It may be there only for an input; what comes from standard input is not known yet.
ExtNameStr PasswordOfFile(const AppendArguments& arguments, const ExtNameStr& given) {
  const bool mayBeForInput = std::ranges::any_of(
      arguments.inputs, [](const std::string& input) { return input == "-" || IsEncrypted(input); });
  if (mayBeForInput && !IsEncrypted(arguments.file)) return {};
  return PasswordFor(arguments.file, given);
}

void Append(const AppendArguments& arguments) {
  for (const std::string& input : arguments.inputs)
    if (arguments.inPlace) RefuseInputAsOutput(input, arguments.file);
  DialectOf(arguments.csv, CaseForm::csv);  // refuses wrong options before the work
  const ExtNameStr given = ReadPasswordFile(arguments.passwordFile);
  const dstext::LockedFile locked(arguments.file);
  if (!locked.Warning().empty()) ReportWarning(locked.Warning(), arguments.file);
  const dstext::NewFileOptions options{.sync = !arguments.noSync, .old = &locked};
  const ExtNameStr password = PasswordOfFile(arguments, given);
  const OpenedSource file = OpenAsStored(arguments.file, password);
  if (file.data->ColumnCount() == 0)
    throw ToolError("cases cannot be added to a file without variables", arguments.file);
  dstext::RequireCells(*file.file, arguments.file);
  TaskPool pool(ThreadsToUse());
  const CaseTarget target{*file.data,           file.file, given, arguments.from, arguments.csv, false,
                          arguments.roundTimes, pool};
  CompareDictionaries(arguments.inputs, target, arguments.file);
  AllCases added(arguments.inputs, target);
  // From here on, text is written in the encoding of the file.
  const std::string encoding = file.file->CharacterEncoding();
  const SystemFileDataSource::TemporaryCodePage codePage(encoding, QUAVMBqSameCodePage(encoding.c_str(), kUtf8Name));
  locked.RefuseChange();
  const auto append = arguments.inPlace ? AppendInPlace : file.file->bReversedByteOrder() ? AppendAnew : AppendToCopy;
  const Counts counts = append(arguments.file, added, password, options);
  if (arguments.inputs.size() > 1) PrintCounts(arguments.inputs, counts);
}

}  // namespace

void AddAppendCommand(CommandLine& line) {
  const auto arguments = std::make_shared<AppendArguments>();
  Command command = line.Add("append", "Adds the cases of files to a system file.");
  command.Argument("FILE", arguments->file, "The system file to which the cases are added");
  command.Arguments("IN", arguments->inputs, "The cases: CSV, JSON lines, Arrow or system files");
  command.Option("--from", "FORM", arguments->from,
                 "The form of IN: csv, tsv, jsonl, ndjson, arrow, or quav for a system file", FormNames());
  command.Flag("--in-place", arguments->inPlace, "Adds to FILE itself, not to a copy");
  command.Flag("--round-times", arguments->roundTimes, "Arrow: stores the nearest number of a time that no number is");
  AddCsvOptions(command, arguments->csv, CsvUse::reading);
  AddNoSyncOption(command, arguments->noSync);
  AddPasswordOption(command, arguments->passwordFile);
  command.Footer(kFooter);
  command.Example("datasrc append people.quav more.csv", "the cases of a CSV file");
  command.Example("datasrc append people.quav more.csv others.quav --in-place", "two files, without a copy");
  command.Work([arguments] { Append(*arguments); });
}

}  // namespace tool
