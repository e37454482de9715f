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

constexpr std::size_t kMostStrangers = 3;
constexpr std::size_t kLongestStranger = 32;  // in bytes
// So many more than values of the kind. A column of a few texts ends the search here.
constexpr long long kMostStrangeValues = 100'000;
const std::vector<std::string> kNoStrangers;

// Returns true for texts by which people say that there is no value.
bool MeansNoValue(std::string_view text) {
  constexpr std::string_view kTexts[] = {"na",      "n/a",     "#n/a", "n.a.", "nan", "null", "none", "nil",
                                         "missing", "unknown", ".",    "-",    "--",  "?",    "*"};
  return std::ranges::any_of(kTexts, [text](std::string_view one) {
    const auto isSame = [](char a, char b) { return a == ('A' <= b && b <= 'Z' ? b - 'A' + 'a' : b); };
    return std::ranges::equal(one, text, isSame);
  });
}

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
  if (!m_strangers.empty() && std::ranges::find(m_strangers, value) != m_strangers.end()) {
    CountStranger();
    return;
  }
  const std::string_view text = m_mark.WithPoint(value);
  const bool isNumber = (m_kind == Kind::none || m_kind == Kind::number) && LookAtNumber(text);
  if (isNumber || (m_kind != Kind::number && LookAtTime(text))) {
    ++m_fitting;
  } else {
    LookAtStranger(value);
  }
}

void ColumnTyper::LookAtStranger(std::string_view value) {
  const bool isTaken = value.size() <= kLongestStranger && !IsOfOtherKind(value) && TakeStranger(std::string(value));
  if (!isTaken) m_kind = Kind::text;
  CountStranger();
}

// Returns false when there are too many different ones.
bool ColumnTyper::TakeStranger(const std::string& value) {
  if (std::ranges::find(m_strangers, value) != m_strangers.end()) return true;
  if (m_strangers.size() == kMostStrangers) return false;
  m_strangers.push_back(value);
  return true;
}

// In a part of the column, the values before it decide whether there are too many.
void ColumnTyper::CountStranger() {
  m_excess = std::max(m_excess, ++m_strange - m_fitting);
  if (m_values == Values::all && m_excess > kMostStrangeValues) m_kind = Kind::text;
}

// A value is a number, a date or time, or a stranger, whatever comes before it. So what a part finds alone is what it
// would have found after the others, but for the kind that both have together, and the number of strangers.
void ColumnTyper::LookAtAll(const ColumnTyper& part) {
  m_widest = std::max(m_widest, part.m_widest);
  if (m_kind == Kind::text) return;
  m_kind = Joined(m_kind, part.m_kind);
  if (!std::ranges::all_of(part.m_strangers, [this](const std::string& value) { return TakeStranger(value); }))
    m_kind = Kind::text;
  m_excess = std::max(m_excess, m_strange - m_fitting + part.m_excess);
  if (m_values == Values::all && m_excess > kMostStrangeValues) m_kind = Kind::text;
  m_isExact = m_isExact && part.m_isExact;
  m_wholeDigits = std::max(m_wholeDigits, part.m_wholeDigits);
  m_decimals = std::max(m_decimals, part.m_decimals);
  m_fitting += part.m_fitting;
  m_strange += part.m_strange;
}

// Returns the kind of a column that has values of both.
ColumnTyper::Kind ColumnTyper::Joined(Kind a, Kind b) {
  if (a == b || b == Kind::none) return a;
  if (a == Kind::none) return b;
  const auto hasDate = [](Kind kind) { return kind == Kind::date || kind == Kind::dateTime; };
  return hasDate(a) && hasDate(b) ? Kind::dateTime : Kind::text;
}

// Returns true for a number among dates or times, and the other way round: nobody means "no value" by that.
bool ColumnTyper::IsOfOtherKind(std::string_view value) {
  const std::string_view text = m_mark.WithPoint(value);
  NumberSyntax syntax;
  return ParseNumber(text, syntax) || ReadIsoText(text).kind != IsoKind::none;
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
  if (m_kind == Kind::none && m_strangers.empty()) return {.format = kDefaultNumericFormat};
  if (!m_strangers.empty()) return {.width = m_widest, .strangers = AreStrangersFew() ? m_strangers : kNoStrangers};
  const bool isNumber = m_kind == Kind::number;
  if (m_kind != Kind::text && m_isExact) return {.format = isNumber ? NumberFormat() : TimeFormat()};
  return {.width = m_widest, .looksNumeric = isNumber, .looksTimed = !isNumber && m_kind != Kind::text};
}

bool ColumnTyper::AreStrangersFew() const {
  if (m_kind == Kind::none || m_kind == Kind::text || !m_isExact) return false;
  return m_fitting > m_strange || std::ranges::all_of(m_strangers, MeansNoValue);
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
