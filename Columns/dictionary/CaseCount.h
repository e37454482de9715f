// Asks a system file for its cases: whether they can be found, and how many there are, whatever its header says.
//
// Threads: one thread at a time.

#ifndef COLUMNS_DICTIONARY_CASECOUNT_H
#define COLUMNS_DICTIONARY_CASECOUNT_H

#include <string>

#include "datasrc/SystemFileDataSource.h"

namespace dstext {

// Throws FileFailure about `path` if the file has variables only after other records. They get no cells then, and the
// library returns empty cases forever.
void RequireCells(const SystemFileDataSource& file, const std::string& path);

// Counts the cases and stores the number in the source: new cases are appended after the last one. Cases that are not
// compressed are found by position, others are read to the end. Throws 1205 when the data ends inside a case. The
// cases must have cells.
void LearnCaseCount(SystemFileDataSource& file);

}  // namespace dstext

#endif
