#include "tools/statistics/Statistics.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <memory>
#include <string_view>
#include <variant>

#include "Columns/dictionary/CaseCount.h"
#include "Columns/text/ShownText.h"
#include "tools/messages/Progress.h"
#include "tools/statistics/NumberStatistics.h"
#include "tools/statistics/TextStatistics.h"
#include "tools/statistics/WeightedCases.h"
#include "tools/threads/Crew.h"

namespace tool {

using namespace dstext;

namespace {

// Returns null when the variable has no value labels that fit its values: variables of several types may share a map.
std::unique_ptr<QUAV_ValueLabelMap> LabelsOf(const QUAV_Variable& variable) {
  if (!variable.GetValueLabels().IsValid()) return nullptr;
  auto map = std::make_unique<QUAV_ValueLabelMap>(variable.GetValueLabels());
  return (map->Type() == 0) == (variable.GetType() == 0) ? std::move(map) : nullptr;
}

NumberLabels LabelsOfNumbers(QUAV_ValueLabelMap& map, ShownText& shownText) {
  NumberLabels labels;
  const OBS* value = nullptr;
  const char* label = nullptr;
  map.Reset();
  while (map.GetNextPair(value, label) != 0)
    if (*value != kSystemMissingCell) labels.emplace_back(CellNumber(*value), shownText.Valid(label));
  return labels;
}

TextLabels LabelsOfTexts(QUAV_ValueLabelMap& map, ShownText& shownText) {
  TextLabels labels;
  std::string value;
  const char* label = nullptr;
  map.Reset();
  while (map.GetNextPair(value, label) != 0)
    labels.emplace_back(shownText.Valid(WithoutTrailingBlanks(value)), shownText.Valid(label));
  // Bytes that form no character may make two values one.
  std::ranges::sort(labels);
  const auto rest = std::ranges::unique(labels, {}, &TextLabels::value_type::first);
  labels.erase(rest.begin(), rest.end());
  return labels;
}

using Collector = std::variant<NumberStatistics, TextStatistics>;

Collector MakeCollector(const QUAV_Variable& variable, ShownText& shownText) {
  const std::unique_ptr<QUAV_ValueLabelMap> map = LabelsOf(variable);
  if (variable.GetType() == 0)
    return NumberStatistics(variable, map != nullptr, map ? LabelsOfNumbers(*map, shownText) : NumberLabels());
  return TextStatistics(map != nullptr, map ? LabelsOfTexts(*map, shownText) : TextLabels());
}

void Add(Collector& collector, const WeightedCases& cases, std::size_t place) {
  const BatchColumn& column = cases.Column(place);
  if (auto* const numbers = std::get_if<NumberStatistics>(&collector))
    numbers->Add(column.numbers, cases.Weights(), static_cast<std::size_t>(cases.Rows()));
  else
    std::get<TextStatistics>(collector).Add(column, cases.ValidTexts(place), cases.Weights(), cases.Rows());
}

VariableStatistics Result(const Collector& collector, const QUAV_Variable& variable) {
  if (const auto* const numbers = std::get_if<NumberStatistics>(&collector)) return numbers->Result();
  return std::get<TextStatistics>(collector).Result([&variable](std::string_view text) {
    OBS cell = kBlankCell;
    std::ranges::copy(text.substr(0, sizeof(cell)), CellText(&cell));
    return variable.IsMissing(&cell) != 0;
  });
}

}  // namespace

Statistics ReadStatistics(const OpenedSource& source, const StatisticsOptions& options, const std::string& path) {
  RequireCells(*source.file, path);
  ShownText shownText(source.file->CharacterEncoding());
  std::vector<Collector> collectors;
  collectors.reserve(options.columns.size());
  for (const int column : options.columns)
    collectors.push_back(MakeCollector(source.data->GetVariable(column), shownText));

  Statistics result{.weight = options.weight, .columns = options.columns};
  WeightedCases cases(*source.file, options.columns, options.weight, options.threads);
  Crew crew(options.threads);
  // One thread reads while the others count. A single thread counts first, while it has the batch in its caches.
  const std::size_t readings = options.threads > 1 ? 1 : 0;
  Progress progress(STDERR_FILENO, source.file->RowCount());
  while (cases.Next()) {
    crew.Do(readings + collectors.size(), [&](std::size_t piece) {
      if (piece < readings)
        cases.ReadAhead();
      else
        Add(collectors[piece - readings], cases, piece - readings);
    });
    result.cases += cases.Rows();
    result.uncounted += cases.Uncounted();
    progress.StepTo(result.cases);
  }
  result.variables.resize(collectors.size());
  crew.Do(collectors.size(), [&](std::size_t place) {
    result.variables[place] = Result(collectors[place], source.data->GetVariable(options.columns[place]));
  });
  return result;
}

}  // namespace tool
