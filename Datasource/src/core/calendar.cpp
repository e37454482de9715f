// The day number counts years from March, so the leap day is the last day of its year and the lengths of the months
// repeat: 153 days in 5 months. A century has 146097 / 4 days and a year in it 1461 / 4, both cut to whole days.

#include "datasrc/Calendar.h"

#include <cmath>
#include <ctime>

namespace {

constexpr double kSecondsPerDay = 86400.0;
constexpr double kSecondsPerHour = 3600.0;
constexpr double kSecondsPerMinute = 60.0;
constexpr double kEndOfTime = 265621680000.0;  // midnight of 1 January 10000
constexpr double kEndOfDuration = 2678400.0;   // 31 days
constexpr long kDaysPer4Centuries = 146097;
constexpr long kDaysPer4Years = 1461;
constexpr long kDaysPer5Months = 153;  // from March on: 31 30 31 30 31
constexpr long kDayZero = 578041;      // 14 October 1582, where 1 March of the year 0 is day 1

bool InRange(long value, long first, long last) { return first <= value && value <= last; }

// Returns false for a NaN.
bool IsBelow(double value, double end) { return 0.0 <= value && value < end; }

template <class T>
void Store(T* output, T value) {
  if (output) *output = value;
}

void StoreTimeOfDay(double value, long* hour, long* minute, double* second) {
  const double secondOfDay = std::fmod(value, kSecondsPerDay);
  const long minuteOfDay = static_cast<long>(std::floor(secondOfDay / kSecondsPerMinute));
  Store(hour, minuteOfDay / 60);
  Store(minute, minuteOfDay % 60);
  Store(second, std::fmod(secondOfDay, kSecondsPerMinute));
}

void StoreDate(double value, long* day, long* month, long* year) {
  const long dayNumber = static_cast<long>(std::floor(value / kSecondsPerDay));
  const long quarters = 4 * dayNumber + (4 * kDayZero - 1);
  const long century = quarters / kDaysPer4Centuries;
  const long quartersOfCentury = (quarters % kDaysPer4Centuries) | 3;
  const long yearOfCentury = quartersOfCentury / kDaysPer4Years;
  const long dayOfYear = quartersOfCentury % kDaysPer4Years / 4 + 1;
  const long marchMonth = (5 * dayOfYear - 3) / kDaysPer5Months;
  const bool isNextYear = marchMonth > 9;
  Store(day, (5 * dayOfYear - kDaysPer5Months * marchMonth + 2) / 5);
  Store(month, isNextYear ? marchMonth - 9 : marchMonth + 3);
  Store(year, 100 * century + yearOfCentury + isNextYear);
}

}  // namespace

int iDMY2Quav(long day, long month, long year, long hour, long minute, double second, double* result) {
  const bool isDate = InRange(year, 1582, 9999) && InRange(month, 1, 12) && InRange(day, 1, 31);
  const bool isTime = InRange(hour, 0, 23) && InRange(minute, 0, 59) && IsBelow(second, kSecondsPerMinute);
  if (!isDate || !isTime) return 0;
  const bool isBeforeMarch = month <= 2;
  const long marchMonth = isBeforeMarch ? month + 9 : month - 3;
  const long marchYear = isBeforeMarch ? year - 1 : year;
  const long century = marchYear / 100;
  const long yearOfCentury = marchYear % 100;
  const long days = day + kDaysPer4Centuries * century / 4 - kDayZero + (kDaysPer5Months * marchMonth + 2) / 5 +
                    kDaysPer4Years * yearOfCentury / 4;
  if (days < 0) return 0;
  *result = static_cast<double>(days) * kSecondsPerDay + static_cast<double>(hour) * kSecondsPerHour +
            static_cast<double>(minute) * kSecondsPerMinute + second;
  return 1;
}

int iHMS2Quav(long hours, long minutes, double seconds, double* result) {
  if (!InRange(hours, 0, 743) || !InRange(minutes, 0, 59) || !IsBelow(seconds, kSecondsPerMinute)) return 0;
  *result = static_cast<double>(hours * 60 + minutes) * kSecondsPerMinute + seconds;
  return 1;
}

int iQuav2DMY(double value, long* day, long* month, long* year, long* hour, long* minute, double* second) {
  if (!IsBelow(value, kEndOfTime)) return 0;
  if (hour || minute || second) StoreTimeOfDay(value, hour, minute, second);
  if (day || month || year) StoreDate(value, day, month, year);
  return 1;
}

int iQuav2HMS(double value, long* hours, long* minutes, double* seconds) {
  if (!IsBelow(value, kEndOfDuration)) return 0;
  StoreTimeOfDay(value, hours, minutes, seconds);
  return 1;
}

void vQuavTimestampNow(double* result) {
  const std::time_t now = std::time(nullptr);
  std::tm local;
  if (localtime_r(&now, &local) == nullptr) {
    iDMY2Quav(1, 2, 1975, 12, 0, 0.0, result);  // clearly in the past
    return;
  }
  // A leap second is refused: then the result does not change.
  iDMY2Quav(local.tm_mday, local.tm_mon + 1, local.tm_year + 1900L, local.tm_hour, local.tm_min, local.tm_sec, result);
}
