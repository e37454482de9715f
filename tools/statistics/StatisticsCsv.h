// Writes figures as the CSV of `datasrc stats --csv`: a line for each variable, without the values.

#ifndef TOOLS_STATISTICS_STATISTICSCSV_H
#define TOOLS_STATISTICS_STATISTICSCSV_H

#include "tools/files/Output.h"
#include "tools/statistics/Statistics.h"

namespace tool {

void WriteStatisticsCsv(const OpenedSource& source, const Statistics& statistics, Output& output);

}  // namespace tool

#endif
