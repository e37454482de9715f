#include "Columns/text/NumberSyntax.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>

#include "datasrc/Obs.h"

namespace dstext {

namespace {

constexpr int kSafeDigits = 15;      // every number with this many digits comes back from a double
constexpr int kSafeMagnitude = 290;  // the powers of ten within which that is true
constexpr int kMostDigits = 800;     // no double has more significant digits

// The powers of ten that a double holds exactly.
constexpr std::array kPowers{1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                             1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

const char* ParseDigits(const char* at, const char* end, NumberSyntax& syntax) {
  for (; at != end && IsDigit(*at); ++at) {
    syntax.mantissa = 10 * syntax.mantissa + static_cast<std::uint64_t>(*at - '0');
    syntax.digits += int{syntax.digits != 0 || *at != '0'};
  }
  return at;
}

// Returns null when there is no digit.
const char* ParseExponent(const char* at, const char* end, NumberSyntax& syntax) {
  syntax.hasExponent = true;
  const bool isNegative = at != end && *at == '-';
  if (at != end && (*at == '-' || *at == '+')) ++at;
  if (at == end) return nullptr;
  for (; at != end && IsDigit(*at); ++at)
    syntax.exponent = std::min(10 * syntax.exponent + (*at - '0'), NumberSyntax::kMostExponent);
  if (!IsDigit(at[-1])) return nullptr;
  if (isNegative) syntax.exponent = -syntax.exponent;
  return at;
}

int PowerOfTen(const NumberSyntax& syntax) { return syntax.exponent - syntax.decimals; }

// Returns the digits from the first to the last nonzero one; empty when they are more than any double has.
std::string_view SignificantDigits(std::string_view text, std::array<char, kMostDigits>& buffer) {
  std::size_t size = 0;
  std::size_t significant = 0;
  for (const char c : text) {
    if (c == 'e' || c == 'E') break;
    if (!IsDigit(c) || (size == 0 && c == '0')) continue;
    if (size < buffer.size()) buffer[size] = c;
    ++size;
    if (c != '0') significant = size;
  }
  return {buffer.data(), significant <= buffer.size() ? significant : 0};
}

// Compares the first digits of a number in scientific form.
bool BeginsWithDigits(std::string_view text, std::string_view digits) {
  if (text.front() != digits.front()) return false;
  return digits.size() == 1 || text.substr(2).starts_with(digits.substr(1));
}

// Returns true when the value, written with as many digits, has exactly these. The shortest text of the value usually
// has them, and is faster to find, so it is tried first.
bool HasDigits(double value, std::string_view digits) {
  std::array<char, kMostDigits + 16> buffer;
  char* const begin = buffer.data();
  char* const limit = begin + buffer.size();
  value = std::abs(value);
  const std::string_view shortest(begin, std::to_chars(begin, limit, value, std::chars_format::scientific).ptr);
  // The text has one digit, or several with a point among them, and then the exponent.
  const std::size_t length = std::min(shortest.find('e'), shortest.size());
  if (length == digits.size() + std::size_t{digits.size() > 1} && BeginsWithDigits(shortest, digits)) return true;
  const auto precision = static_cast<int>(digits.size()) - 1;
  return BeginsWithDigits({begin, std::to_chars(begin, limit, value, std::chars_format::scientific, precision).ptr},
                          digits);
}

}  // namespace

std::optional<double> NumberOfName(std::string_view text) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  if (text == "NaN") return std::numeric_limits<double>::quiet_NaN();
  if (text == "Infinity") return kInfinity;
  return text == "-Infinity" ? std::optional(-kInfinity) : std::nullopt;
}

bool ParseNumber(std::string_view text, NumberSyntax& syntax) {
  syntax = {};
  const char* at = text.data();
  const char* const end = at + text.size();
  if (at != end && (*at == '-' || *at == '+')) {
    syntax.isNegative = *at == '-';
    ++at;
  }
  const char* const whole = at;
  at = ParseDigits(at, end, syntax);
  syntax.wholeDigits = static_cast<int>(at - whole);
  syntax.hasLeadingZeros = syntax.wholeDigits > 1 && *whole == '0';
  if (at != end && *at == '.') {
    const char* const fraction = ++at;
    at = ParseDigits(at, end, syntax);
    syntax.decimals = static_cast<int>(at - fraction);
  }
  if (syntax.wholeDigits + syntax.decimals == 0) return false;
  if (at == end) return true;
  if (*at != 'e' && *at != 'E') return false;
  return ParseExponent(at + 1, end, syntax) == end;
}

std::optional<double> NumberValue(std::string_view text, const NumberSyntax& syntax) {
  const int power = PowerOfTen(syntax);
  if (syntax.digits <= kSafeDigits && -std::ssize(kPowers) < power && power < std::ssize(kPowers)) {
    const auto mantissa = static_cast<double>(syntax.mantissa);
    const double value = power < 0 ? mantissa / kPowers[static_cast<std::size_t>(-power)]
                                   : mantissa * kPowers[static_cast<std::size_t>(power)];
    return syntax.isNegative ? -value : value;
  }
  if (text.front() == '+') text.remove_prefix(1);
  double value = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  if (result.ec == std::errc()) return value;
  // A zero is a zero, whatever its exponent.
  return syntax.digits == 0 ? std::optional(syntax.isNegative ? -0.0 : 0.0) : std::nullopt;
}

bool ComesBack(std::string_view text, const NumberSyntax& syntax) {
  if (syntax.digits == 0) return true;
  const int magnitude = syntax.digits + PowerOfTen(syntax);
  if (syntax.digits <= kSafeDigits && -kSafeMagnitude < magnitude && magnitude < kSafeMagnitude) return true;
  const std::optional<double> value = NumberValue(text, syntax);
  if (!value || NumberCell(*value) == kSystemMissingCell) return false;
  std::array<char, kMostDigits> buffer;
  const std::string_view digits = SignificantDigits(text, buffer);
  return !digits.empty() && HasDigits(*value, digits);
}

}  // namespace dstext
