// The columns of a source that a person chose by their names.
//
// Threads: one thread at a time.

#ifndef TOOLS_FORMS_SHOWNCOLUMNS_H
#define TOOLS_FORMS_SHOWNCOLUMNS_H

#include <memory>
#include <string>
#include <vector>

#include "datasrc/QUAV_CProjection.h"

namespace tool {

// The projection has each column once, but a column may be shown repeatedly.
struct ShownColumns {
  std::unique_ptr<const QUAV_CProjection> projection;  // null when all columns of the source are shown
  std::vector<int> indexes;                            // columns of the projection
};

// Returns the columns with the names, in upper or lower case, in their order. Throws error 1507 for a name that is not a
// variable's.
std::vector<int> FindColumns(const QUAV_DataSource& data, const std::vector<std::string>& names);
// Finds the variables as FindColumns does; no names mean all columns. The source outlives the result. Takes time in
// proportion to the number of names and of variables.
ShownColumns ShowColumns(const QUAV_DataSource& data, const std::vector<std::string>& names);

}  // namespace tool

#endif
