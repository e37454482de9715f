#include "Columns/text/IsoText.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

namespace IsoText_test {
namespace {

constexpr double kDay = 86400;
constexpr double kMarch14 = 13929753600.0;  // midnight of 14 March 2024
constexpr double kCalendarEnd = 265621680000.0;

std::string Iso(FormatType format, double value) {
  std::string text;
  return dstext::AppendIsoText(text, format, value) ? text : "none" + text;
}

struct IsoCase {
  const char* name;
  FormatType format;
  double value;
  const char* text;
};

class IsoText : public testing::TestWithParam<IsoCase> {};

INSTANTIATE_TEST_SUITE_P(
    Dates, IsoText,
    testing::Values(IsoCase{"FirstDay", kFormatDate, 0, "1582-10-14"},
                    IsoCase{"Date", kFormatDate, kMarch14, "2024-03-14"},
                    IsoCase{"MonthFirst", kFormatMonthFirstDate, kMarch14, "2024-03-14"},
                    IsoCase{"DayFirst", kFormatDayFirstDate, kMarch14, "2024-03-14"},
                    IsoCase{"YearFirst", kFormatYearFirstDate, kMarch14, "2024-03-14"},
                    IsoCase{"DayOfYear", kFormatDayOfYear, kMarch14, "2024-03-14"},
                    IsoCase{"MonthAndYear", kFormatMonthAndYear, kMarch14, "2024-03-14"},
                    IsoCase{"QuarterAndYear", kFormatQuarterAndYear, kMarch14, "2024-03-14"},
                    IsoCase{"WeekAndYear", kFormatWeekAndYear, kMarch14, "2024-03-14"},
                    IsoCase{"DateWithATimeOfDay", kFormatDate, kMarch14 + 37230, "2024-03-14T10:20:30"},
                    IsoCase{"DateWithAFraction", kFormatDate, kMarch14 + 0.5, "2024-03-14T00:00:00.5"},
                    IsoCase{"LastSecond", kFormatDate, kCalendarEnd - 1, "9999-12-31T23:59:59"},
                    IsoCase{"AfterTheCalendar", kFormatDate, kCalendarEnd, "none"},
                    IsoCase{"BeforeTheCalendar", kFormatDate, -1, "none"},
                    IsoCase{"NegativeZero", kFormatDate, -0.0, "none"},
                    IsoCase{"NotANumber", kFormatDate, std::numeric_limits<double>::quiet_NaN(), "none"}),
    [](const auto& row) { return row.param.name; });

INSTANTIATE_TEST_SUITE_P(DatesAndTimes, IsoText,
                         testing::Values(IsoCase{"Midnight", kFormatDateTime, kMarch14, "2024-03-14T00:00:00"},
                                         IsoCase{"Evening", kFormatDateTime, kMarch14 + 86399, "2024-03-14T23:59:59"},
                                         IsoCase{"Thousandths", kFormatDateTime, kMarch14 + 1.125,
                                                 "2024-03-14T00:00:01.125"},
                                         IsoCase{"NegativeZeroWithTime", kFormatDateTime, -0.0, "none"},
                                         IsoCase{"OutsideTheCalendar", kFormatDateTime, 1e300, "none"}),
                         [](const auto& row) { return row.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Times, IsoText,
    testing::Values(IsoCase{"Zero", kFormatTime, 0, "00:00:00"}, IsoCase{"Time", kFormatTime, 37230, "10:20:30"},
                    IsoCase{"TenthOfASecond", kFormatTime, 0.1, "00:00:00.1"},
                    IsoCase{"LastOfTheDay", kFormatTime, std::nextafter(kDay, 0), "23:59:59.99999999999"},
                    IsoCase{"WholeDay", kFormatTime, kDay, "P1DT0H0M0S"},
                    IsoCase{"DayAndMore", kFormatDaysAndTime, kDay + 7200, "P1DT2H0M0S"},
                    IsoCase{"DaysAndTimeBelowADay", kFormatDaysAndTime, 7200, "02:00:00"},
                    IsoCase{"Negative", kFormatTime, -3600, "-P0DT1H0M0S"},
                    IsoCase{"NegativeWithAFraction", kFormatDaysAndTime, -2 * kDay - 0.25, "-P2DT0H0M0.25S"},
                    IsoCase{"LongDuration", kFormatTime, 1e15, "P11574074074DT1H46M40S"},
                    IsoCase{"LongestDuration", kFormatTime, 9007199254740991.0, "P104249991374DT7H36M31S"},
                    IsoCase{"NegativeZeroTime", kFormatTime, -0.0, "-P0DT0H0M0S"},
                    IsoCase{"TooLongADuration", kFormatTime, 9007199254740992.0, "none"},
                    IsoCase{"InfiniteDuration", kFormatTime, std::numeric_limits<double>::infinity(), "none"}),
    [](const auto& row) { return row.param.name; });

INSTANTIATE_TEST_SUITE_P(Numbers, IsoText,
                         testing::Values(IsoCase{"Weekday", kFormatWeekday, 3, "none"},
                                         IsoCase{"Month", kFormatMonth, 3, "none"},
                                         IsoCase{"Number", kFormatNumber, kMarch14, "none"}),
                         [](const auto& row) { return row.param.name; });

TEST_P(IsoText, FormatsTheValue) { EXPECT_EQ(GetParam().text, Iso(GetParam().format, GetParam().value)); }

TEST(AppendReadableTime, PutsABlankBetweenDateAndTime) {
  std::string text;
  EXPECT_TRUE(dstext::AppendReadableTime(text, kFormatDateTime, kMarch14));
  EXPECT_EQ("2024-03-14 00:00:00", text);
}

}  // namespace
}  // namespace IsoText_test
