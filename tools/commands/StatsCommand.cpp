// datasrc stats FILE [--columns A,B] [--unweighted | --weight V] [--json | --csv] [--password-file F]

#include <memory>
#include <optional>
#include <string>

#include "tools/commandline/CommandLine.h"
#include "tools/commandline/NameList.h"
#include "tools/commandline/PasswordFile.h"
#include "tools/commands/Commands.h"
#include "tools/files/Output.h"
#include "tools/forms/ShownColumns.h"
#include "tools/forms/TextCases.h"
#include "tools/statistics/Statistics.h"
#include "tools/statistics/StatisticsCsv.h"
#include "tools/statistics/StatisticsJson.h"
#include "tools/statistics/StatisticsText.h"
#include "tools/statistics/WeightChoice.h"
#include "tools/systemfile/OpenSource.h"

namespace tool {

namespace {

constexpr char kFooter[] =
    "Prints a line for each variable: the number of its valid and missing values, the smallest and the\n"
    "largest one, mean, standard deviation, and how many distinct values there are, up to 65,536.\n"
    "With --columns, a table follows for each variable that has value labels or at most 50 distinct\n"
    "values: how often each of them occurs.\n"
    "\n"
    "Figures are weighted by the weight variable of the file, if it has one. A case whose weight is\n"
    "missing, zero or negative counts for nothing. N is always the number of cases.\n"
    "\n"
    "--json prints one object with everything; --csv a line for each variable, without the values.";

struct StatsArguments {
  std::string file;
  std::optional<std::string> columns;
  std::optional<std::string> weight;
  std::string passwordFile;
  bool unweighted = false;
  bool json = false;
  bool csv = false;
};

void Stats(const StatsArguments& arguments) {
  if (arguments.json && arguments.csv) throw WrongUsage("--csv", "--json is another form");
  const WeightChoice weight = ChooseWeight(arguments.unweighted, arguments.weight);
  const int threads = ThreadsToUse();
  const std::vector<std::string> names = ParseNames("--columns", arguments.columns);
  const OpenedSource source = OpenSource(arguments.file, ReadPasswordFile(arguments.passwordFile));
  const StatisticsOptions options{
      .columns = names.empty() ? AllColumns(*source.data) : ColumnsOfNames(*source.data, names),
      .weight = WeightColumn(*source.data, weight, arguments.file),
      .threads = threads};
  const Statistics statistics = ReadStatistics(source, options, arguments.file);
  Output output("");
  if (arguments.json)
    WriteStatisticsJson(source, statistics, output);
  else if (arguments.csv)
    WriteStatisticsCsv(source, statistics, output);
  else
    WriteStatisticsText(source, statistics, !names.empty(), output);
  output.Finish();
}

}  // namespace

void AddStatsCommand(CommandLine& line) {
  const auto arguments = std::make_shared<StatsArguments>();
  Command command = line.Add("stats", "Prints the figures of the variables of a file.");
  command.Argument("FILE", arguments->file, "The system file");
  command.Option("--columns", "A,B", arguments->columns, "Only these variables, in this order, with their values");
  command.Flag("--unweighted", arguments->unweighted, "Counts each case once, whatever its weight");
  command.Option("--weight", "V", arguments->weight, "Weights the cases by this variable");
  command.Flag("--json", arguments->json, "Prints one JSON object");
  command.Flag("--csv", arguments->csv, "Prints CSV");
  AddPasswordOption(command, arguments->passwordFile);
  command.Footer(kFooter);
  command.Example("datasrc stats penguins.quav", "the figures of all variables");
  command.Example("datasrc stats penguins.quav --columns species,BodyMass --unweighted",
                  "two variables, with their values");
  command.Example("datasrc stats penguins.quav --json > figures.json", "everything, for a program");
  command.Work([arguments] { Stats(*arguments); });
}

}  // namespace tool
