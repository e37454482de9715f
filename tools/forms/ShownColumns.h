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

// Returns the columns of the variables, in upper or lower case, in the order of the names. Throws as ShowColumns does.
std::vector<int> ColumnsOfNames(const QUAV_DataSource& data, const std::vector<std::string>& names);
// Finds the variables, in upper or lower case; no names mean all columns. The source outlives the result. Takes time in
// proportion to the number of names and of variables. Throws error 1507 for a name that is not a variable's.
ShownColumns ShowColumns(const QUAV_DataSource& data, const std::vector<std::string>& names);
// Returns each column once, in the order of their first places: those of the projection.
std::vector<int> UniqueColumns(const std::vector<int>& columns);

}  // namespace tool

#endif
