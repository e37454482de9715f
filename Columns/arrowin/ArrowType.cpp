#include "Columns/arrowin/ArrowType.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace arrowin {

namespace {

using Kind = ArrowType::Kind;

constexpr int kWidestNumber = 40;
constexpr int kMostDecimals = 16;

constexpr QUAV_Format kDateFormat{kFormatDate, 11, 0};

// "21:34:59" and "01-FEB-2003 21:34:59", each with a point and decimals if the unit is finer than a second.
QUAV_Format TimeFormat(FormatType type, int width, std::int64_t perSecond) {
  constexpr std::int64_t kMilliseconds = 1000;
  if (perSecond == 1) return {type, width, 0};
  const int decimals = perSecond == kMilliseconds ? 3 : 6;
  return {type, width + 1 + decimals, decimals};
}

ArrowType Integer(int bits, bool isSigned) {
  constexpr std::array kDigits{3, 5, 10, 20};  // of 8, 16, 32 and 64 bits
  const std::size_t size = bits == 8 ? 0 : bits == 16 ? 1 : bits == 32 ? 2 : 3;
  return {.kind = Kind::integer,
          .bits = bits,
          .isSigned = isSigned,
          .format = {kFormatNumber, kDigits[size] + (isSigned ? 1 : 0), 0}};
}

std::optional<ArrowType> OneLetter(char letter) {
  switch (letter) {
    case 'n':
      return ArrowType{.kind = Kind::null};
    case 'b':
      return ArrowType{.kind = Kind::boolean, .bits = 1, .format = {kFormatNumber, 1, 0}};
    case 'c':
      return Integer(8, true);
    case 'C':
      return Integer(8, false);
    case 's':
      return Integer(16, true);
    case 'S':
      return Integer(16, false);
    case 'i':
      return Integer(32, true);
    case 'I':
      return Integer(32, false);
    case 'l':
      return Integer(64, true);
    case 'L':
      return Integer(64, false);
    case 'e':
      return ArrowType{.kind = Kind::real, .bits = 16};
    case 'f':
      return ArrowType{.kind = Kind::real, .bits = 32};
    case 'g':
      return ArrowType{.kind = Kind::real, .bits = 64};
    case 'u':
      return ArrowType{.kind = Kind::text, .bits = 32};
    case 'U':
      return ArrowType{.kind = Kind::text, .bits = 64};
    default:
      return std::nullopt;
  }
}

std::optional<std::int64_t> TicksPerSecond(char unit) {
  switch (unit) {
    case 's':
      return 1;
    case 'm':
      return 1'000;
    case 'u':
      return 1'000'000;
    case 'n':
      return 1'000'000'000;
    default:
      return std::nullopt;
  }
}

// "tdD", "tdm", "ttu", "tsn:Europe/Berlin", "tDs"
std::optional<ArrowType> Temporal(std::string_view format) {
  constexpr int kTimeWidth = 8;
  constexpr int kDateTimeWidth = 20;
  if (format == "tdD") return ArrowType{.kind = Kind::days, .bits = 32, .format = kDateFormat};
  if (format == "tdm") return ArrowType{.kind = Kind::timestamp, .bits = 64, .perSecond = 1000, .format = kDateFormat};
  if (format.size() < 3) return std::nullopt;
  const std::optional<std::int64_t> perSecond = TicksPerSecond(format[2]);
  if (!perSecond) return std::nullopt;
  ArrowType type{.bits = 64, .perSecond = *perSecond};
  switch (format[1]) {
    case 's':
      if (format.size() < 4 || format[3] != ':') return std::nullopt;
      type.kind = Kind::timestamp;
      type.zone = format.substr(4);
      type.format = TimeFormat(kFormatDateTime, kDateTimeWidth, *perSecond);
      return type;
    case 't':
      type.bits = *perSecond <= 1000 ? 32 : 64;
      [[fallthrough]];
    case 'D':
      if (format.size() != 3) return std::nullopt;
      type.kind = Kind::time;
      type.format = TimeFormat(kFormatTime, kTimeWidth, *perSecond);
      return type;
    default:
      return std::nullopt;
  }
}

// "d:19,10" and "d:19,10,64": digits, digits after the point, bits
std::optional<ArrowType> Decimal(std::string_view format) {
  std::array<int, 3> numbers{0, 0, 128};
  std::size_t count = 0;
  for (const char* at = format.data(); count < numbers.size(); ++count, ++at) {
    const auto [end, error] = std::from_chars(at, format.data() + format.size(), numbers[count]);
    if (error != std::errc()) return std::nullopt;
    at = end;
    if (at == format.data() + format.size()) {
      ++count;
      break;
    }
    if (*at != ',' || count == 2) return std::nullopt;
  }
  const auto [digits, scale, bits] = numbers;
  constexpr int kMostDigits = 76;  // of 256 bits
  if (count < 2 || digits < 1 || digits > kMostDigits || scale < -kMostDigits || kMostDigits < scale)
    return std::nullopt;
  if (bits != 32 && bits != 64 && bits != 128 && bits != 256) return std::nullopt;
  const int width = digits + 2;  // and a sign and a point
  const bool fits = width <= kWidestNumber && scale >= 0 && scale <= kMostDecimals && scale <= digits;
  return ArrowType{.kind = Kind::decimal,
                   .bits = bits,
                   .scale = scale,
                   .format = fits ? QUAV_Format{kFormatNumber, width, scale} : kDefaultNumericFormat};
}

}  // namespace

std::optional<ArrowType> ParseArrowType(std::string_view format) {
  if (format.size() == 1) return OneLetter(format.front());
  if (format == "vu") return ArrowType{.kind = Kind::textView};
  if (format.starts_with("d:")) return Decimal(format.substr(2));
  if (format.starts_with('t')) return Temporal(format);
  return std::nullopt;
}

}  // namespace arrowin
