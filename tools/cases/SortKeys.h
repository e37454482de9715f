// What a system file says about the order of its cases: the sort keys, and an index of the first and the last case, between
// which a search by key goes on.
//
// Threads: any.

#ifndef TOOLS_CASES_SORTKEYS_H
#define TOOLS_CASES_SORTKEYS_H

#include <string>
#include <vector>

#include "datasrc/QUAV_DataSource.h"
#include "tools/cases/SortedCases.h"

namespace tool {

struct SortKeys {
  std::vector<SortColumn> columns;  // of the file, the first decides first
  std::string firstKey = {};        // of the first and the last case (KeyText)
  std::string lastKey = {};
  long long cases = 0;
};

// Returns the key of a case as text: 41 characters for a number, and the bytes of a text. It has no blank at the end, and
// ends before other white space, because a file keeps no text after that.
std::string KeyText(const QUAV_DataSource& dictionary, const std::vector<SortColumn>& columns,
                    const std::vector<OBS>& cells);
// Makes these the sort keys of a dictionary, instead of those that it has. Without columns, it then has none.
void SetSortKeys(QUAV_DataSource& dictionary, const SortKeys& keys);

}  // namespace tool

#endif
