// Counts the valid values of numeric variables in bins of equal width, in a pass of its own: the figures of the first one
// say where the bins are.
//
// Threads: one thread at a time.

#ifndef TOOLS_STATISTICS_HISTOGRAM_H
#define TOOLS_STATISTICS_HISTOGRAM_H

#include <cstddef>
#include <string>
#include <vector>

#include "datasrc/QUAV_Format.h"
#include "tools/statistics/Statistics.h"

namespace tool {

inline constexpr std::size_t kMostBins = 24;

// Bin i has the values from start + i * width up to the start of the next bin; infinite values are in none.
struct Histogram {
  double start = 0;
  double width = 1;
  std::vector<double> weights;  // of each bin; empty when there is no histogram

  double End() const { return start + width * static_cast<double>(weights.size()); }
};

// Returns empty bins, at most kMostBins, that have all values from `min` to `max`. Their edges are numbers that people
// like: 1, 2 or 5 times a power of ten; of dates and times, so many seconds, minutes, hours or days. There are no bins
// where the values are too far apart for a double.
Histogram MakeBins(QUAV_Format format, double min, double max);

// Counts the values of those variables of `statistics` that `isWanted` marks. The result has a histogram for each
// variable. Throws QuavServerError for a fault of the file.
std::vector<Histogram> ReadHistograms(const OpenedSource& source, const Statistics& statistics,
                                      const std::vector<bool>& isWanted, int threads);

}  // namespace tool

#endif
