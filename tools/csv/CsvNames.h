// The meaning of a header line for a dictionary.
//
// Threads: any, as long as the process's encoding does not change.

#ifndef TOOLS_CSV_CSVNAMES_H
#define TOOLS_CSV_CSVNAMES_H

#include <string>
#include <vector>

#include "tools/csv/CsvReader.h"

namespace tool {

// Returns the names of a header, changed so that each is legal and they differ in more than upper and lower case.
std::vector<std::string> MendedNames(const std::vector<std::string>& header);
// Reads the first record and returns the texts of its fields. Without a header they are empty, and the record is the first
// case. From here on, the reader knows the texts for missing values. Throws ToolError when there is no record.
std::vector<std::string> ReadHeader(CsvReader& reader, const CsvDialect& dialect, const std::string& file);
// Says what is wrong with a record of `count` fields.
inline std::string WrongCount(std::size_t count, std::size_t wanted) {
  return "there are " + std::to_string(count) + " fields, but the header has " + std::to_string(wanted);
}
// Throws LineError when the record does not have as many fields as the header.
inline void RefuseWrongCount(const CsvReader& reader, std::size_t wanted) {
  const std::size_t count = reader.Fields().size();
  if (count != wanted) [[unlikely]]
    reader.Fail(WrongCount(count, wanted));
}

}  // namespace tool

#endif
