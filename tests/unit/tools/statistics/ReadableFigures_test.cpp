#include "tools/statistics/ReadableFigures.h"

#include <gtest/gtest.h>

#include <limits>
#include <utility>

namespace ReadableFigures_test {
namespace {

using namespace tool;

constexpr QUAV_Format kNumber{kFormatNumber, 8, 2};
constexpr QUAV_Format kDate{kFormatDate, 11, 0};
constexpr QUAV_Format kTime{kFormatTime, 8, 0};
constexpr double kMarch14 = 13929753600;  // 2024-03-14

TEST(ReadableFigures, HaveFiveDigitsThatCount) {
  for (const auto& [number, text] : {std::pair{0.0, "0"},
                                     {43.171234, "43.171"},
                                     {0.00123456, "0.0012346"},
                                     {2.5, "2.5"},
                                     {-12.0, "-12"},
                                     {1234567.8, "1,234,568"},
                                     {99999.96, "100,000"},
                                     {1e15, "1.0000e+15"},
                                     {1.5e-9, "1.5000e-09"},
                                     {std::numeric_limits<double>::infinity(), "Infinity"},
                                     {std::numeric_limits<double>::quiet_NaN(), "NaN"}})
    EXPECT_EQ(text, ReadableNumber(number));
}

TEST(ReadableFigures, ShowValuesInTheirPrintFormat) {
  EXPECT_EQ("2.50", ReadableValue(kNumber, 2.5));
  EXPECT_EQ("2024-03-14", ReadableValue(kDate, kMarch14));
}

TEST(ReadableFigures, ShowMomentsOfDatesAsDatesAndDays) {
  EXPECT_EQ("2024-03-14 00:00:01", ReadableMean(kDate, kMarch14 + 0.7));
  EXPECT_EQ("2.5", ReadableMean(kNumber, 2.5));
  EXPECT_EQ("1.5 days", ReadableDeviation(kDate, 129600));
  EXPECT_EQ("90.5 s", ReadableDeviation(kTime, 90.5));
  EXPECT_EQ("2 days", ReadableDeviation(kTime, 172800));
}

TEST(ReadableFigures, GroupCountsAndRoundPercents) {
  EXPECT_EQ("1,234,567", ReadableCount(1234567));
  EXPECT_EQ("12", ReadableWeight(12));
  EXPECT_EQ("1,234.50", ReadableWeight(1234.5));
  EXPECT_EQ("33.3 %", ReadablePercent(1, 3));
  EXPECT_EQ("", ReadablePercent(0, 0));
}

}  // namespace
}  // namespace ReadableFigures_test
