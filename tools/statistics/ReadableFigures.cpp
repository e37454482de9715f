#include "tools/statistics/ReadableFigures.h"

#include <algorithm>
#include <cmath>

#include "Columns/text/IsoText.h"
#include "Columns/text/NumberText.h"

namespace tool {

using namespace dstext;

namespace {

constexpr QUAV_Format kCountFormat{kFormatComma, 20, 0};
constexpr int kDigits = 5;
constexpr int kMostDecimals = 12;
constexpr double kSecondsPerDay = 86400;

std::string Formatted(QUAV_Format format, double number) {
  std::string text;
  AppendReadableNumber(text, format, number);
  return text;
}

bool IsPointInTime(FormatType type) { return IsDateFormat(type) || type == kFormatDateTime; }

}  // namespace

std::string ReadableCount(long long count) { return Formatted(kCountFormat, static_cast<double>(count)); }

std::string ReadableWeight(double weight) {
  return std::trunc(weight) == weight ? Formatted(kCountFormat, weight)
                                      : Formatted(QUAV_Format(kFormatComma, 20, 2), weight);
}

std::string ReadablePercent(double part, double whole) {
  if (!(whole > 0)) return {};
  return Formatted(QUAV_Format(kFormatNumber, 8, 1), 100 * part / whole) + " %";
}

std::string ReadableValue(QUAV_Format format, double number) {
  std::string text;
  if (!AppendReadableTime(text, format.Type(), number)) AppendReadableNumber(text, format, number);
  return text;
}

std::string ReadableMean(QUAV_Format format, double number) {
  std::string text;
  return AppendReadableTime(text, format.Type(), std::round(number)) ? text : ReadableNumber(number);
}

std::string ReadableDeviation(QUAV_Format format, double number) {
  if (IsPointInTime(format.Type()) || (IsTimeFormat(format.Type()) && number >= kSecondsPerDay))
    return ReadableNumber(number / kSecondsPerDay) + " days";
  return ReadableNumber(number) + (IsTimeFormat(format.Type()) ? " s" : "");
}

std::string ReadableNumber(double number) {
  if (number == 0) return "0";
  const double size = std::log10(std::abs(number));
  if (!std::isfinite(number) || size >= 15 || size < -kMostDecimals + kDigits) {
    std::string text(NonFiniteName(number));
    if (text.empty()) AppendReadableNumber(text, QUAV_Format(kFormatScientific, 20, kDigits - 1), number);
    return text;
  }
  const int decimals = std::clamp(kDigits - 1 - static_cast<int>(std::floor(size)), 0, kMostDecimals);
  std::string text = Formatted(QUAV_Format(kFormatComma, 40, decimals), number);
  if (decimals == 0) return text;
  text.resize(text.find_last_not_of('0') + 1);
  if (text.back() == '.') text.pop_back();
  return text;
}

}  // namespace tool
