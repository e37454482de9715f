#include "tools/report/ValueTable.h"

#include <algorithm>
#include <numeric>

namespace tool {

bool HasHistogram(const VariableStatistics& figures) {
  if (!figures.isNumber || figures.n == 0) return false;
  if (!figures.values || !figures.distinct) return true;
  const auto bare =
      std::ranges::count_if(*figures.values, [](const ValueCount& value) { return !value.label && !value.isMissing; });
  return static_cast<std::size_t>(bare) > kMostBareValues;
}

std::vector<const ValueCount*> TableValues(const VariableStatistics& figures) {
  std::vector<const ValueCount*> shown;
  if (!figures.values) return shown;
  const bool onlyLabelled = HasHistogram(figures);
  for (const ValueCount& value : *figures.values)
    if (!onlyLabelled || value.label || value.isMissing) shown.push_back(&value);
  return shown;
}

std::vector<std::size_t> MostFrequent(const std::vector<const ValueCount*>& values, std::size_t most) {
  std::vector<std::size_t> places(values.size());
  std::iota(places.begin(), places.end(), std::size_t{0});
  if (places.size() <= most) return places;
  std::ranges::sort(places, [&](std::size_t a, std::size_t b) {
    return values[a]->weighted != values[b]->weighted ? values[a]->weighted > values[b]->weighted : a < b;
  });
  places.resize(most);
  std::ranges::sort(places);
  return places;
}

}  // namespace tool
