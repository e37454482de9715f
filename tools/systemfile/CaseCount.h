// How many cases a system file has, whatever it says of itself: cases are added behind the last one.
//
// Threads: one thread at a time.

#ifndef TOOLS_SYSTEMFILE_CASECOUNT_H
#define TOOLS_SYSTEMFILE_CASECOUNT_H

#include "datasrc/SystemFileDataSource.h"

namespace tool {

// Finds the number, and tells it to the source. Cases that are not compressed are found by position, others are read to
// the end. Error 1205 when the data ends inside a case. The file has variables.
void LearnCaseCount(SystemFileDataSource& file);

}  // namespace tool

#endif
