#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <ctime>
#include <limits>
#include <ostream>

#include "datasrc/Calendar.h"

// What localtime_r finds instead of the local time; null for a failure. The library finds this function before the
// system's.
static bool theClockIsReplaced = false;
static std::tm* theLocalTime = nullptr;

std::tm* localtime_r(const std::time_t* clock, std::tm* result) noexcept {
  const std::tm* const local = theClockIsReplaced ? theLocalTime : std::localtime(clock);
  if (local == nullptr) return nullptr;
  *result = *local;
  return result;
}

namespace calendar_test {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kEndOfTime = 265621680000.0;
constexpr double kSecondsPerDay = 86400.0;

struct Moment {
  long day = -1, month = -1, year = -1, hour = -1, minute = -1;
  double second = -1;

  bool operator==(const Moment&) const = default;
  friend std::ostream& operator<<(std::ostream& out, const Moment& m) {
    return out << m.year << "-" << m.month << "-" << m.day << " " << m.hour << ":" << m.minute << ":" << m.second;
  }
};

int ToValue(const Moment& m, double* result) {
  return iDMY2Quav(m.day, m.month, m.year, m.hour, m.minute, m.second, result);
}

int ToMoment(double value, Moment& m) {
  return iQuav2DMY(value, &m.day, &m.month, &m.year, &m.hour, &m.minute, &m.second);
}

constexpr bool IsLeapYear(long year) { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); }

long DaysOfMonth(long month, long year) {
  constexpr long kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && IsLeapYear(year) ? 29 : kDays[month - 1];
}

// ---- Fields to value ----

TEST(Calendar, ConvertsMomentsAndBack) {
  struct Row {
    const char* name;
    Moment moment;
    double value;
  };
  const Row rows[] = {
      {"day 0", {14, 10, 1582, 0, 0, 0.0}, 0.0},
      {"first day of the calendar", {15, 10, 1582, 0, 0, 0.0}, 86400.0},
      {"first second", {14, 10, 1582, 0, 0, 1.0}, 1.0},
      {"time of day", {14, 10, 1582, 1, 2, 3.5}, 3723.5},
      {"1 January 1970", {1, 1, 1970, 0, 0, 0.0}, 12219379200.0},
      {"leap day", {29, 2, 2000, 0, 0, 0.0}, 13171161600.0},
      {"1900 has no leap day", {1, 3, 1900, 0, 0, 0.0}, 10015488000.0},
      {"the last second", {31, 12, 9999, 23, 59, 59.0}, kEndOfTime - 1},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    double value = -1;
    EXPECT_EQ(1, ToValue(row.moment, &value));
    EXPECT_EQ(row.value, value);
    Moment back;
    EXPECT_EQ(1, ToMoment(value, back));
    EXPECT_EQ(row.moment, back);
  }
}

