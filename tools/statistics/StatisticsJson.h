// Writes figures as the JSON object of `datasrc stats --json`. tools/README.md lists its members.

#ifndef TOOLS_STATISTICS_STATISTICSJSON_H
#define TOOLS_STATISTICS_STATISTICSJSON_H

#include "tools/files/Output.h"
#include "tools/statistics/Statistics.h"

namespace tool {

void WriteStatisticsJson(const OpenedSource& source, const Statistics& statistics, Output& output);

}  // namespace tool

#endif
