#include "Columns/text/NumberText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace dstext {

namespace {

constexpr std::size_t kLongestShortest = 32;  // "-2.2250738585072014e-308" has 24
constexpr double kExactWholes =
    9007199254740992.0;                     // 2^53: smaller whole numbers have only digits that distinguish them
constexpr double kTooLongForDigits = 1e16;  // from here on a double has no digit after the point
constexpr int kMostDecimals = 16;
constexpr std::size_t kGroup = 3;  // digits between two separators of thousands

struct NumberSigns {
  char point;
  char thousands;  // 0 for none
  std::string_view prefix;
  std::string_view suffix;
};

NumberSigns SignsOf(FormatType type) {
  switch (type) {
    case kFormatComma:
      return {'.', ',', "", ""};
    case kFormatDollar:
      return {'.', ',', "$", ""};
    case kFormatDot:
      return {',', '.', "", ""};
    case kFormatPercent:
      return {'.', 0, "", "%"};
    default:
      return {'.', 0, "", ""};
  }
}

// Appends a whole number of at least 2^53: the digits that distinguish it from its neighbours, then zeros. The other form
// of such a number, its exact digits, has as many, but they look like more than the number knows.
void AppendLargeWhole(std::string& out, double number, std::size_t length) {
  std::array<char, kLongestShortest> buffer;
  char* const end =
      std::to_chars(buffer.data(), buffer.data() + buffer.size(), number, std::chars_format::scientific).ptr;
  const std::size_t start = out.size();
  for (const char c : std::string_view(buffer.data(), std::find(buffer.data(), end, 'e')))
    if (c != '.') out += c;
  out.resize(start + length, '0');
}

void AppendGrouped(std::string& out, std::string_view digits, char separator) {
  for (std::size_t i = 0; i < digits.size(); ++i) {
    if (separator != 0 && i != 0 && (digits.size() - i) % kGroup == 0) out += separator;
    out += digits[i];
  }
}

void AppendFixed(std::string& out, const NumberSigns& signs, int decimals, double number) {
  std::array<char, 64> buffer;
  char* const end =
      std::to_chars(buffer.data(), buffer.data() + buffer.size(), std::abs(number), std::chars_format::fixed, decimals)
          .ptr;
  char* const point = std::find(buffer.data(), end, '.');
  // A number that rounds to zero has no sign.
  const bool isZero = std::all_of(buffer.data(), end, [](char c) { return c == '0' || c == '.'; });
  if (std::signbit(number) && !isZero) out += '-';
  out += signs.prefix;
  AppendGrouped(out, {buffer.data(), point}, signs.thousands);
  if (point != end) out.append(1, signs.point).append(point + 1, end);
  out += signs.suffix;
}

void AppendScientific(std::string& out, int decimals, double number) {
  std::array<char, 64> buffer;
  char* const end =
      std::to_chars(buffer.data(), buffer.data() + buffer.size(), number, std::chars_format::scientific, decimals).ptr;
  out.append(buffer.data(), end);
}

}  // namespace

std::string_view NonFiniteName(double number) {
  if (std::isfinite(number)) return {};
  if (std::isnan(number)) return "NaN";
  return number > 0 ? "Infinity" : "-Infinity";
}

void AppendNumber(std::string& out, double number) {
  if (number == 0 && std::signbit(number)) {
    out += "-0.0";  // readers take "-0" for an integer, which has no sign
    return;
  }
  std::array<char, kLongestShortest> buffer;
  const std::string_view text(buffer.data(), std::to_chars(buffer.data(), buffer.data() + buffer.size(), number).ptr);
  if (std::abs(number) >= kExactWholes && text.find('e') == text.npos) {
    AppendLargeWhole(out, number, text.size());
  } else {
    out += text;
  }
}

void AppendInteger(std::string& out, long long number) {
  std::array<char, kLongestShortest> buffer;
  out.append(buffer.data(), std::to_chars(buffer.data(), buffer.data() + buffer.size(), number).ptr);
}

void AppendReadableNumber(std::string& out, QUAV_Format format, double number) {
  const int decimals = std::min(format.Decimals(), kMostDecimals);
  if (!std::isfinite(number)) {
    out += NonFiniteName(number);
  } else if (format.Type() == kFormatScientific) {
    AppendScientific(out, decimals, number);
  } else if (std::abs(number) >= kTooLongForDigits) {
    AppendNumber(out, number);
  } else {
    AppendFixed(out, SignsOf(format.Type()), decimals, number);
  }
}

}  // namespace dstext
