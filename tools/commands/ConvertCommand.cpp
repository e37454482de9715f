// datasrc convert IN OUT [--from FORM] [--to FORM] [--compress none|bytecode|zlib] [--encoding NAME]
//                        [--dictionary DICT.json] [--password-file F] [--encrypt-with F]

#include <unistd.h>

#include <memory>
#include <optional>
#include <string>

#include "Platform/text/QUAVMB.h"
#include "datasrc/CodePageDataSource.h"
#include "tools/cases/CopyCases.h"
#include "tools/cases/LossWatch.h"
#include "tools/cases/ReaderSource.h"
#include "tools/cases/SourceCases.h"
#include "tools/cases/SystemFileWriter.h"
#include "tools/cases/Utf8Cases.h"
#include "tools/commandline/PasswordFile.h"
#include "tools/commands/Commands.h"
#include "tools/dictionary/DictionaryFacts.h"
#include "tools/files/NewFile.h"
#include "tools/files/Output.h"
#include "tools/forms/CaseForm.h"
#include "tools/forms/CaseInput.h"
#include "tools/forms/TextCases.h"
#include "tools/messages/Report.h"
#include "tools/systemfile/OpenSource.h"

namespace tool {

namespace {

constexpr int kByteCodes = 1;
constexpr int kZlib = 2;

constexpr char kFooter[] =
    "A file is CSV by the suffix .csv, JSON lines by .jsonl, else a system file; --from and --to\n"
    "overrule that. - is standard input, CSV or JSON lines, or with --to csv or --to jsonl standard\n"
    "output.\n"
    "\n"
    "CSV      A header line names the variables. Without --dictionary every row is looked at: a\n"
    "         column becomes numbers, dates, dates and times or times when all its values are such\n"
    "         and none would change, else text. Names are mended; the old one becomes the label.\n"
    "jsonl    A JSON list for each case, as `datasrc cat --format jsonl` writes it. --dictionary\n"
    "         names an object as `datasrc info --json` prints it: the two rebuild a file.\n"
    "\n"
    "A system file is written in UTF-8, or with --encoding in another encoding: text that has no\n"
    "form there is lost, with a warning.\n"
    "\n"
    "Without --compress a system file keeps the compression of IN; from text it gets byte codes.\n"
    "\n"
    "--password-file opens an encrypted IN; OUT is encrypted only with --encrypt-with, and then has\n"
    "no zlib compression. A password is UTF-8 text. In its place may stand its mangled form, which\n"
    "`datasrc mangle F` prints: a disguise for scripts, and no protection.\n"
    "\n"
    "OUT gets its name when it is whole: work that fails leaves none.";

struct ConvertArguments {
  std::string input;
  std::string output;
  std::string from;
  std::string to;
  std::string compression;
  std::optional<std::string> encoding;
  std::string dictionary;
  std::string passwordFile;
  std::string encryptWith;
};

[[noreturn]] void RefuseUsage(const std::string& option, const std::string& trouble) {
  throw WrongUsage(option, trouble);
}

CaseForm OutputForm(const ConvertArguments& arguments) {
  const CaseForm form = arguments.to.empty() ? FormOfSuffix(arguments.output) : FormOfName(arguments.to);
  if (form == CaseForm::systemFile) {
    if (arguments.output == "-") RefuseUsage("OUT", "a system file cannot be written to standard output: use --to");
    if (!arguments.encryptWith.empty() && arguments.compression == CompressionName(kZlib))
      RefuseUsage("--compress", "an encrypted file has no zlib compression");
    return form;
  }
  if (!arguments.encryptWith.empty()) RefuseUsage("--encrypt-with", "it is for system files");
  if (!arguments.compression.empty()) RefuseUsage("--compress", "it is for system files");
  if (arguments.encoding) RefuseUsage("--encoding", "it is for system files");
  return form;
}

CaseInput OpenInput(const ConvertArguments& arguments) {
  const std::optional<CaseForm> form = InputForm(arguments.input, arguments.from);
  if (form == CaseForm::systemFile) {
    if (!arguments.dictionary.empty()) RefuseUsage("--dictionary", "it is for CSV and JSON lines");
    return OpenSystemFile(arguments.input, ReadPasswordFile(arguments.passwordFile));
  }
  if (!arguments.passwordFile.empty()) RefuseUsage("--password-file", "it is for system files");
  if (form == CaseForm::jsonLines && arguments.dictionary.empty()) RefuseUsage("--dictionary", "JSON lines need it");
  TextInput text = OpenText(arguments.input, form);
  if (text.form == CaseForm::jsonLines && arguments.dictionary.empty())
    RefuseUsage("--dictionary", "JSON lines need it");
  return ReadText(std::move(text), arguments.dictionary);
}

// Of the file that is made; `kept` is what it is when nothing is asked for.
int CompressionLevel(const ConvertArguments& arguments, int kept) {
  for (int level = 0; level <= 2; ++level)
    if (arguments.compression == CompressionName(level)) return level;
  return kept;
}

// Of the file that is made. A file tells its encoding by number.
std::string Encoding(const ConvertArguments& arguments) {
  if (!arguments.encoding) return kUtf8Name;
  int number = 0;
  if (QUAVMBCpNameToNum_A(arguments.encoding->c_str(), &number) == 0)
    RefuseUsage("--encoding", "'" + *arguments.encoding + "' is no encoding that a system file can be in");
  return *arguments.encoding;
}

// What comes from text has no file, and the compression is that of a new one.
SystemFileForm FormOfFile(const ConvertArguments& arguments, const CaseInput& input) {
  const bool isFromFile = *input.file->GetFileSpec() != '\0';
  return {CompressionLevel(arguments, isFromFile ? input.file->GetCompressionLevel() : kByteCodes), Encoding(arguments),
          ReadPasswordFile(arguments.encryptWith)};
}

// Of an input whose text is UTF-8.
void ConvertToCodePage(const std::string& output, const SystemFileForm& form, CaseInput& input) {
  Utf8Cases utf8(*input.cases);
  LossWatch watched(utf8, *input.dictionary, form.encoding);
  const ReaderSource cases(*input.dictionary, watched);
  // What the writer looks at, short names and where a long text may be split, is text of the code page.
  const SystemFileDataSource::TemporaryCodePage codePage(form.encoding, 0);
  Warnings warnings(output);
  const CodePageDataSource view(cases, form.encoding, &warnings, true);
  SystemFileWriter writer(output, view, form);
  SourceCases converted(view);
  CopyCases(converted, writer, STDERR_FILENO);
  if (watched.LostValues() != 0)
    ReportWarning("values that lost text in " + form.encoding + ": " + std::to_string(watched.LostValues()), output);
}

void ConvertToSystemFile(const ConvertArguments& arguments, CaseInput& input) {
  const SystemFileForm form = FormOfFile(arguments, input);
  if (!QUAVMBqSameCodePage(form.encoding.c_str(), kUtf8Name)) return ConvertToCodePage(arguments.output, form, input);
  SystemFileWriter writer(arguments.output, *input.dictionary, form);
  CopyCases(*input.cases, writer, STDERR_FILENO);
}

void ConvertToText(const ConvertArguments& arguments, CaseForm form, CaseInput& input) {
  Output output(arguments.output);
  TextCases writer(*input.dictionary, AllColumns(*input.dictionary), input.file->CharacterEncoding(), form, {}, output);
  // Cases that run over the terminal are progress enough.
  CopyCases(*input.cases, writer, output.IsTerminal() ? Progress::kNowhere : STDERR_FILENO);
  output.Finish();
}

void Convert(const ConvertArguments& arguments) {
  const CaseForm form = OutputForm(arguments);
  RefuseToReplaceInput(arguments.input, arguments.output);
  CaseInput input = OpenInput(arguments);
  if (form != CaseForm::systemFile) return ConvertToText(arguments, form, input);
  ConvertToSystemFile(arguments, input);
}

}  // namespace

void AddConvertCommand(CommandLine& line) {
  const std::vector<std::string> forms = {kCsvName, kJsonLinesName, kSystemFileName};
  const auto arguments = std::make_shared<ConvertArguments>();
  Command command = line.Add("convert", "Brings a file into another form: system file, CSV, JSON lines.");
  command.Argument("IN", arguments->input, "The file to read");
  command.Argument("OUT", arguments->output, "The file to write");
  command.Option("--from", "FORM", arguments->from, "What IN is: csv, jsonl or quav, a system file", forms);
  command.Option("--to", "FORM", arguments->to, "What OUT is to be", forms);
  command.Option("--compress", "KIND", arguments->compression, "How the cases of a system file are stored",
                 {CompressionName(0), CompressionName(1), CompressionName(2)});
  command.Option("--encoding", "NAME", arguments->encoding, "The encoding of a system file");
  command.Option("--dictionary", "DICT.json", arguments->dictionary, "What the variables of CSV or JSON lines are");
  AddPasswordOption(command, arguments->passwordFile);
  command.Option("--encrypt-with", "F", arguments->encryptWith,
                 "Encrypts OUT under the password in the first line of F");
  command.Footer(kFooter);
  command.Work([arguments] { Convert(*arguments); });
}

}  // namespace tool
