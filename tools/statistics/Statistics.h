// Reads the figures of the variables of a file, in one pass over its cases.
//
// The figures do not depend on the number of threads: each column of a batch is one piece of work, and the batches come
// in order.
//
// Memory: some batches of about 2 MiB for each thread, and for each variable what tells up to kMostDistinctValues values
// apart: up to 3 MB, and of a text with value labels also its texts, up to 32 MB.
//
// Threads: one thread at a time.

#ifndef TOOLS_STATISTICS_STATISTICS_H
#define TOOLS_STATISTICS_STATISTICS_H

#include <optional>
#include <string>
#include <vector>

#include "tools/statistics/VariableStatistics.h"
#include "tools/systemfile/OpenSource.h"

namespace tool {

struct StatisticsOptions {
  std::vector<int> columns = {};   // of the source
  std::optional<int> weight = {};  // the column of the weights, a number; none: each case counts 1
  int threads = 1;
};

struct Statistics {
  long long cases = 0;      // all of them
  long long uncounted = 0;  // those that count for nothing, because of their weight
  std::optional<int> weight = {};
  std::vector<int> columns = {};
  std::vector<VariableStatistics> variables = {};  // one for each column
};

// Shows its progress on standard error. Throws ToolError about `path` when the cases of the file have no cells, and
// QuavServerError for a fault of the file.
Statistics ReadStatistics(const OpenedSource& source, const StatisticsOptions& options, const std::string& path);

}  // namespace tool

#endif
