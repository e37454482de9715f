// Compares two dictionaries, member by member of their JSON.
//
// What says how a file is stored, and who wrote it when, is no difference of the data: compression, byte order, encoding,
// encryption, eye catcher, release, timestamp, the counts of cases and cells, and the record subtypes that were found.
//
// Threads: one thread at a time.

#ifndef TOOLS_DIFF_DICTIONARYDIFF_H
#define TOOLS_DIFF_DICTIONARYDIFF_H

#include <utility>
#include <vector>

#include "datasrc/QUAV_DataSource.h"
#include "tools/diff/Differences.h"

namespace tool {

// Adds the differences. Returns the columns of the variables that both have, in the order of the first: variables are the
// same when their names are, without regard to case.
std::vector<std::pair<int, int>> CompareDictionaries(const QUAV_DataSource& first, const QUAV_DataSource& second,
                                                     Differences& differences);

}  // namespace tool

#endif
