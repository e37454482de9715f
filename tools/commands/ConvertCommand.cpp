// datasrc convert IN OUT [--from FORM] [--to FORM] [--columns A,B] [--rows FROM:TO] [--sort A,B:desc] [--memory SIZE]
//                        [--labels] [--raw] [--compress none|bytecode|zlib] [--encoding NAME] [--dictionary DICT.json]
//                        [options for CSV] [--no-sync] [--password-file F] [--encrypt-with F]

#include <unistd.h>

#include <memory>
#include <optional>
#include <string>

#include "Columns/dictionary/DictionaryFacts.h"
#include "Platform/text/QUAVMB.h"
#include "datasrc/CodePageDataSource.h"
#include "tools/cases/CopyCases.h"
#include "tools/cases/LossWatch.h"
#include "tools/cases/ReaderSource.h"
#include "tools/cases/SystemFileWriter.h"
#include "tools/cases/Utf8Cases.h"
#include "tools/cases/WholeCharacterCases.h"
#include "tools/commandline/PasswordFile.h"
#include "tools/commands/Commands.h"
#include "tools/files/Output.h"
#include "tools/files/StandardInput.h"
#include "tools/forms/ArrowForm.h"
#include "tools/forms/CaseForm.h"
#include "tools/forms/CaseInput.h"
#include "tools/forms/Selection.h"
#include "tools/forms/TextCases.h"
#include "tools/messages/Losses.h"
#include "tools/messages/Report.h"
#include "tools/systemfile/OpenSource.h"
#include "tools/threads/TaskPool.h"

