// Builds a dictionary for a CSV input: it takes the names from the header and the types from all values.
//
// Threads: any, as long as the process's encoding does not change.

#ifndef TOOLS_CSV_CSVDICTIONARY_H
#define TOOLS_CSV_CSVDICTIONARY_H

#include <memory>
#include <string>
#include <vector>

#include "datasrc/SystemFileDataSource.h"
#include "tools/csv/ColumnTyper.h"
#include "tools/csv/CsvBlocks.h"
#include "tools/csv/CsvDialect.h"
#include "tools/files/InputBytes.h"

namespace tool {

struct CsvDictionary {
  std::unique_ptr<SystemFileDataSource> dictionary;
  long long rows;  // cases
};

// Reads the input to its end and rewinds it. Without a header, the names are V1, V2 and so on. A text of the header that is
// not a legal name is mended into one and becomes the label. Warns about columns that look like numbers, dates or times but are kept as text. Throws ToolError
// for an input without a header, a row of another length, and a column too wide for a string. Warns about columns of
// numbers, dates or times that are text because of few other values, too.
CsvDictionary TypeCsv(InputBytes& input, const CsvDialect& dialect, const BlockWork& work = {});

struct CsvFile {
  InputBytes* input;
  CsvDialect dialect;
};

// Does the same for several files, at least one, with the names of the first. A header of another has its names, in any
// order and without regard to case; without a header, it has as many fields.
CsvDictionary TypeCsv(const std::vector<CsvFile>& files, const BlockWork& work = {});

// Returns the variable for a column with these values. Throws ToolError about `file` when they are too wide.
QUAV_Variable TypedVariable(const ColumnType& type, const std::string& name, const std::string& file);
// Warns when the column is text although it looks like something else.
void WarnOfText(const ColumnType& type, const std::string& name, const std::string& file);

}  // namespace tool

#endif
