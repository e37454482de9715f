#include "tools/csv/ColumnTyper.h"

#include <algorithm>
#include <cstdint>

#include "Columns/text/IsoReader.h"
#include "Columns/text/NumberSyntax.h"

namespace tool {

using namespace dstext;

namespace {

constexpr int kWidestFormat = 40;
constexpr int kMostDecimals = 16;
constexpr int kScientificExtra = 8;  // sign, digit, point, e+100
constexpr int kDateWidth = 11;       // 14-MAR-2024
constexpr int kDateTimeWidth = 20;   // 14-MAR-2024 10:20:30
constexpr int kTimeWidth = 8;        // 10:20:30

// Returns the decimals of the number when it is written without an exponent.
int ShownDecimals(const NumberSyntax& number) { return std::max(number.decimals - number.exponent, 0); }

int ShownWholeDigits(const NumberSyntax& number) {
  return std::max(number.wholeDigits + number.exponent, 1) + int{number.isNegative};
}

}  // namespace

void ColumnTyper::Look(std::string_view value) {
  if (value.empty()) return;
  m_widest = std::max(m_widest, value.size());
  if (m_kind == Kind::text) return;
  const bool isNumber = (m_kind == Kind::none || m_kind == Kind::number) && LookAtNumber(value);
  if (!isNumber && (m_kind == Kind::number || !LookAtTime(value))) m_kind = Kind::text;
}

bool ColumnTyper::LookAtNumber(std::string_view value) {
  if (std::uint64_t whole = 0; ParseShortWhole(value, whole)) {
    m_kind = Kind::number;
    m_wholeDigits = std::max(m_wholeDigits, static_cast<int>(value.size()));
    return true;
  }
  NumberSyntax number;
  if (!ParseNumber(value, number)) return false;
  m_kind = Kind::number;
  if (number.hasLeadingZeros || !ComesBack(value, number)) m_isExact = false;
  m_wholeDigits = std::max(m_wholeDigits, ShownWholeDigits(number));
  m_decimals = std::max(m_decimals, ShownDecimals(number));
  return true;
}

bool ColumnTyper::LookAtTime(std::string_view value) {
  const IsoValue time = ReadIsoText(value);
  const auto is = [&time](IsoKind kind) { return time.kind == kind; };
  const auto was = [this](Kind kind) { return m_kind == kind; };
  if (is(IsoKind::time) && (was(Kind::none) || was(Kind::time))) {
    m_kind = Kind::time;
  } else if (is(IsoKind::date) && (was(Kind::none) || was(Kind::date))) {
    m_kind = Kind::date;
  } else if ((is(IsoKind::date) || is(IsoKind::dateTime)) && !was(Kind::time)) {
    m_kind = Kind::dateTime;
  } else {
    return false;
  }
  if (!time.comesBack) m_isExact = false;
  m_decimals = std::max(m_decimals, time.decimals);
  return true;
}

ColumnType ColumnTyper::Type() const {
  if (m_kind == Kind::none) return {.format = kDefaultNumericFormat};
  const bool isNumber = m_kind == Kind::number;
  if (m_kind != Kind::text && m_isExact) return {.format = isNumber ? NumberFormat() : TimeFormat()};
  return {.width = m_widest, .looksNumeric = isNumber, .looksTimed = !isNumber && m_kind != Kind::text};
}

QUAV_Format ColumnTyper::NumberFormat() const {
  const int decimals = std::min(m_decimals, kMostDecimals);
  const int width = m_wholeDigits + (decimals == 0 ? 0 : 1 + decimals);
  if (width <= kWidestFormat) return {kFormatNumber, width, decimals};
  return {kFormatScientific, decimals + kScientificExtra, decimals};
}

QUAV_Format ColumnTyper::TimeFormat() const {
  const int decimals = std::min(m_decimals, kMostDecimals);
  const int fraction = decimals == 0 ? 0 : 1 + decimals;
  if (m_kind == Kind::date) return {kFormatDate, kDateWidth, 0};
  if (m_kind == Kind::dateTime) return {kFormatDateTime, kDateTimeWidth + fraction, decimals};
  // The ISO text of a duration is longer than its hours, minutes and seconds.
  const auto whole = std::max(static_cast<int>(m_widest) - fraction, kTimeWidth);
  return {kFormatTime, std::min(whole + fraction, kWidestFormat), decimals};
}

}  // namespace tool
