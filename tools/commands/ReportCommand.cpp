// datasrc report FILE [-o OUT.html] [--no-sync] [--password-file F]

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "Columns/files/NewFile.h"
#include "tools/commandline/CommandLine.h"
#include "tools/commandline/PasswordFile.h"
#include "tools/commands/Commands.h"
#include "tools/files/Output.h"
#include "tools/forms/CaseForm.h"
#include "tools/forms/TextCases.h"
#include "tools/report/CodeBook.h"
#include "tools/report/ValueTable.h"
#include "tools/statistics/Histogram.h"
#include "tools/statistics/Statistics.h"
#include "tools/statistics/WeightChoice.h"
#include "tools/systemfile/OpenSource.h"

namespace tool {

namespace {

constexpr char kFooter[] =
    "The code book is one HTML file, which any browser shows without a network: what is in the file,\n"
    "each variable with its label, format, missing values and figures, its values with their labels\n"
    "and counts, or a histogram, then documents, sets and attributes. The figures are those of\n"
    "`datasrc stats`, weighted by the weight variable of the file.\n"
    "\n"
    "Without -o, OUT.html is the name of FILE with .html instead of its suffix. The code book of\n"
    "standard input, which is - as FILE, then goes to standard output.";

constexpr char kStandard[] = "-";

struct ReportArguments {
  std::string file;
  std::string output;
  std::string passwordFile;
  bool noSync = false;
};

std::string OutputOf(const ReportArguments& arguments) {
  if (!arguments.output.empty()) return arguments.output;
  if (arguments.file == kStandard) return kStandard;
  return std::filesystem::path(arguments.file).replace_extension(".html").string();
}

void CheckSuffix(const std::string& path) {
  RefuseForeignForm("-o", path, ForeignForm::page);
  const FileForm form = FormOfSuffix(path);
  if (form.form != CaseForm::systemFile || form.isPacked)
    throw WrongUsage("-o", "the code book is an HTML page: use the suffix .html");
}

void MakeReport(const ReportArguments& arguments) {
  CheckSuffix(arguments.output);
  const int threads = ThreadsToUse();
  const std::string path = OutputOf(arguments);
  RefuseInputAsOutput(arguments.file, path);
  RefuseInputAsOutput(arguments.passwordFile, path, "password file");
  const OpenedSource source = OpenSource(arguments.file, ReadPasswordFile(arguments.passwordFile));
  Output output(path, {.sync = !arguments.noSync});
  const StatisticsOptions options{.columns = AllColumns(*source.data),
                                  .weight = WeightColumn(*source.data, {}, arguments.file),
                                  .threads = threads};
  const Statistics statistics = ReadStatistics(source, options, arguments.file);
  std::vector<bool> isWanted;
  for (const VariableStatistics& figures : statistics.variables) isWanted.push_back(HasHistogram(figures));
  const std::vector<Histogram> histograms = ReadHistograms(source, statistics, isWanted, threads);
  const std::string name =
      arguments.file == kStandard ? "standard input" : std::filesystem::path(arguments.file).filename().string();
  WriteCodeBook({.source = source, .statistics = statistics, .histograms = histograms, .fileName = name}, output);
  output.Finish();
}

}  // namespace

void AddReportCommand(CommandLine& line) {
  const auto arguments = std::make_shared<ReportArguments>();
  Command command = line.Add("report", "Writes the code book of a file as one HTML page.");
  command.Argument("FILE", arguments->file, "The system file");
  command.Option("-o", "OUT.html", arguments->output, "The page; - is standard output");
  AddNoSyncOption(command, arguments->noSync);
  AddPasswordOption(command, arguments->passwordFile);
  command.Footer(kFooter);
  command.Example("datasrc report penguins.quav", "the code book in penguins.html");
  command.Example("datasrc report penguins.quav -o codebook.html", "the same, in another place");
  command.Work([arguments] { MakeReport(*arguments); });
}

}  // namespace tool
