#include "Columns/arrow/ArrowTimes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "datasrc/Calendar.h"

namespace ArrowTimes_test {
namespace {

constexpr double kDay = 86400;
constexpr double kDays1970 = 141428;  // from 1582-10-14 to 1970-01-01

double ValueOf(long day, long month, long year) {
  double value = 0;
  iDMY2Quav(day, month, year, 0, 0, 0, &value);
  return value;
}

TEST(ArrowTimes, TheCalendarOfTheLibraryAgrees) {
  EXPECT_EQ(kDays1970 * kDay, ValueOf(1, 1, 1970));
  EXPECT_EQ(0, DaysSince1970(ValueOf(1, 1, 1970)));
  EXPECT_EQ(0, MicrosecondsSince1970(ValueOf(1, 1, 1970)));
}

TEST(ArrowTimes, DaysOnBothSidesOfEachBorder) {
  EXPECT_EQ(-141428, DaysSince1970(0)) << "1582-10-14";
  EXPECT_EQ(-141427, DaysSince1970(kDay));
  EXPECT_EQ(-141429, DaysSince1970(-kDay));
  EXPECT_EQ(-1, DaysSince1970((kDays1970 - 1) * kDay));
  EXPECT_EQ(1, DaysSince1970((kDays1970 + 1) * kDay));
  EXPECT_EQ(2932896, DaysSince1970(ValueOf(31, 12, 9999)));
  EXPECT_EQ(2932897, DaysSince1970(ValueOf(31, 12, 9999) + kDay));
  EXPECT_EQ(-141428, DaysSince1970(-0.0));
}

TEST(ArrowTimes, DaysThatADate32CannotHold) {
  const double most = std::numeric_limits<std::int32_t>::max() + kDays1970;
  const double least = std::numeric_limits<std::int32_t>::min() + kDays1970;
  EXPECT_EQ(std::numeric_limits<std::int32_t>::max(), DaysSince1970(most * kDay));
  EXPECT_EQ(std::nullopt, DaysSince1970((most + 1) * kDay));
  EXPECT_EQ(std::numeric_limits<std::int32_t>::min(), DaysSince1970(least * kDay));
  EXPECT_EQ(std::nullopt, DaysSince1970((least - 1) * kDay));
  for (const double value : {1.0, kDay - 1, kDay + 1, kDay + 0.5, std::nan(""), HUGE_VAL, -HUGE_VAL, 1e300, -1e300})
    EXPECT_EQ(std::nullopt, DaysSince1970(value)) << value;
}

TEST(ArrowTimes, FractionsOfASecond) {
  EXPECT_EQ(0, Microseconds(0));
  EXPECT_EQ(1, Microseconds(1e-6));
  EXPECT_EQ(-1, Microseconds(-1e-6));
  EXPECT_EQ(-1'500'000, Microseconds(-1.5));
  EXPECT_EQ(100'000, Microseconds(0.1));
  EXPECT_EQ(999'999, Microseconds(0.999999));
  for (const double seconds : {0.5e-6, 1.5e-6, 0.1234567, -0.1234567, 0.9999999, 1e-9, -1e-300})
    EXPECT_EQ(std::nullopt, Microseconds(seconds)) << seconds;
}

// A double of this size is a multiple of 1/512 second.
TEST(ArrowTimes, MicrosecondsOnBothSidesOfTheirEnds) {
  EXPECT_EQ(9'223'372'036'854'000'000, Microseconds(9'223'372'036'854.0));
  EXPECT_EQ(9'223'372'036'854'773'438, Microseconds(9'223'372'036'854.7734375));
  EXPECT_EQ(std::nullopt, Microseconds(9'223'372'036'854.77734375));
  EXPECT_EQ(std::nullopt, Microseconds(9'223'372'036'855.0));
  EXPECT_EQ(-9'223'372'036'854'773'438, Microseconds(-9'223'372'036'854.7734375));
  EXPECT_EQ(std::nullopt, Microseconds(-9'223'372'036'854.77734375));
  EXPECT_EQ(std::nullopt, Microseconds(-9'223'372'036'855.0));
  for (const double seconds : {std::nan(""), HUGE_VAL, -HUGE_VAL, 1e13, 1e300, -1e300})
    EXPECT_EQ(std::nullopt, Microseconds(seconds)) << seconds;
}

TEST(ArrowTimes, MicrosecondsSince1970OnBothSidesOfTheirEnds) {
  const double zero = kDays1970 * kDay;
  EXPECT_EQ(9'223'372'036'854'000'000, MicrosecondsSince1970(zero + 9'223'372'036'854.0));
  EXPECT_EQ(9'223'372'036'854'773'438, MicrosecondsSince1970(zero + 9'223'372'036'854.7734375));
  EXPECT_EQ(std::nullopt, MicrosecondsSince1970(zero + 9'223'372'036'854.77734375));
  EXPECT_EQ(std::nullopt, MicrosecondsSince1970(zero + 9'223'372'036'855.0));
  EXPECT_EQ(-9'223'372'036'854'773'438, MicrosecondsSince1970(zero - 9'223'372'036'854.7734375));
  EXPECT_EQ(std::nullopt, MicrosecondsSince1970(zero - 9'223'372'036'854.77734375));
  for (const double value : {std::nan(""), HUGE_VAL, -HUGE_VAL, 1e13, 1e300, -1e300})
    EXPECT_EQ(std::nullopt, MicrosecondsSince1970(value)) << value;
}

// Values of today are more than 2^53 microseconds from 1582. Two doubles are then almost two microseconds apart.
TEST(ArrowTimes, EveryMomentOfTodayComesBack) {
  std::mt19937_64 random(7);
  std::uniform_real_distribution<double> seconds(ValueOf(1, 1, 1970), ValueOf(1, 1, 2100));
  for (int i = 0; i < 10000; ++i) {
    const double moment = seconds(random);
    const auto microseconds = Microseconds(moment);
    ASSERT_TRUE(microseconds) << moment;
    const double fraction = static_cast<double>(*microseconds % 1'000'000) / 1e6;
    ASSERT_EQ(moment, static_cast<double>(*microseconds / 1'000'000) + fraction);
    ASSERT_EQ(*microseconds - 141'428 * 86'400'000'000, MicrosecondsSince1970(moment));
  }
}

}  // namespace
}  // namespace ArrowTimes_test