TEST(Calendar, RejectsFieldsOutOfRangeAndWritesNothing) {
  struct Row {
    const char* name;
    Moment moment;
  };
  const Row rows[] = {
      {"the day before day 0", {13, 10, 1582, 0, 0, 0.0}},
      {"September 1582", {30, 9, 1582, 0, 0, 0.0}},
      {"January 1582", {1, 1, 1582, 0, 0, 0.0}},
      {"year 1581", {31, 12, 1581, 0, 0, 0.0}},
      {"year 10000", {1, 1, 10000, 0, 0, 0.0}},
      {"greatest year", {1, 1, LONG_MAX, 0, 0, 0.0}},
      {"least year", {1, 1, LONG_MIN, 0, 0, 0.0}},
      {"month 0", {1, 0, 2000, 0, 0, 0.0}},
      {"month 13", {1, 13, 2000, 0, 0, 0.0}},
      {"day 0 of a month", {0, 1, 2000, 0, 0, 0.0}},
      {"day 32", {32, 1, 2000, 0, 0, 0.0}},
      {"hour -1", {1, 1, 2000, -1, 0, 0.0}},
      {"hour 24", {1, 1, 2000, 24, 0, 0.0}},
      {"minute -1", {1, 1, 2000, 0, -1, 0.0}},
      {"minute 60", {1, 1, 2000, 0, 60, 0.0}},
      {"negative second", {1, 1, 2000, 0, 0, -0.001}},
      {"second 60", {1, 1, 2000, 0, 0, 60.0}},
      {"second NaN", {1, 1, 2000, 0, 0, kNaN}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    double value = -1;
    EXPECT_EQ(0, ToValue(row.moment, &value));
    EXPECT_EQ(-1, value);
  }
}

TEST(Calendar, DoesNotCheckTheLengthOfAMonth) {
  double value;
  Moment moment;
  ASSERT_EQ(1, ToValue({31, 2, 2001, 0, 0, 0.0}, &value));
  ASSERT_EQ(1, ToMoment(value, moment));
  EXPECT_EQ((Moment{3, 3, 2001, 0, 0, 0.0}), moment);
}

TEST(Calendar, FractionOfTheLastSecondRoundTrips) {
  const Moment last{31, 12, 9999, 23, 59, 59.5};
  double value;
  Moment moment;
  ASSERT_EQ(1, ToValue(last, &value));
  ASSERT_EQ(1, ToMoment(value, moment));
  EXPECT_EQ(last, moment);
}

TEST(Calendar, EveryDayRoundTrips) {
  double expected = 0;
  Moment moment{14, 10, 1582, 0, 0, 0.0};
  long nDays = 0;
  while (moment.year <= 9999) {
    double value;
    Moment back;
    ASSERT_EQ(1, ToValue(moment, &value)) << moment;
    ASSERT_EQ(expected, value) << moment;
    ASSERT_EQ(1, ToMoment(value, back)) << moment;
    ASSERT_EQ(moment, back);
    ++nDays;
    expected += kSecondsPerDay;
    if (++moment.day > DaysOfMonth(moment.month, moment.year)) {
      moment.day = 1;
      if (++moment.month > 12) {
        moment.month = 1;
        ++moment.year;
      }
    }
  }
  EXPECT_EQ(3074325, nDays);
  EXPECT_EQ(kEndOfTime, expected);
}

// ---- Value to fields ----

TEST(Calendar, RejectsValuesOutOfRangeAndWritesNothing) {
  for (const double value : {kEndOfTime, -1.0, -5e-324, kNaN, kInfinity, -kInfinity}) {
    SCOPED_TRACE(value);
    Moment moment;
    EXPECT_EQ(0, ToMoment(value, moment));
    EXPECT_EQ(Moment(), moment);
  }
  Moment moment;
  EXPECT_EQ(1, ToMoment(std::nextafter(kEndOfTime, 0.0), moment));
  EXPECT_EQ(31, moment.day);
  EXPECT_EQ(23, moment.hour);
}

TEST(Calendar, AnyFieldMayBeNull) {
  const double value = 12219379200.0 + 3723.5;
  Moment m;
  EXPECT_EQ(1, iQuav2DMY(value, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
  EXPECT_EQ(1, iQuav2DMY(value, &m.day, nullptr, nullptr, nullptr, nullptr, nullptr));
  EXPECT_EQ(1, iQuav2DMY(value, nullptr, &m.month, nullptr, nullptr, nullptr, nullptr));
  EXPECT_EQ(1, iQuav2DMY(value, nullptr, nullptr, &m.year, nullptr, nullptr, nullptr));
  EXPECT_EQ(1, iQuav2DMY(value, nullptr, nullptr, nullptr, &m.hour, nullptr, nullptr));
  EXPECT_EQ(1, iQuav2DMY(value, nullptr, nullptr, nullptr, nullptr, &m.minute, nullptr));
  EXPECT_EQ(1, iQuav2DMY(value, nullptr, nullptr, nullptr, nullptr, nullptr, &m.second));
  EXPECT_EQ((Moment{1, 1, 1970, 1, 2, 3.5}), m);
  EXPECT_EQ(0, iQuav2DMY(kEndOfTime, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
}

TEST(Calendar, NegativeZeroIsDayZero) {
  Moment moment;
  EXPECT_EQ(1, ToMoment(-0.0, moment));
  EXPECT_EQ((Moment{14, 10, 1582, 0, 0, 0.0}), moment);
}

// ---- Durations ----

TEST(Calendar, ConvertsDurationsUpTo31Days) {
  double value = -1;
  EXPECT_EQ(1, iHMS2Quav(743, 59, 59.9, &value));
  EXPECT_DOUBLE_EQ(2678399.9, value);
  EXPECT_EQ(1, iHMS2Quav(1, 2, 3.5, &value));
  EXPECT_EQ(3723.5, value);
}

TEST(Calendar, RejectsDurationFieldsOutOfRangeAndWritesNothing) {
  struct Row {
    const char* name;
    long hours, minutes;
    double seconds;
  };
  const Row rows[] = {
      {"744 hours", 744, 0, 0.0},       {"negative hours", -1, 0, 0.0},       {"60 minutes", 0, 60, 0.0},
      {"negative minutes", 0, -1, 0.0}, {"60 seconds", 0, 0, 60.0},           {"negative seconds", 0, 0, -1.0},
      {"seconds NaN", 0, 0, kNaN},      {"greatest hours", LONG_MAX, 0, 0.0},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    double value = -1;
    EXPECT_EQ(0, iHMS2Quav(row.hours, row.minutes, row.seconds, &value));
    EXPECT_EQ(-1, value);
  }
}

TEST(Calendar, DropsTheWholeDaysOfADuration) {
  long hours = -1, minutes = -1;
  double seconds = -1;
  EXPECT_EQ(1, iQuav2HMS(90000.0, &hours, &minutes, &seconds));
  EXPECT_EQ(1, hours);
  EXPECT_EQ(0, minutes);
  EXPECT_EQ(0.0, seconds);
  EXPECT_EQ(1, iQuav2HMS(2678399.5, &hours, &minutes, &seconds));
  EXPECT_EQ(23, hours);
  EXPECT_EQ(59, minutes);
  EXPECT_EQ(59.5, seconds);
}

TEST(Calendar, AnyPartOfADurationMayBeNull) {
  long hours = -1, minutes = -1;
  double seconds = -1;
  EXPECT_EQ(1, iQuav2HMS(3723.5, nullptr, nullptr, nullptr));
  EXPECT_EQ(1, iQuav2HMS(3723.5, &hours, nullptr, nullptr));
  EXPECT_EQ(1, iQuav2HMS(3723.5, nullptr, &minutes, nullptr));
  EXPECT_EQ(1, iQuav2HMS(3723.5, nullptr, nullptr, &seconds));
  EXPECT_EQ(1, hours);
  EXPECT_EQ(2, minutes);
  EXPECT_EQ(3.5, seconds);
}

TEST(Calendar, RejectsDurationValuesOutOfRangeAndWritesNothing) {
  for (const double value : {2678400.0, -1.0, kNaN, kInfinity}) {
    SCOPED_TRACE(value);
    long hours = -1, minutes = -1;
    double seconds = -1;
    EXPECT_EQ(0, iQuav2HMS(value, &hours, &minutes, &seconds));
    EXPECT_EQ(-1, hours);
    EXPECT_EQ(-1, minutes);
    EXPECT_EQ(-1, seconds);
  }
}

// ---- Now ----

TEST(Calendar, NowIsTheLocalTime) {
  const auto localNow = [] {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    double value = -1;
    ToValue({local.tm_mday, local.tm_mon + 1, local.tm_year + 1900, local.tm_hour, local.tm_min,
             static_cast<double>(local.tm_sec)},
            &value);
    return value;
  };
  const double before = localNow();
  double now = -1;
  vQuavTimestampNow(&now);
  EXPECT_LE(before, now);
  EXPECT_LE(now, localNow());
}

// Replaces the local time for its life.
class ReplacedClock {
 public:
  explicit ReplacedClock(std::tm* local) {
    theClockIsReplaced = true;
    theLocalTime = local;
  }
  ~ReplacedClock() { theClockIsReplaced = false; }
};

TEST(Calendar, NowWithoutALocalTimeIsAFixedMoment) {
  const ReplacedClock clock(nullptr);
  double expected = -1;
  ToValue({1, 2, 1975, 12, 0, 0}, &expected);
  double now = -1;
  vQuavTimestampNow(&now);
  EXPECT_EQ(expected, now);
}

TEST(Calendar, NowChangesNothingInALeapSecond) {
  std::tm local{};
  local.tm_mday = 31;
  local.tm_mon = 11;
  local.tm_year = 116;
  local.tm_hour = 23;
  local.tm_min = 59;
  local.tm_sec = 60;
  const ReplacedClock clock(&local);
  double now = -1;
  vQuavTimestampNow(&now);
  EXPECT_EQ(-1, now);
  local.tm_sec = 59;
  vQuavTimestampNow(&now);
  EXPECT_GT(now, 0);
}

}  // namespace
}  // namespace calendar_test
