// The cases that `--rows FROM:TO` asks for: from FROM to in front of TO, counted from 0. Either may be left out.

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

// None when the text is no range, or one that ends in front of its start.
std::optional<RowRange> ParseRowRange(std::string_view text);

}  // namespace tool

#endif
