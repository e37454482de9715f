// Builds a dictionary for a CSV input: it takes the names from the header and the types from all values.
//
// Threads: any, as long as the process's encoding does not change.

#ifndef TOOLS_CSV_CSVDICTIONARY_H
#define TOOLS_CSV_CSVDICTIONARY_H

#include <memory>

#include "datasrc/SystemFileDataSource.h"
#include "tools/files/InputBytes.h"

namespace tool {

struct CsvDictionary {
  std::unique_ptr<SystemFileDataSource> dictionary;
  long long rows;  // records after the header
};

// Reads the input to its end and rewinds it. A text of the header that is not a legal name is mended into one and
// becomes the label. Warns about columns that look like numbers, dates or times but are kept as text. Throws ToolError
// for an input without a header, a row of another length, and a column too wide for a string.
CsvDictionary TypeCsv(InputBytes& input);

}  // namespace tool

#endif
