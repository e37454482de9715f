// Which values of a variable its table shows, and whether it has a histogram.
//
//   the variable                                              shows
//   a text with values                                        all of them
//   a number, up to kMostBareValues of them without a label   all of them
//   another number with values                                those with a label, and a histogram
//   another number                                            a histogram
//
// Threads: any.

#ifndef TOOLS_REPORT_VALUETABLE_H
#define TOOLS_REPORT_VALUETABLE_H

#include <cstddef>
#include <vector>

#include "tools/statistics/VariableStatistics.h"

namespace tool {

inline constexpr std::size_t kMostBareValues = 12;

bool HasHistogram(const VariableStatistics& figures);
// Returns the values of the table, in their order. The figures outlive the result.
std::vector<const ValueCount*> TableValues(const VariableStatistics& figures);
// Returns the places of at most `most` values, in ascending order: of those that most cases have.
std::vector<std::size_t> MostFrequent(const std::vector<const ValueCount*>& values, std::size_t most);

}  // namespace tool

#endif
