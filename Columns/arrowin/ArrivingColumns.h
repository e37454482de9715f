// The columns of a stream, and the variables that they become.
//
// Threads: any.

#ifndef COLUMNS_ARROWIN_ARRIVINGCOLUMNS_H
#define COLUMNS_ARROWIN_ARRIVINGCOLUMNS_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Columns/arrowin/ArrowInput.h"
#include "Columns/arrowin/ColumnValues.h"
#include "Columns/dictionary/ArrivingDictionary.h"
#include "datasrc/QUAV_DataSource.h"

namespace arrowin {

struct ArrivingColumn {
  std::string name;  // of the variable; that of the column may be another
  const ArrowSchema* schema;

  std::string OldName() const { return schema->name != nullptr ? schema->name : ""; }
};

// Returns the names of the variables for those of the columns.
using RenameFunction = std::function<std::vector<std::string>(const std::vector<std::string>&)>;

// `rename` may be empty. The input outlives the columns.
std::vector<ArrivingColumn> ColumnsOf(const ArrowInput& input, const RenameFunction& rename);
std::vector<std::string> NamesOf(const std::vector<ArrivingColumn>& columns);
// Throws ArrowImportError for a name that no variable can have, and for one that comes twice.
void RefuseIllegalNames(const std::vector<ArrivingColumn>& columns);
// Says of columns with a zone that their times are stored in UTC.
std::vector<std::string> NotesAbout(const std::vector<ArrivingColumn>& columns);
// Returns what the columns say of new variables.
std::vector<dstext::ArrivingVariable> VariablesOf(const std::vector<ArrivingColumn>& columns);
// Returns for each column the variable with its name. Throws ArrowImportError unless each has one, and each variable a
// column.
std::vector<int> TargetsOf(const std::vector<ArrivingColumn>& columns, const QUAV_DataSource& dictionary);
// Returns what takes the values of column k for the variable targets[k]. The dictionary has its text in UTF-8.
std::vector<std::unique_ptr<ColumnValues>> ValuesFor(const std::vector<ArrivingColumn>& columns,
                                                     const QUAV_DataSource& dictionary, const std::vector<int>& targets,
                                                     bool roundTimes);

}  // namespace arrowin

#endif
