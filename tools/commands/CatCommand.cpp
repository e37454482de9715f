// datasrc cat FILE [--format csv|tsv|jsonl|ndjson|arrow|table] [--columns A,B] [--rows FROM:TO] [--labels] [--raw] [-o OUT]
//             [options for CSV] [--no-sync] [--password-file F]

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Columns/dictionary/CaseCount.h"
#include "Columns/files/NewFile.h"
#include "Platform/messages/ThrowError.h"
#include "tools/cases/CopyCases.h"
#include "tools/cases/FileCases.h"
#include "tools/cases/RowsCases.h"
#include "tools/commandline/NameList.h"
#include "tools/commandline/PasswordFile.h"
#include "tools/commands/Commands.h"
#include "tools/files/Output.h"
#include "tools/forms/ArrowForm.h"
#include "tools/forms/CsvOptions.h"
#include "tools/forms/Selection.h"
#include "tools/forms/ShownColumns.h"
#include "tools/forms/TextCases.h"
#include "tools/messages/Progress.h"
#include "tools/systemfile/OpenSource.h"
#include "tools/text/RowRange.h"
#include "tools/threads/TaskPool.h"

namespace tool {

namespace {

constexpr char kFooter[] =
    "csv    RFC 4180 with lines that end in a line feed: names, then the cases; a missing value is\n"
    "       an empty field\n"
    "tsv    CSV with tabs\n"
    "jsonl  a JSON list for each case; a missing value is null\n"
    "ndjson a JSON object for each case, with the names of the variables\n"
    "arrow  the Arrow IPC file format, with the dictionary in its metadata\n"
    "table  for people: numbers in their print format, long texts cut\n"
    "\n"
    "- as FILE is standard input. Without --format, an OUT that ends in .csv, .tsv, .jsonl, .ndjson or\n"
    ".arrow has this form; the text is packed when it ends in .gz.\n"
    "\n"
    "--rows 10:20 writes the cases 10 to 19, counted from 0; either number may be omitted.";

constexpr char kSystemFileSuffix[] = ".quav";

struct CatArguments {
  std::string file;
  std::string format;
  std::optional<std::string> columns;
  std::optional<std::string> rows;
  std::string output;
  std::string passwordFile;
  CsvOptions csv;
  bool labels = false;
  bool raw = false;
  bool noSync = false;
};

// Returns how many cases of the range the file has according to its header; negative when the header does not say.
long long CountOf(const RowRange& rows, const QUAV_DataSource& data) {
  if (data.RowCount() < 0) return -1;
  return std::max(std::min(rows.to, data.RowCount()) - rows.from, 0LL);
}

// Returns the form that the user named, otherwise that of the suffix of OUT; nothing when neither says it.
std::optional<CaseForm> FormOf(const CatArguments& arguments) {
  if (!arguments.format.empty()) return FormOfName(arguments.format);
  if (arguments.output.empty() || arguments.output == "-") return std::nullopt;
  const FileForm form = FormOfSuffix(arguments.output);
  RefuseForeignForm("-o", arguments.output, ForeignForm::text);
  if (form.form != CaseForm::systemFile) return form.form;
  if (std::filesystem::path(arguments.output).extension() == kSystemFileSuffix)
    throw WrongUsage("-o", "a system file is made by `datasrc convert`: use a suffix such as .csv, or --format");
  return std::nullopt;
}

void WriteArrow(const CatArguments& arguments, const RowRange& rows, const OpenedSource& source,
                const ShownColumns& columns, const QUAV_DataSource& shown) {
  if (arguments.csv.AreGiven()) throw WrongUsage("--delimiter and the like", "the options are for CSV");
  if (FormOfSuffix(arguments.output).isPacked) RefuseForeignSuffix("-o", "x.arrow.gz");
  Output output(arguments.output, {.sync = !arguments.noSync});
  RowsCases cases(std::make_unique<FileCases>(shown, *source.data, *source.file, rows.from),
                  {.from = 0, .to = std::max(rows.to - rows.from, 0LL)});
  // What says how the cases of the file are sorted counts all of its rows and cells.
  const bool isPart = arguments.rows || arguments.columns;
  WriteArrowCases(shown, cases, columns.indexes, isPart ? std::optional(SortKeys{}) : std::nullopt,
                  {.labels = arguments.labels, .raw = arguments.raw}, output, STDERR_FILENO);
  cases.Report();
  output.Finish();
}

void WriteCases(CaseReader& cases, const RowRange& rows, CaseWriter& writer, Progress& progress) {
  const bool isFollowed = writer.Follow(progress);
  for (long long row = rows.from; row < rows.to && NextCase(cases, writer); ++row) {
    writer.WriteCase(cases.Cells());
    if (!isFollowed) progress.Step(row - rows.from + 1);
  }
}

void Cat(const CatArguments& arguments) {
  const RowRange rows = RowsOf(arguments.rows);
  const std::vector<std::string> names = ParseNames("--columns", arguments.columns);
  RefuseReadingOptions(arguments.csv);
  CsvDialect dialect = DialectOf(arguments.csv, CaseForm::csv);
  RefuseInputAsOutput(arguments.file, arguments.output);
  RefuseInputAsOutput(arguments.passwordFile, arguments.output, "password file");
  const std::optional<CaseForm> wanted = FormOf(arguments);
  const OpenedSource source = OpenSource(arguments.file, ReadPasswordFile(arguments.passwordFile));
  dstext::RequireCells(*source.file, arguments.file);
  const ShownColumns columns = ShowColumns(*source.data, names);
  const QUAV_DataSource& shown = columns.projection ? *columns.projection : *source.data;
  if (wanted == CaseForm::arrow) return WriteArrow(arguments, rows, source, columns, shown);

  Output output(arguments.output, {.sync = !arguments.noSync}, FormOfSuffix(arguments.output).isPacked);
  const bool wantsTable = output.IsTerminal() && !arguments.csv.AreGiven();
  const CaseForm form = wanted.value_or(wantsTable ? CaseForm::table : CaseForm::csv);
  if (IsCsv(form)) {
    dialect = DialectOf(arguments.csv, form);
  } else if (arguments.csv.AreGiven()) {
    throw WrongUsage("--delimiter and the like", "the options are for CSV");
  }
  TaskPool pool(ThreadsToUse());
  TextCases writer(shown, columns.indexes, source.file->CharacterEncoding(), form, dialect,
                   {.labels = arguments.labels, .raw = arguments.raw}, output, &pool);
  // Cases that appear on the terminal are progress enough.
  Progress progress(output.IsTerminal() ? Progress::kNowhere : STDERR_FILENO, CountOf(rows, shown));
  writer.Begin();
  std::optional<FileCases> cases;
  try {
    cases.emplace(shown, *source.data, *source.file, rows.from);
    WriteCases(*cases, rows, writer, progress);
  } catch (const QuavServerError&) {
    // The cases before the fault are good and are shown.
    writer.End();
    output.Flush();
    throw;
  }
  writer.End();
  cases->Report();
  output.Finish();
}

}  // namespace

void AddCatCommand(CommandLine& line) {
  const auto arguments = std::make_shared<CatArguments>();
  Command command = line.Add("cat", "Writes the cases of a file.");
  command.Argument("FILE", arguments->file, "The system file");
  command.Option("--format", "FORMAT", arguments->format,
                 "The form; by default that of the suffix of OUT, a table on a terminal, otherwise CSV",
                 {kCsvName, kTsvName, kJsonLinesName, kJsonObjectsName, kArrowName, kTableName});
  command.Option("--columns", "A,B", arguments->columns, "Writes only these variables, in this order");
  command.Option("--rows", "FROM:TO", arguments->rows, "Writes only these cases, see below");
  command.Flag("--labels", arguments->labels, "Writes the label of a value that has one");
  command.Flag("--raw", arguments->raw, "Writes dates and times as stored numbers, not as ISO text");
  command.Option("-o", "OUT", arguments->output, "The output file instead of standard output");
  AddCsvOptions(command, arguments->csv, CsvUse::writing);
  AddNoSyncOption(command, arguments->noSync);
  AddPasswordOption(command, arguments->passwordFile);
  command.Footer(kFooter);
  command.Example("datasrc cat penguins.quav --rows 150:153 --labels", "three cases, with labels");
  command.Example("datasrc cat penguins.quav --columns species,BodyMass -o penguins.csv.gz",
                  "two variables, as packed CSV");
  command.Example("datasrc cat penguins.quav --format jsonl --raw > penguins.jsonl", "all cases for a program");
  command.Work([arguments] { Cat(*arguments); });
}

}  // namespace tool
