// Searches the contents of records for anything on which the library would end the process. This is the part of
// RecordLookAhead that knows the contents of sets, trends and documents.
//
// Threads: any.

#ifndef TOOLS_SYSTEMFILE_METADATALOOKAHEAD_H
#define TOOLS_SYSTEMFILE_METADATALOOKAHEAD_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tool {

struct ContentsFlaw {
  std::string trouble;
  std::size_t place;  // offset of the faulty bytes in the contents
};

// Checks the lines of a record of sets, with subtype 5, 7 or 19. `contents` has as many bytes as the record has units.
std::optional<ContentsFlaw> FindFlawOfSets(std::string_view contents, int subtype);
// Checks the record of trends, which has `nUnits` units. `reversed` says that its numbers are in reversed byte order.
std::optional<ContentsFlaw> FindFlawOfTrends(std::string_view contents, std::int64_t nUnits, bool reversed);
// Returns true for the line of 80 bytes that ends a document.
bool IsDateLine(std::string_view line);
// Checks the lines of all documents. `unitSize` is in bytes.
std::optional<ContentsFlaw> FindFlawOfDocuments(std::string_view contents, std::size_t unitSize);

}  // namespace tool

#endif
