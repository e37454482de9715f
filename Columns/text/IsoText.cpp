#include "Columns/text/IsoText.h"

#include <array>
#include <charconv>
#include <cmath>
#include <string_view>

#include "Columns/text/NumberText.h"
#include "datasrc/Calendar.h"

namespace dstext {

namespace {

constexpr long long kSecondsPerMinute = 60;
constexpr long long kSecondsPerHour = 3600;
constexpr long long kSecondsPerDay = 86400;

struct ClockTime {
  long long hours;
  long long minutes;
  long long seconds;
};

ClockTime ClockOf(long long secondsOfDay) {
  return {secondsOfDay / kSecondsPerHour, secondsOfDay % kSecondsPerHour / kSecondsPerMinute,
          secondsOfDay % kSecondsPerMinute};
}

void AppendPadded(std::string& out, long long number, int digits) {
  for (long long limit = 10; --digits > 0; limit *= 10) {
    if (number < limit) out += '0';
  }
  AppendInteger(out, number);
}

// Appends the fraction, with its point, from the shortest text that reads back to the value.
void AppendFraction(std::string& out, double value) {
  std::array<char, 400> buffer;  // 5e-324 has 324 decimals
  char* const end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::fixed).ptr;
  const std::string_view text(buffer.data(), end);
  const std::size_t point = text.find('.');
  if (point != std::string_view::npos) out += text.substr(point);
}

void AppendClock(std::string& out, const ClockTime& clock, double value) {
  AppendPadded(out, clock.hours, 2);
  out += ':';
  AppendPadded(out, clock.minutes, 2);
  out += ':';
  AppendPadded(out, clock.seconds, 2);
  AppendFraction(out, value);
}

enum class TimeOfDay { always, whenThereIsOne };

bool AppendDate(std::string& out, double value, TimeOfDay timeOfDay, char between) {
  long day = 0;
  long month = 0;
  long year = 0;
  if (iQuav2DMY(value, &day, &month, &year, nullptr, nullptr, nullptr) == 0) return false;
  AppendPadded(out, year, 4);
  out += '-';
  AppendPadded(out, month, 2);
  out += '-';
  AppendPadded(out, day, 2);
  if (timeOfDay == TimeOfDay::whenThereIsOne && std::fmod(value, double{kSecondsPerDay}) == 0) return true;
  out += between;
  AppendClock(out, ClockOf(static_cast<long long>(value) % kSecondsPerDay), value);
  return true;
}

void AppendDuration(std::string& out, double seconds) {
  const auto whole = static_cast<long long>(seconds);
  const ClockTime clock = ClockOf(whole % kSecondsPerDay);
  out += 'P';
  AppendInteger(out, whole / kSecondsPerDay);
  out += "DT";
  AppendInteger(out, clock.hours);
  out += 'H';
  AppendInteger(out, clock.minutes);
  out += 'M';
  AppendInteger(out, clock.seconds);
  AppendFraction(out, seconds);
  out += 'S';
}

bool AppendTime(std::string& out, double value) {
  if (!(std::abs(value) < kLongestDuration)) return false;
  if (!std::signbit(value) && value < double{kSecondsPerDay}) {
    AppendClock(out, ClockOf(static_cast<long long>(value)), value);
    return true;
  }
  if (std::signbit(value)) out += '-';
  AppendDuration(out, std::abs(value));
  return true;
}

bool AppendDateOrTime(std::string& out, FormatType format, double value, char between) {
  if (IsDateFormat(format)) return AppendDate(out, value, TimeOfDay::whenThereIsOne, between);
  if (format == kFormatDateTime) return AppendDate(out, value, TimeOfDay::always, between);
  return IsTimeFormat(format) && AppendTime(out, value);
}

}  // namespace

bool AppendIsoText(std::string& out, FormatType format, double value) {
  // A date has no sign, so it would read back as the positive zero.
  const bool isDate = IsDateFormat(format) || format == kFormatDateTime;
  if (value == 0 && std::signbit(value) && isDate) return false;
  return AppendDateOrTime(out, format, value, 'T');
}

bool AppendReadableTime(std::string& out, FormatType format, double value) {
  return AppendDateOrTime(out, format, value, ' ');
}

}  // namespace dstext
