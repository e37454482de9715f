// datasrc append FILE IN [--from FORM] [--in-place] [--password-file F]

#include <unistd.h>

#include <memory>
#include <string>

#include "Platform/text/QUAVMB.h"
#include "tools/cases/CopyCases.h"
#include "tools/cases/LongTextMender.h"
#include "tools/cases/SourceCases.h"
#include "tools/cases/SystemFileWriter.h"
#include "tools/cases/Utf8Cases.h"
#include "tools/commandline/PasswordFile.h"
#include "tools/commands/Commands.h"
#include "tools/files/FileContents.h"
#include "tools/files/NewFile.h"
#include "tools/forms/AddedCases.h"
#include "tools/forms/CaseForm.h"
#include "tools/messages/ToolError.h"
#include "tools/systemfile/CaseCount.h"
#include "tools/systemfile/OpenSource.h"

namespace tool {

namespace {

constexpr char kFooter[] =
    "IN is CSV by the suffix .csv, JSON lines by .jsonl, else a system file; --from overrules that.\n"
    "- is standard input, CSV or JSON lines.\n"
    "\n"
    "The variables of IN are those of FILE: a system file has all of them, of the same types and\n"
    "widths, in any order; so has the header of CSV their names. JSON lines have a value for each.\n"
    "\n"
    "The cases go to a copy of FILE, which takes its place when it is whole. With --in-place they go\n"
    "to FILE itself: when that fails, the cases in front of the fault may have been added.\n"
    "\n"
    "An encrypted FILE is written anew as a whole, also in place: there a failure can cost all of it.\n"
    "The password serves IN, too, when IN is encrypted.";

struct AppendArguments {
  std::string file;
  std::string input;
  std::string from;
  std::string passwordFile;
  bool inPlace = false;
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

// `path` is where FILE, or its copy, is reached.
void AppendTo(const std::string& path, CaseReader& cases, const std::string& name, const ExtNameStr& password) {
  try {
    SystemFileDataSource file(ExtNameStr(path), password, false);
    LearnCaseCount(file);
    AppendWriter writer(file, name);
    CopyCases(cases, writer, STDERR_FILENO);
  } catch (const QuavServerError& error) {
    ThrowAbout(name, path, error);
  }
}

void AppendToCopy(const std::string& name, CaseReader& cases, const ExtNameStr& password) {
  NewFile copy(name);
  CopyContents(name, copy.Descriptor());
  AppendTo(copy.Path(), cases, name, password);
  copy.Finish();
}

// Hands the cases of several readers to a writer that begins and ends by itself.
class PartWriter final : public CaseWriter {
 public:
  explicit PartWriter(CaseWriter& whole) : m_whole(whole) {}
  void WriteCase(const OBS* cells) override { m_whole.WriteCase(cells); }

 private:
  CaseWriter& m_whole;
};

// The library adds no cases to a file in the other byte order: it is written anew.
void WriteAnew(CaseReader& cases, const std::string& name, const ExtNameStr& password) {
  const SystemFileDataSource file(ExtNameStr(name), password, false);
  SystemFileWriter writer(name, file, {file.GetCompressionLevel(), file.CharacterEncoding(), password});
  PartWriter part(writer);
  SourceCases old(file);
  writer.Begin();
  CopyCases(old, part, STDERR_FILENO);
  CopyCases(cases, part, STDERR_FILENO);
  writer.End();
}

void Append(const AppendArguments& arguments) {
  if (arguments.inPlace) RefuseToReplaceInput(arguments.input, arguments.file);
  const ExtNameStr password = ReadPasswordFile(arguments.passwordFile);
  const OpenedSource file = OpenAsStored(arguments.file, password);
  if (file.data->ColumnCount() == 0) throw ToolError("a file without variables takes no cases", arguments.file);
  const AddedCases added = OpenAddedCases(arguments.input, arguments.from, file, password);
  // From here on the text that is written is the file's.
  const std::string encoding = file.file->CharacterEncoding();
  const SystemFileDataSource::TemporaryCodePage codePage(encoding, QUAVMBqSameCodePage(encoding.c_str(), kUtf8Name));
  Utf8Cases cases(*added.cases);
  if (arguments.inPlace) return AppendTo(arguments.file, cases, arguments.file, password);
  if (file.file->bReversedByteOrder()) return WriteAnew(cases, arguments.file, password);
  AppendToCopy(arguments.file, cases, password);
}

}  // namespace

void AddAppendCommand(CommandLine& line) {
  const auto arguments = std::make_shared<AppendArguments>();
  Command command = line.Add("append", "Adds the cases of a file to a system file.");
  command.Argument("FILE", arguments->file, "The system file that gets the cases");
  command.Argument("IN", arguments->input, "The cases: CSV, JSON lines or a system file");
  command.Option("--from", "FORM", arguments->from, "What IN is: csv, jsonl or quav, a system file",
                 {kCsvName, kJsonLinesName, kSystemFileName});
  command.Flag("--in-place", arguments->inPlace, "Add to FILE itself, not to a copy");
  AddPasswordOption(command, arguments->passwordFile);
  command.Footer(kFooter);
  command.Work([arguments] { Append(*arguments); });
}

}  // namespace tool
