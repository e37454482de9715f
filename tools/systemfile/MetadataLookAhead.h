// Looks through the contents of records for what would end the process if the library met it: the part of
// RecordLookAhead that knows what stands in sets, trends and documents.
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
  std::size_t place;  // of the faulty bytes in the contents
};

// The lines of a record of sets, of subtype 5, 7 or 19: as many bytes as the record has units.
std::optional<ContentsFlaw> FindFlawOfSets(std::string_view contents, int subtype);
// The record of trends, of so many units, whose numbers may be in the other byte order.
std::optional<ContentsFlaw> FindFlawOfTrends(std::string_view contents, std::int64_t nUnits, bool reversed);
// Whether a line of 80 bytes ends a document.
bool IsDateLine(std::string_view line);
// The lines of all documents, in units of so many bytes.
std::optional<ContentsFlaw> FindFlawOfDocuments(std::string_view contents, std::size_t unitSize);

}  // namespace tool

#endif
