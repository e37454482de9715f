// Writes figures for people: the output of `datasrc stats`.

#ifndef TOOLS_STATISTICS_STATISTICSTEXT_H
#define TOOLS_STATISTICS_STATISTICSTEXT_H

#include "tools/files/Output.h"
#include "tools/statistics/Statistics.h"

namespace tool {

// A line for each variable; with `values`, a table of the values of each that lists them, too.
void WriteStatisticsText(const OpenedSource& source, const Statistics& statistics, bool values, Output& output);

}  // namespace tool

#endif
