#include "tools/text/RowRange.h"

#include <charconv>
#include <system_error>

namespace tool {

namespace {

// Accepts only digits. An empty text leaves the number unchanged.
bool ParseRow(std::string_view text, long long& row) {
  if (text.empty()) return true;
  if (text.find_first_not_of("0123456789") != std::string_view::npos) return false;
  const char* const end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, row);
  return result.ec == std::errc() && result.ptr == end;
}

}  // namespace

std::optional<RowRange> ParseRowRange(std::string_view text) {
  const std::size_t colon = text.find(':');
  if (colon == std::string_view::npos) return std::nullopt;
  RowRange range;
  if (!ParseRow(text.substr(0, colon), range.from) || !ParseRow(text.substr(colon + 1), range.to)) return std::nullopt;
  return range.from <= range.to ? std::optional(range) : std::nullopt;
}

}  // namespace tool
