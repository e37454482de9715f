// The cases that `--rows FROM:TO` selects: FROM is the first, TO the one after the last. Cases are counted from 0, and
// either end may be omitted.

#ifndef TOOLS_TEXT_ROWRANGE_H
#define TOOLS_TEXT_ROWRANGE_H

#include <limits>
#include <optional>
#include <string_view>

namespace tool {

struct RowRange {
  long long from = 0;
  long long to = std::numeric_limits<long long>::max();
};

// Returns nothing when the text is not a range, or when the range ends before its start.
std::optional<RowRange> ParseRowRange(std::string_view text);

}  // namespace tool

#endif
