// The text of a number, taken apart and brought into a double.
//
//   number := [+-] digits [. digits] [e [+-] digits]      with a digit on one side of the point at least
//
// Most numbers are short: their digits fit into 53 bits and a power of ten that a double holds exactly, so that one
// multiplication or division rounds as it must. The rest goes through std::from_chars.
//
// Threads: any.

#ifndef TOOLS_TEXT_NUMBERSYNTAX_H
#define TOOLS_TEXT_NUMBERSYNTAX_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace tool {

struct NumberSyntax {
  bool isNegative = false;
  bool hasLeadingZeros = false;  // which a number would lose: 007, not 0.7
  bool hasExponent = false;
  int digits = 0;              // from the first that is no zero on
  int wholeDigits = 0;         // in front of the point, leading zeros too
  int decimals = 0;            // behind the point
  int exponent = 0;            // as written; cut to kMostExponent
  std::uint64_t mantissa = 0;  // the digits without point; right for up to 19 of them

  static constexpr int kMostExponent = 100'000;
};

// The quick way for the most frequent of all values: whether the text is a whole number of up to 15 digits, without a
// sign or leading zeros; it comes back from a double, and `number` is it.
inline bool ParseShortWhole(std::string_view text, std::uint64_t& number) {
  constexpr std::size_t kMostDigits = 15;
  if (text.empty() || text.size() > kMostDigits || (text.front() == '0' && text.size() > 1)) return false;
  number = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') return false;
    number = 10 * number + static_cast<std::uint64_t>(c - '0');
  }
  return true;
}

// False when the text is no number; `syntax` is then undefined.
bool ParseNumber(std::string_view text, NumberSyntax& syntax);
// The nearest double. None when the number is too large for one, or so small that it would become zero.
std::optional<double> NumberValue(std::string_view text, const NumberSyntax& syntax);
// Whether the number comes back from its double: whether that, written with as many digits, is the same number. Also
// false for the one number that stands for system-missing.
bool ComesBack(std::string_view text, const NumberSyntax& syntax);

}  // namespace tool

#endif
