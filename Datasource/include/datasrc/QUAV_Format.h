// Print and write formats, as callers see them.
//
// A format has 32 bits: the width in columns in the low 16, the type in the next 8, the decimals in the high 8.
//
// Threads: any; formats are plain values.

#ifndef DATASRC_QUAV_FORMAT_H
#define DATASRC_QUAV_FORMAT_H

#include <cstdint>

#include "Platform/Export.h"

// Format: system files have these numbers. A file may have others; the library keeps them.
enum FormatType : int {
  kFormatString = 1,
  kFormatHexString = 2,  // two columns for each byte
  kFormatComma = 3,
  kFormatDollar = 4,
  kFormatNumber = 5,
  kFormatScientific = 17,
  kFormatDate = 20,
  kFormatTime = 21,
  kFormatDateTime = 22,
  kFormatMonthFirstDate = 23,
  kFormatDayOfYear = 24,
  kFormatDaysAndTime = 25,
  kFormatWeekday = 26,
  kFormatMonth = 27,
  kFormatMonthAndYear = 28,
  kFormatQuarterAndYear = 29,
  kFormatWeekAndYear = 30,
  kFormatPercent = 31,
  kFormatDot = 32,
  kFormatCurrencyA = 33,
  kFormatCurrencyB = 34,
  kFormatCurrencyC = 35,
  kFormatCurrencyD = 36,
  kFormatCurrencyE = 37,
  kFormatDayFirstDate = 38,
  kFormatYearFirstDate = 39,
};

// Returns whether values of the type are points in time, shown with a date (the group of icons for dates).
constexpr bool IsDateFormat(FormatType type) {
  return type == 20 || type == 23 || type == 24 || (28 <= type && type <= 30) || type == 38 || type == 39;
}
// Returns whether values of the type are shown with a time of day: a time, a date and time, days and time.
constexpr bool IsTimeFormat(FormatType type) { return type == 21 || type == 22 || type == 25; }
constexpr bool IsStringFormat(FormatType type) { return type == kFormatString || type == kFormatHexString; }

struct QUAV_Format {
  std::uint32_t bits = 0;

  constexpr QUAV_Format() = default;
  explicit constexpr QUAV_Format(std::uint32_t theBits) : bits(theBits) {}
  // Each argument is truncated to the bits of its field.
  constexpr QUAV_Format(FormatType type, int width, int decimals)
      : bits((static_cast<std::uint32_t>(decimals) & 0xFF) << 24 | (static_cast<std::uint32_t>(type) & 0xFF) << 16 |
             (static_cast<std::uint32_t>(width) & 0xFFFF)) {}

  constexpr FormatType Type() const { return static_cast<FormatType>(bits >> 16 & 0xFF); }
  constexpr int Width() const { return static_cast<int>(bits & 0xFFFF); }
  constexpr int Decimals() const { return static_cast<int>(bits >> 24); }

  bool operator==(const QUAV_Format&) const = default;
};
static_assert(sizeof(QUAV_Format) == 4);

inline constexpr QUAV_Format kDefaultNumericFormat{kFormatNumber, 8, 2};

#endif