namespace tool {

using namespace dstext;

namespace {

constexpr int kByteCodes = 1;
constexpr int kZlib = 2;

constexpr char kFooter[] =
    "The suffix of a file shows its form: .csv and .tsv (CSV with tabs), .jsonl and .ndjson (JSON lines\n"
    "of lists and of objects), each also with .gz; .arrow; any other is a system file. --from and --to\n"
    "override the suffix. - as IN is standard input. - as OUT is standard output and needs --to, with\n"
    "any form but quav.\n"
    "\n"
    "csv      The options for CSV describe IN when it is CSV, otherwise OUT. A header line names the\n"
    "         variables. Without --dictionary, convert reads every row first: a column becomes numbers,\n"
    "         dates, dates and times, or times when all its values have that form and none would change;\n"
    "         otherwise it becomes text. A name that is not legal is mended, and the original becomes\n"
    "         the label.\n"
    "jsonl    A JSON list for each case, as `datasrc cat --format jsonl` writes it. --dictionary\n"
    "         names an object as `datasrc info --json` prints it. The two together rebuild a file.\n"
    "ndjson   A JSON object for each case, with the names of the variables. Without --dictionary, convert\n"
    "         reads every line first: the names come from the objects, and the types from the values.\n"
    "arrow    The Arrow IPC file format, with the dictionary in its metadata. Dates and times get Arrow's\n"
    "         types, or are numbers with --raw. --labels makes dictionaries of the labels. A file of\n"
    "         another program has its columns as variables; what a number would lose is an error.\n"
    "\n"
    "--rows 10:20 takes the cases 10 to 19, counted from 0. --sort A,B:desc sorts what it takes, by A and\n"
    "then by B from the highest to the lowest; missing values are the lowest, and cases with equal keys\n"
    "keep their order. A new system file says by which variables it is sorted. More cases than --memory\n"
    "holds are sorted in enciphered temporary files. --columns A,B takes these variables, in this order.\n"
    "\n"
    "A system file is written in UTF-8 or in the encoding of --encoding. Text that does not exist in\n"
    "that encoding is lost, with a warning.\n"
    "\n"
    "Without --compress, a system file keeps the compression of IN; from text it gets byte codes.\n"
    "\n"
    "--password-file opens an encrypted IN. OUT is encrypted only with --encrypt-with, and is then\n"
    "not zlib compressed. A password is UTF-8 text, or the mangled form of it that `datasrc mangle F`\n"
    "prints. The mangled form is a disguise for scripts and no protection.\n"
    "\n"
    "OUT gets its name when it is complete. After a failure, OUT does not exist or is unchanged.";

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
  CsvOptions csv;
  SelectionOptions selection;
  bool labels = false;
  bool raw = false;
  bool roundTimes = false;
  bool noSync = false;
};

[[noreturn]] void RefuseUsage(const std::string& option, const std::string& trouble) {
  throw WrongUsage(option, trouble);
}

FileForm OutputForm(const ConvertArguments& arguments) {
  FileForm form = FormOfSuffix(arguments.output);
  if (arguments.to.empty()) {
    RefuseForeignSuffix("OUT", arguments.output);
  } else {
    form.form = FormOfName(arguments.to);
  }
  if (form.form == CaseForm::systemFile) {
    if (form.isPacked) RefuseForeignSuffix("OUT", "x.quav.gz");
    if (arguments.labels) RefuseUsage("--labels", "the option is for text and Arrow files");
    if (arguments.raw) RefuseUsage("--raw", "the option is for text and Arrow files");
    if (arguments.output == "-")
      RefuseUsage("OUT", "a system file cannot be written to standard output: name a file, or another form with --to");
    if (!arguments.encryptWith.empty() && arguments.compression == CompressionName(kZlib))
      RefuseUsage("--compress", "an encrypted file cannot have zlib compression");
    return form;
  }
  if (!arguments.encryptWith.empty()) RefuseUsage("--encrypt-with", "the option is for system files");
  if (!arguments.compression.empty()) RefuseUsage("--compress", "the option is for system files");
  if (arguments.encoding) RefuseUsage("--encoding", "the option is for system files");
  if (form.form == CaseForm::arrow && form.isPacked) RefuseForeignSuffix("OUT", "x.arrow.gz");
  return form;
}

// Returns the encoding of the file that is made. It must have a number, because a file stores its encoding as a number.
std::string Encoding(const ConvertArguments& arguments) {
  if (!arguments.encoding) return kUtf8Name;
  int number = 0;
  if (QUAVMBCpNameToNum_A(arguments.encoding->c_str(), &number) == 0)
    RefuseUsage("--encoding", "'" + *arguments.encoding + "' is not an encoding for system files");
  return *arguments.encoding;
}

CaseInput OpenSystemFileInput(const ConvertArguments& arguments, const std::string& path) {
  if (!arguments.dictionary.empty()) RefuseUsage("--dictionary", "the option is for text and Arrow files");
  if (arguments.csv.encoding) RefuseUsage("--input-encoding", "the option is for text");
  return OpenSystemFile(path, ReadPasswordFile(arguments.passwordFile));
}

CaseInput OpenArrowInput(const ConvertArguments& arguments, const std::string& path) {
  if (arguments.csv.encoding) RefuseUsage("--input-encoding", "the option is for text");
  if (!arguments.passwordFile.empty()) WarnOfPassword(arguments.input);
  return ReadArrow(path, arguments.dictionary, arguments.roundTimes);
}

void RequireDictionary(const ConvertArguments& arguments, CaseForm form) {
  if (form == CaseForm::jsonLines && arguments.dictionary.empty())
    RefuseUsage("--dictionary", "the option is required for JSON lines of lists, which have no names");
}

struct OpenedInput {
  CaseForm form;
  CaseInput input;
};

OpenedInput OpenInput(const ConvertArguments& arguments, TaskPool& pool) {
  const std::optional<FileForm> form = InputForm(arguments.input, arguments.from);
  if (form && form->form == CaseForm::systemFile)
    return {CaseForm::systemFile, OpenSystemFileInput(arguments, arguments.input)};
  if (form && form->form == CaseForm::arrow)
    return {form->form, OpenArrowInput(arguments, PathOfInput(arguments.input))};
  if (form) RequireDictionary(arguments, form->form);
  TextInput text = OpenText(arguments.input, form, arguments.csv);
  if (text.form == CaseForm::systemFile)
    return {text.form, OpenSystemFileInput(arguments, StandardInputAsFile(text.bytes.get()))};
  if (text.form == CaseForm::arrow)
    return {text.form, OpenArrowInput(arguments, StandardInputAsFile(text.bytes.get()))};
  if (!arguments.passwordFile.empty()) WarnOfPassword(arguments.input);
  RequireDictionary(arguments, text.form);
  const CaseForm textForm = text.form;
  return {textForm, ReadText(std::move(text), arguments.dictionary, Encoding(arguments), pool)};
}

// Returns the compression of the file that is made. `kept` is the compression when the user does not choose one.
int CompressionLevel(const ConvertArguments& arguments, int kept) {
  for (int level = 0; level <= 2; ++level)
    if (arguments.compression == CompressionName(level)) return level;
  return kept;
}

// Input text has no file, so the output gets the compression of a new file.
SystemFileForm FormOfFile(const ConvertArguments& arguments, const CaseInput& input) {
  const bool isFromFile = *input.file->GetFileSpec() != '\0';
  return {CompressionLevel(arguments, isFromFile ? input.file->GetCompressionLevel() : kByteCodes),
          Encoding(arguments),
          isFromFile ? input.file->CharacterEncoding() : kUtf8Name,
          ReadPasswordFile(arguments.encryptWith),
          {.sync = !arguments.noSync},
          {}};
}

// A view replaces names that it may not have, and reports only those that lost characters.
void ReportReplacedNames(const QUAV_DataSource& dictionary, const QUAV_DataSource& view, const std::string& encoding,
                         const std::string& file) {
  const QUAVMBConverterPtr converter(QUAVMBConverterNew_A(encoding.c_str()));
  Losses losses;
  for (int column = 0; column < static_cast<int>(dictionary.ColumnCount()); ++column) {
    std::string name;
    const bool isLost = QUAVMBU8ToCodePage(converter.get(), name, dictionary.GetVariable(column).GetName()) != 0;
    if (!isLost && name != view.GetVariable(column).GetName())
      losses.Add("names of variables that are not possible in " + encoding + " and were replaced");
  }
  losses.Report(file);
}

// Converts an input whose text is UTF-8.
void ConvertToCodePage(const std::string& output, const SystemFileForm& form, SelectedInput& input) {
  Utf8Cases utf8(*input.cases);
  LossWatch watched(utf8, input.Dictionary(), form.encoding);
  const ReaderSource cases(input.Dictionary(), watched);
  // The writer looks at text in the code page: for short names, and for the places where a long text may be split.
  const SystemFileDataSource::TemporaryCodePage codePage(form.encoding, 0);
  Warnings warnings(output);
  const CodePageDataSource view(cases, form.encoding, &warnings, true);
  SystemFileWriter writer(output, view, form);
  WholeCharacterCases converted(view, form.encoding);
  CopyCases(converted, writer, STDERR_FILENO);
  ReportReplacedNames(input.Dictionary(), view, form.encoding, output);
  watched.Report();
  if (watched.LostValues() != 0)
    ReportWarning("values that lost text in " + form.encoding + ": " + std::to_string(watched.LostValues()), output);
  writer.Finish();
}

void ConvertToSystemFile(const ConvertArguments& arguments, SelectedInput& input) {
  if (input.columns.projection && input.columns.indexes.size() != input.Dictionary().ColumnCount())
    RefuseUsage("--columns", "a system file has each variable once");
  SystemFileForm form = FormOfFile(arguments, input.input);
  form.sortKeys = input.sortKeys;
  if (!QUAVMBqSameCodePage(form.encoding.c_str(), kUtf8Name)) return ConvertToCodePage(arguments.output, form, input);
  SystemFileWriter writer(arguments.output, input.Dictionary(), form);
  CopyCases(*input.cases, writer, STDERR_FILENO);
  input.cases->Report();
  writer.Finish();
}

void ConvertToArrow(const ConvertArguments& arguments, SelectedInput& input) {
  Output output(arguments.output, {.sync = !arguments.noSync});
  WriteArrowCases(input.Dictionary(), *input.cases, input.columns.indexes, input.sortKeys,
                  {.labels = arguments.labels, .raw = arguments.raw}, output, STDERR_FILENO);
  input.cases->Report();
  output.Finish();
}

// `dialect` is of CSV.
void ConvertToText(const ConvertArguments& arguments, const FileForm& form, const CsvDialect& dialect,
                   SelectedInput& input, TaskPool& pool) {
  Output output(arguments.output, {.sync = !arguments.noSync}, form.isPacked);
  TextCases writer(input.Dictionary(), input.columns.indexes, input.input.file->CharacterEncoding(), form.form, dialect,
                   {.labels = arguments.labels, .raw = arguments.raw}, output, &pool);
  // Cases that appear on the terminal are progress enough.
  CopyCases(*input.cases, writer, output.IsTerminal() ? Progress::kNowhere : STDERR_FILENO);
  input.cases->Report();
  Losses losses;
  losses.Add(ReplacedValues(input.input.file->CharacterEncoding()), writer.ReplacedTexts());
  losses.Report(arguments.output);
  output.Finish();
}

// Returns the dialect of OUT. The options describe IN when that is CSV.
CsvDialect OutputDialect(const ConvertArguments& arguments, CaseForm input, CaseForm output) {
  if (IsCsv(input)) return DialectOf({}, output);
  if (arguments.csv.AreGiven() && !IsCsv(output)) RefuseUsage("--delimiter and the like", "the options are for CSV");
  RefuseReadingOptions(arguments.csv);
  return DialectOf(arguments.csv, output);
}

SelectedInput SelectFrom(const std::string& name, CaseInput input, const Selection& selection) {
  try {
    return Select(std::move(input), selection);
  } catch (const QuavServerError& error) {
    ThrowAbout(name == "-" ? "/dev/stdin" : name, "", error);  // text has no file that the library could name
  }
}

void Convert(const ConvertArguments& arguments) {
  const FileForm form = OutputForm(arguments);
  TaskPool pool(ThreadsToUse());
  const Selection selection = SelectionOf(arguments.selection);
  DialectOf(arguments.csv, CaseForm::csv);  // refuses wrong options before the work
  RefuseInputAsOutput(arguments.input, arguments.output);
  RefuseInputAsOutput(arguments.dictionary, arguments.output, "dictionary");
  RefuseInputAsOutput(arguments.passwordFile, arguments.output, "password file");
  RefuseInputAsOutput(arguments.encryptWith, arguments.output, "password file");
  OpenedInput opened = OpenInput(arguments, pool);
  const CsvDialect dialect = OutputDialect(arguments, opened.form, form.form);
  SelectedInput input = SelectFrom(arguments.input, std::move(opened.input), selection);
  if (form.form == CaseForm::arrow) return ConvertToArrow(arguments, input);
  if (form.form != CaseForm::systemFile) return ConvertToText(arguments, form, dialect, input, pool);
  ConvertToSystemFile(arguments, input);
}

}  // namespace

