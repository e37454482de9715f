// Makes a dictionary for a CSV input without one: names from the header, types from all values.
//
// Threads: any, while the present encoding stands.

#ifndef TOOLS_CSV_CSVDICTIONARY_H
#define TOOLS_CSV_CSVDICTIONARY_H

#include <memory>

#include "datasrc/SystemFileDataSource.h"
#include "tools/files/InputBytes.h"

namespace tool {

struct CsvDictionary {
  std::unique_ptr<SystemFileDataSource> dictionary;
  long long rows;  // behind the header
};

// Reads the input to its end, and rewinds it. A header text that had to be mended into a name becomes the label. Warns
// of columns that look like numbers, dates or times and are kept as text. Throws ToolError for an input without a
// header, a row of another length, and a column too wide for a string.
CsvDictionary TypeCsv(InputBytes& input);

}  // namespace tool

#endif
