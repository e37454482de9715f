// Counts the cases of a system file, whatever its header says: new cases are appended after the last one.
//
// Threads: one thread at a time.

#ifndef TOOLS_SYSTEMFILE_CASECOUNT_H
#define TOOLS_SYSTEMFILE_CASECOUNT_H

#include "datasrc/SystemFileDataSource.h"

namespace tool {

// Counts the cases and stores the number in the source. Cases that are not compressed are found by position, others are
// read to the end. Throws 1205 when the data ends inside a case. The file must have variables.
void LearnCaseCount(SystemFileDataSource& file);

}  // namespace tool

#endif
