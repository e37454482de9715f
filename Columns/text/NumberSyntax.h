// Parses the text of a number and converts it to a double.
//
//   number := [+-] digits [. digits] [e [+-] digits]      with at least one digit before or after the point
//
// Most numbers are short: their digits fit into 53 bits, and a double holds their power of ten exactly. One
// multiplication or division then rounds correctly. All other numbers go through std::from_chars.
//
// Threads: any.

#ifndef COLUMNS_TEXT_NUMBERSYNTAX_H
#define COLUMNS_TEXT_NUMBERSYNTAX_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace dstext {

constexpr bool IsDigit(char c) { return '0' <= c && c <= '9'; }

struct NumberSyntax {
  bool isNegative = false;
  bool hasLeadingZeros = false;  // zeros that a number would lose: 007, not 0.7
  bool hasExponent = false;
  int digits = 0;              // digits from the first nonzero one on
  int wholeDigits = 0;         // digits before the point, with leading zeros
  int decimals = 0;            // digits after the point
  int exponent = 0;            // the written exponent, limited to kMostExponent
  std::uint64_t mantissa = 0;  // the digits without the point; correct for up to 19 digits

  static constexpr int kMostExponent = 100'000;
};

// The fast path for the most frequent values. Returns true when the text is a whole number of up to 15 digits without a
// sign or leading zeros. Such a number comes back from a double; it is stored in `number`.
inline bool ParseShortWhole(std::string_view text, std::uint64_t& number) {
  constexpr std::size_t kMostDigits = 15;
  if (text.empty() || text.size() > kMostDigits || (text.front() == '0' && text.size() > 1)) return false;
  number = 0;
  for (const char c : text) {
    if (!IsDigit(c)) return false;
    number = 10 * number + static_cast<std::uint64_t>(c - '0');
  }
  return true;
}

// Returns false when the text is not a number; `syntax` is then undefined.
bool ParseNumber(std::string_view text, NumberSyntax& syntax);
// Returns the number that has a name instead of digits: "NaN", "Infinity" or "-Infinity".
std::optional<double> NumberOfName(std::string_view text);
// Returns the nearest double, or nothing when the number is too large for a double or so small that it would become 0.
std::optional<double> NumberValue(std::string_view text, const NumberSyntax& syntax);
// Returns true when the number comes back from its double: the double, written with as many digits, is the same number.
// Returns false for the number that stands for system-missing.
bool ComesBack(std::string_view text, const NumberSyntax& syntax);

}  // namespace dstext

#endif
