// Asks a system file how many cases it has, whatever its header says.
//
// Threads: one thread at a time.

#ifndef TOOLS_SYSTEMFILE_CASECOUNT_H
#define TOOLS_SYSTEMFILE_CASECOUNT_H

#include "datasrc/SystemFileDataSource.h"

namespace tool {

// Returns whether the cases can be read to an end. The library returns empty cases forever if the cases have no cells:
// the file has no variables, or it has them only after other records, where they get no cells. Throws ToolError for the
// latter, since the data of such a file cannot be found.
bool HasCells(const QUAV_DataSource& source);

// Counts the cases and stores the number in the source: new cases are appended after the last one. Cases that are not
// compressed are found by position, others are read to the end. Throws 1205 when the data ends inside a case. The
// cases must have cells.
void LearnCaseCount(SystemFileDataSource& file);

}  // namespace tool

#endif
