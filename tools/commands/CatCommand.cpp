// datasrc cat FILE [--format csv|jsonl|table] [--columns A,B] [--rows FROM:TO] [--labels] [--raw] [-o OUT]
//             [options for CSV] [--no-sync] [--password-file F]

#include <unistd.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Columns/dictionary/CaseCount.h"
#include "Columns/files/NewFile.h"
#include "Platform/messages/ThrowError.h"
#include "tools/cases/FileCases.h"
#include "tools/commandline/NameList.h"
#include "tools/commandline/PasswordFile.h"
#include "tools/commands/Commands.h"
#include "tools/files/Output.h"
#include "tools/forms/CsvOptions.h"
#include "tools/forms/Selection.h"
#include "tools/forms/ShownColumns.h"
#include "tools/forms/TextCases.h"
#include "tools/messages/Progress.h"
#include "tools/systemfile/OpenSource.h"
#include "tools/text/RowRange.h"

namespace tool {

namespace {

constexpr char kFooter[] =
    "csv    RFC 4180 with lines that end in a line feed: names, then the cases; a missing value is\n"
    "       an empty field\n"
    "tsv    CSV with tabs\n"
    "jsonl  a JSON list for each case; a missing value is null\n"
    "ndjson a JSON object for each case, with the names of the variables\n"
    "table  for people: numbers in their print format, long texts cut\n"
    "\n"
    "- as FILE is standard input. An OUT that ends in .gz is packed.\n"
    "\n"
    "--rows 10:20 writes the cases 10 to 19, counted from 0; either number may be omitted.";

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

void WriteCases(CaseReader& cases, const RowRange& rows, CaseWriter& writer, Progress& progress) {
  for (long long row = rows.from; row < rows.to && cases.Next(); ++row) {
    writer.WriteCase(cases.Cells());
    progress.Step(row - rows.from + 1);
  }
}

void Cat(CatArguments arguments) {
  const RowRange rows = RowsOf(arguments.rows);
  const std::vector<std::string> names = ParseNames("--columns", arguments.columns);
  RefuseReadingOptions(arguments.csv);
  CsvDialect dialect = DialectOf(arguments.csv, CaseForm::csv);
  RefuseInputAsOutput(arguments.file, arguments.output);
  RefuseInputAsOutput(arguments.passwordFile, arguments.output, "password file");
  const OpenedSource source = OpenSource(arguments.file, ReadPasswordFile(arguments.passwordFile));
  dstext::RequireCells(*source.file, arguments.file);
  const ShownColumns columns = ShowColumns(*source.data, names);
  const QUAV_DataSource& shown = columns.projection ? *columns.projection : *source.data;

  Output output(arguments.output, {.sync = !arguments.noSync}, FormOfSuffix(arguments.output).isPacked);
  const bool wantsTable = output.IsTerminal() && !arguments.csv.AreGiven();
  if (arguments.format.empty()) arguments.format = wantsTable ? kTableName : kCsvName;
  const CaseForm form = FormOfName(arguments.format);
  if (IsCsv(form)) {
    dialect = DialectOf(arguments.csv, form);
  } else if (arguments.csv.AreGiven()) {
    throw WrongUsage("--delimiter and the like", "the options are for CSV");
  }
  TextCases writer(shown, columns.indexes, source.file->CharacterEncoding(), form, dialect,
                   {.labels = arguments.labels, .raw = arguments.raw}, output);
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
  output.Finish();
  cases->Report();
}

}  // namespace

void AddCatCommand(CommandLine& line) {
  const auto arguments = std::make_shared<CatArguments>();
  Command command = line.Add("cat", "Writes the cases of a file.");
  command.Argument("FILE", arguments->file, "The system file");
  command.Option("--format", "FORMAT", arguments->format, "The form; by default a table on a terminal, otherwise CSV",
                 {kCsvName, kTsvName, kJsonLinesName, kJsonObjectsName, kTableName});
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
