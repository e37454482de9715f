#include "Columns/text/IsoReader.h"

#include <algorithm>
#include <chrono>
#include <optional>
#include <string>

#include "Columns/text/IsoText.h"
#include "Columns/text/NumberSyntax.h"
#include "Columns/text/NumberText.h"
#include "datasrc/Calendar.h"

namespace dstext {

namespace {

constexpr std::size_t kDateSize = 10;  // 2024-03-14
constexpr std::size_t kMostDayDigits = 12;
constexpr long kSecondsOfMinute = 60;
constexpr long kMinutesOfHour = 60;
constexpr long kHoursOfDay = 24;

// Consumes a text from the left. When an expected part is missing, the scanner fails for good.
class Scanner {
 public:
  explicit Scanner(std::string_view text) : m_rest(text) {}

  bool IsGood() const { return m_isGood; }
  bool IsDone() const { return m_isGood && m_rest.empty(); }
  bool Takes(char c) {
    if (m_rest.empty() || m_rest.front() != c) return false;
    m_rest.remove_prefix(1);
    return true;
  }
  void Expect(char c) { m_isGood = Takes(c) && m_isGood; }
  // Reads a number of `least` to `most` digits, which must be below the limit.
  long Number(std::size_t least, std::size_t most, long limit) {
    std::size_t size = 0;
    long number = 0;
    for (; size < std::min(most, m_rest.size()) && IsDigit(m_rest[size]); ++size)
      number = 10 * number + (m_rest[size] - '0');
    m_rest.remove_prefix(size);
    m_isGood = m_isGood && size >= least && number < limit;
    return number;
  }
  // Reads the point and the digits after it; empty when there is no point.
  std::string_view Fraction() {
    if (m_rest.empty() || m_rest.front() != '.') return {};
    const auto end = std::find_if_not(m_rest.begin() + 1, m_rest.end(), IsDigit);
    const std::string_view fraction(m_rest.begin(), end);
    m_isGood = m_isGood && fraction.size() > 1;
    m_rest.remove_prefix(fraction.size());
    return fraction;
  }

 private:
  std::string_view m_rest;
  bool m_isGood = true;
};

struct Clock {
  long hour = 0;
  long minute = 0;
  long second = 0;
  std::string_view fraction = {};

  double Seconds() const { return static_cast<double>((hour * kMinutesOfHour + minute) * kSecondsOfMinute + second); }
};

// Joins whole seconds and their fraction into one value, so that it is rounded only once.
IsoValue Value(IsoKind kind, double seconds, std::string_view fraction, bool isNegative = false) {
  IsoValue value{.kind = kind, .value = isNegative ? -seconds : seconds};
  if (fraction.empty()) return value;
  std::string text = isNegative ? "-" : "";
  AppendInteger(text, static_cast<long long>(seconds));
  text += fraction;
  NumberSyntax syntax;
  ParseNumber(text, syntax);
  const std::optional<double> number = NumberValue(text, syntax);
  if (!number) return {};
  value.value = *number;
  value.decimals = syntax.decimals;
  value.comesBack = ComesBack(text, syntax);
  return value;
}

Clock ReadClock(Scanner& in) {
  Clock clock;
  clock.hour = in.Number(2, 2, kHoursOfDay);
  in.Expect(':');
  clock.minute = in.Number(2, 2, kMinutesOfHour);
  in.Expect(':');
  clock.second = in.Number(2, 2, kSecondsOfMinute);
  clock.fraction = in.Fraction();
  return clock;
}

IsoValue ReadDate(std::string_view text) {
  Scanner in(text);
  const long year = in.Number(4, 4, 10000);
  in.Expect('-');
  const long month = in.Number(2, 2, 13);
  in.Expect('-');
  const long day = in.Number(2, 2, 32);
  const bool hasTime = text.size() > kDateSize;
  Clock clock;
  if (hasTime) {
    if (!in.Takes('T')) in.Expect(' ');
    clock = ReadClock(in);
  }
  const std::chrono::year_month_day date{std::chrono::year(static_cast<int>(year)),
                                         std::chrono::month(static_cast<unsigned>(month)),
                                         std::chrono::day(static_cast<unsigned>(day))};
  // The library would read 31 February as 3 March.
  if (!in.IsDone() || !date.ok()) return {};
  double seconds = 0;
  const auto second = static_cast<double>(clock.second);
  if (iDMY2Quav(day, month, year, clock.hour, clock.minute, second, &seconds) == 0) return {};
  return Value(hasTime ? IsoKind::dateTime : IsoKind::date, seconds, clock.fraction);
}

IsoValue ReadTime(std::string_view text) {
  Scanner in(text);
  const Clock clock = ReadClock(in);
  return in.IsDone() ? Value(IsoKind::time, clock.Seconds(), clock.fraction) : IsoValue{};
}

IsoValue ReadDuration(std::string_view text) {
  Scanner in(text);
  const bool isNegative = in.Takes('-');
  in.Expect('P');
  const long days = in.Number(1, kMostDayDigits, 1'000'000'000'000);
  in.Expect('D');
  in.Expect('T');
  Clock clock;
  clock.hour = in.Number(1, 2, kHoursOfDay);
  in.Expect('H');
  clock.minute = in.Number(1, 2, kMinutesOfHour);
  in.Expect('M');
  clock.second = in.Number(1, 2, kSecondsOfMinute);
  clock.fraction = in.Fraction();
  in.Expect('S');
  if (!in.IsDone()) return {};
  const double seconds = static_cast<double>(days * kHoursOfDay * kMinutesOfHour * kSecondsOfMinute) + clock.Seconds();
  if (seconds >= kLongestDuration) return {};
  return Value(IsoKind::time, seconds, clock.fraction, isNegative);
}

}  // namespace

IsoValue ReadIsoText(std::string_view text) {
  if (text.empty()) return {};
  if (text.front() == 'P' || text.front() == '-') return ReadDuration(text);
  if (text.size() > 2 && text[2] == ':') return ReadTime(text);
  return text.size() >= kDateSize && text[4] == '-' ? ReadDate(text) : IsoValue{};
}

}  // namespace dstext