void AddConvertCommand(CommandLine& line) {
  const std::vector<std::string> forms = FormNames();
  const auto arguments = std::make_shared<ConvertArguments>();
  Command command = line.Add("convert", "Converts between system files, CSV, JSON lines and Arrow files.");
  command.Argument("IN", arguments->input, "The file to read");
  command.Argument("OUT", arguments->output, "The file to write");
  command.Option("--from", "FORM", arguments->from,
                 "The form of IN: csv, tsv, jsonl, ndjson, arrow, or quav for a system file", forms);
  command.Option("--to", "FORM", arguments->to, "The form of OUT", forms);
  command.Option("--columns", "A,B", arguments->selection.columns, "Takes only these variables, in this order");
  command.Option("--rows", "FROM:TO", arguments->selection.rows, "Takes only these cases, see below");
  command.Option("--sort", "A,B:desc", arguments->selection.sort, "Sorts the cases by these variables, see below");
  command.Option("--memory", "SIZE", arguments->selection.memory,
                 "The memory of the sort, by default 512M; less than 1M counts as 1M");
  command.Flag("--labels", arguments->labels, "Text and Arrow: writes the label of a value that has one");
  command.Flag("--raw", arguments->raw, "Text and Arrow: writes dates and times as stored numbers");
  command.Option("--compress", "KIND", arguments->compression, "The compression of a system file",
                 {CompressionName(0), CompressionName(1), CompressionName(2)});
  command.Option("--encoding", "NAME", arguments->encoding, "The encoding of a system file");
  command.Option("--dictionary", "DICT.json", arguments->dictionary,
                 "The dictionary of CSV, JSON lines or an Arrow file");
  command.Flag("--round-times", arguments->roundTimes, "Arrow: stores the nearest number of a time that no number is");
  AddCsvOptions(command, arguments->csv, CsvUse::reading);
  AddNoSyncOption(command, arguments->noSync);
  AddPasswordOption(command, arguments->passwordFile);
  command.Option("--encrypt-with", "F", arguments->encryptWith,
                 "Encrypts OUT with the password in the first line of F");
  command.Footer(kFooter);
  command.Example("datasrc convert people.csv people.quav", "a system file from CSV");
  command.Example("datasrc convert people.txt people.quav --from csv --delimiter ';' --decimal , --na n/a",
                  "CSV in another dialect");
  command.Example("datasrc convert penguins.quav heavy.quav --sort BodyMass:desc --columns species,BodyMass",
                  "two variables, the heaviest first");
  command.Example("datasrc convert penguins.quav penguins.csv --labels", "CSV with labels instead of values");
  command.Example("datasrc convert penguins.jsonl again.quav --dictionary penguins.json",
                  "a file from what info --json and cat --format jsonl --raw print");
  command.Example("gzip -dc people.csv.gz | datasrc convert - people.quav", "the output of another program");
  command.Example("datasrc convert penguins.quav secret.quav --encrypt-with password.txt", "an encrypted file");
  command.Work([arguments] { Convert(*arguments); });
}

}  // namespace tool
