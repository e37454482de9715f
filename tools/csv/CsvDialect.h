// How a CSV file differs from RFC 4180, for reading and for writing.
//
// Threads: any; a plain value.

#ifndef TOOLS_CSV_CSVDIALECT_H
#define TOOLS_CSV_CSVDIALECT_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

// A reader skips it at the start of a file, so a writer quotes a field that begins with it.
inline constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

struct CsvDialect {
  char delimiter = ',';                   // ASCII, as all signs here
  std::optional<char> quote = '"';        // nothing: no field is quoted
  char decimal = '.';                     // between the whole digits of a number and its decimals
  std::vector<std::string> missing = {};  // fields that mean "no value"; a writer uses the first
  long long skippedLines = 0;             // before the header
  bool hasHeader = true;                  // a line of names
};

}  // namespace tool

#endif
