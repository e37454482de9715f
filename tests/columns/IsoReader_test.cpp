#include "Columns/text/IsoReader.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>

#include "Columns/text/IsoText.h"

namespace IsoReader_test {
namespace {

using dstext::IsoKind;
using dstext::ReadIsoText;

constexpr double kMarch14 = 13929753600.0;  // 2024-03-14

TEST(IsoReader, ReadsDates) {
  EXPECT_EQ(IsoKind::date, ReadIsoText("2024-03-14").kind);
  EXPECT_EQ(kMarch14, ReadIsoText("2024-03-14").value);
  EXPECT_EQ(0, ReadIsoText("1582-10-14").value);
  EXPECT_EQ(IsoKind::date, ReadIsoText("9999-12-31").kind);
  EXPECT_EQ(IsoKind::date, ReadIsoText("2024-02-29").kind);
}

TEST(IsoReader, ReadsDatesWithTimes) {
  for (const char* text : {"2024-03-14T10:20:30", "2024-03-14 10:20:30"}) {
    EXPECT_EQ(IsoKind::dateTime, ReadIsoText(text).kind);
    EXPECT_EQ(kMarch14 + 37230, ReadIsoText(text).value);
  }
}

TEST(IsoReader, ReadsTimesAndDurations) {
  EXPECT_EQ(IsoKind::time, ReadIsoText("10:20:30").kind);
  EXPECT_EQ(37230, ReadIsoText("10:20:30").value);
  EXPECT_EQ(93600, ReadIsoText("P1DT2H0M0S").value);
  EXPECT_EQ(-3600, ReadIsoText("-P0DT1H0M0S").value);
  EXPECT_EQ(9007199254740991.0, ReadIsoText("P104249991374DT7H36M31S").value);
  EXPECT_EQ(-9007199254740991.0, ReadIsoText("-P104249991374DT7H36M31S").value);
  EXPECT_EQ(IsoKind::none, ReadIsoText("P104249991374DT7H36M32S").kind);
  EXPECT_EQ(IsoKind::none, ReadIsoText("P1042499913740DT0H0M0S").kind);
  EXPECT_TRUE(std::signbit(ReadIsoText("-P0DT0H0M0S").value));
  EXPECT_EQ(86400e9 - 86400, ReadIsoText("P999999999DT0H0M0S").value);
}

TEST(IsoReader, ReadsFractions) {
  const dstext::IsoValue value = ReadIsoText("2024-03-14T00:00:00.250");
  EXPECT_EQ(kMarch14 + 0.25, value.value);
  EXPECT_EQ(3, value.decimals);
  EXPECT_TRUE(value.comesBack);
  EXPECT_EQ(-0.5, ReadIsoText("-P0DT0H0M0.5S").value);
}

TEST(IsoReader, ReportsAFractionThatIsTooFine) {
  EXPECT_FALSE(ReadIsoText("2024-03-14T10:20:30.123456789").comesBack);
  EXPECT_TRUE(ReadIsoText("10:20:30.123456789").comesBack);
}

TEST(IsoReader, RejectsInvalidText) {
  for (const char* text : {"",
                           "x",
                           "2024",
                           "2024-13-01",
                           "2024-00-01",
                           "2024-01-00",
                           "2024-02-30",
                           "2023-02-29",
                           "1900-02-29",
                           "1582-10-13",
                           "0000-01-01",
                           "2024-03-14T",
                           "2024-03-14T10:20",
                           "2024-03-14x10:20:30",
                           "24:00:00",
                           "10:60:00",
                           "10:20:60",
                           "1:20:30",
                           "10:20:30.",
                           "10:20:30.x",
                           "10:20:30Z",
                           "-10:20:30",
                           "P1D",
                           "PT1H",
                           "P1DT24H0M0S",
                           "P1DT0H60M0S",
                           "P1DT0H0M60S",
                           "P1DT1H1M1",
                           "P",
                           "-",
                           "--P0DT1H0M0S",
                           "P0DT1H0M0Sx",
                           "+2024-03-14",
                           "2024-03-14 ",
                           "P104249991375DT0H0M0S"})
    EXPECT_EQ(IsoKind::none, ReadIsoText(text).kind) << text;
}

TEST(IsoReader, ReadsBackWhatIsoTextWrites) {
  const unsigned int seed = std::random_device()();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937_64 random(seed);
  std::uniform_real_distribution<double> dates(0, 265621680000.0);
  std::uniform_real_distribution<double> times(-1e9, 1e9);
  for (int i = 0; i < 100'000; ++i) {
    const FormatType format = i % 3 == 0 ? kFormatTime : i % 3 == 1 ? kFormatDateTime : kFormatDate;
    double value = format == kFormatTime ? times(random) : dates(random);
    if (i % 2 == 0) value = std::floor(value);
    std::string text;
    ASSERT_TRUE(dstext::AppendIsoText(text, format, value));
    const dstext::IsoValue read = ReadIsoText(text);
    ASSERT_EQ(value, read.value) << text;
    ASSERT_TRUE(read.comesBack) << text;
  }
}

}  // namespace
}  // namespace IsoReader_test
