// What a header line means for a dictionary.
//
// Threads: any, while the present encoding stands.

#ifndef TOOLS_CSV_CSVNAMES_H
#define TOOLS_CSV_CSVNAMES_H

#include <string>
#include <vector>

#include "tools/csv/CsvReader.h"

namespace tool {

// The names of a header, made legal, and different without regard to case.
std::vector<std::string> MendedNames(const std::vector<std::string>& header);
// Throws ToolError when the record has not as many fields as the header.
inline void RefuseWrongCount(const CsvReader& reader, std::size_t wanted) {
  const std::size_t count = reader.Fields().size();
  if (count != wanted) [[unlikely]]
    reader.Fail("there are " + std::to_string(count) + " fields where the header names " + std::to_string(wanted));
}

}  // namespace tool

#endif
