// Cases as files in the Arrow IPC format (".arrow").
//
// Threads: one thread at a time.

#ifndef TOOLS_FORMS_ARROWCASES_H
#define TOOLS_FORMS_ARROWCASES_H

#include <vector>

#include "datasrc/QUAV_DataSource.h"
#include "tools/cases/CaseReader.h"
#include "tools/cases/Column.h"
#include "tools/files/Output.h"

namespace tool {

// Writes the cases, which have the layout of the dictionary, and of them the columns `indexes`. Dates and times get Arrow's
// types unless `options.raw`; `options.labels` makes dictionaries of the labels. Throws ToolError for a value that the
// type cannot hold, and what the reader and the output throw. Progress.h describes `progressDescriptor`.
void WriteArrowCases(const QUAV_DataSource& dictionary, CaseReader& cases, const std::vector<int>& indexes,
                     const ShowOptions& options, Output& output, int progressDescriptor);

}  // namespace tool

#endif
