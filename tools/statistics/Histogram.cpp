#include "tools/statistics/Histogram.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "tools/statistics/MissingRule.h"
#include "tools/statistics/WeightedCases.h"
#include "tools/threads/Crew.h"

namespace tool {

namespace {

constexpr double kDay = 86400;
// Steps of times below a day, in seconds.
constexpr std::array<double, 12> kTimeSteps{1, 5, 15, 60, 300, 900, 1800, 3600, 7200, 10800, 21600, 43200};

// Returns the smallest of 1, 2 and 5 times a power of ten that is not below the number.
double RoundStep(double least) {
  const double power = std::pow(10.0, std::floor(std::log10(least)));
  for (const double factor : {1.0, 2.0, 5.0})
    if (factor * power >= least) return factor * power;
  return 10 * power;
}

double StepFor(QUAV_Format format, double least) {
  const bool isTime = IsDateFormat(format.Type()) || IsTimeFormat(format.Type());
  if (!isTime || least <= kTimeSteps.front()) return RoundStep(least);
  const auto* const step = std::ranges::lower_bound(kTimeSteps, least);
  if (step != kTimeSteps.end() && !IsDateFormat(format.Type())) return *step;
  return kDay * std::max(1.0, RoundStep(least / kDay));
}

void Count(Histogram& histogram, const MissingRule& isMissing, const double* numbers, const double* weights,
           long long rows) {
  const double end = histogram.End();
  for (long long row = 0; row < rows; ++row) {
    const double number = numbers[row];
    // System-missing is below all bins, and a NaN in none.
    if (!(histogram.start <= number && number < end) || isMissing.Has(number)) continue;
    const auto bin = static_cast<std::size_t>((number - histogram.start) / histogram.width);
    histogram.weights[std::min(bin, histogram.weights.size() - 1)] += weights == nullptr ? 1 : weights[row];
  }
}

}  // namespace

Histogram MakeBins(QUAV_Format format, double min, double max) {
  const double span = max - min;
  if (!std::isfinite(span) || !std::isfinite(min)) return {};
  // One bin fewer: the edges do not begin at the smallest value.
  const double least = span == 0 ? std::max(std::abs(min), 1.0) / 1000 : span / static_cast<double>(kMostBins - 1);
  for (double width = StepFor(format, least); std::isfinite(width); width *= 10) {
    const double start = std::floor(min / width) * width;
    double bins = std::floor((max - start) / width) + 1;
    if (start + width * bins <= max) ++bins;  // the division was rounded
    if (bins > static_cast<double>(kMostBins)) continue;
    Histogram histogram{.start = start, .width = width, .weights = std::vector<double>(static_cast<std::size_t>(bins))};
    if (!(start <= min && max < histogram.End())) return {};  // the edges have no digits left
    return histogram;
  }
  return {};
}

std::vector<Histogram> ReadHistograms(const OpenedSource& source, const Statistics& statistics,
                                      const std::vector<bool>& isWanted, int threads) {
  std::vector<Histogram> histograms(statistics.variables.size());
  std::vector<std::size_t> places;
  std::vector<int> columns;
  std::vector<MissingRule> rules;
  for (std::size_t i = 0; i < histograms.size(); ++i) {
    const VariableStatistics& figures = statistics.variables[i];
    if (!isWanted[i] || !figures.min || !figures.max) continue;
    const QUAV_Variable& variable = source.data->GetVariable(statistics.columns[i]);
    histograms[i] = MakeBins(variable.GetFormat(), *figures.min, *figures.max);
    if (histograms[i].weights.empty()) continue;
    places.push_back(i);
    columns.push_back(statistics.columns[i]);
    rules.emplace_back(variable);
  }
  if (columns.empty()) return histograms;
  WeightedCases cases(*source.file, columns, statistics.weight, threads);
  Crew crew(threads);
  while (cases.Next()) {
    crew.Do(columns.size(), [&](std::size_t place) {
      Count(histograms[places[place]], rules[place], cases.Column(place).numbers, cases.Weights(), cases.Rows());
    });
  }
  return histograms;
}

}  // namespace tool
