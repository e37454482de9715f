#include "Columns/text/NumberText.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>

namespace NumberText_test {
namespace {

std::string Shortest(double number) {
  std::string text;
  dstext::AppendNumber(text, number);
  return text;
}

std::string Readable(FormatType type, int decimals, double number) {
  std::string text;
  dstext::AppendReadableNumber(text, QUAV_Format(type, 20, decimals), number);
  return text;
}

TEST(NumberText, WritesWholeNumbersWithoutAPoint) { EXPECT_EQ("1", Shortest(1)); }

TEST(NumberText, WritesNoMoreDigitsThanNeeded) { EXPECT_EQ("0.1", Shortest(0.1)); }

TEST(NumberText, WritesNegativeZeroWithADecimal) { EXPECT_EQ("-0.0", Shortest(-0.0)); }

TEST(NumberText, ReadsBackToTheSameBits) {
  const unsigned seed = 20240314;
  std::mt19937_64 random(seed);
  for (int i = 0; i < 20000; ++i) {
    const double number = std::bit_cast<double>(random());
    if (!dstext::NonFiniteName(number).empty()) continue;
    const std::string text = Shortest(number);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(number), std::bit_cast<std::uint64_t>(std::strtod(text.c_str(), nullptr)))
        << text << " of seed " << seed;
  }
}

TEST(NumberText, WritesLongWholeNumbersWithZerosAtTheEnd) {
  for (const char* text :
       {"12345678901234567000", "9007199254740993000", "18446744073709552000", "-12345678901234567000",
        "1.23456789012345e+20", "1e+17", "9007199254740992", "9007199254740994", "1e+22", "1.2345e+25"})
    EXPECT_EQ(text, Shortest(std::strtod(text, nullptr)));
}

TEST(NumberText, NamesNumbersThatAreNotFinite) {
  EXPECT_EQ("NaN", dstext::NonFiniteName(std::numeric_limits<double>::quiet_NaN()));
  EXPECT_EQ("Infinity", dstext::NonFiniteName(std::numeric_limits<double>::infinity()));
  EXPECT_EQ("-Infinity", dstext::NonFiniteName(-std::numeric_limits<double>::infinity()));
  EXPECT_EQ("", dstext::NonFiniteName(std::numeric_limits<double>::max()));
}

struct ReadableCase {
  const char* name;
  FormatType type;
  int decimals;
  double number;
  const char* text;
};

class ReadableNumber : public testing::TestWithParam<ReadableCase> {};

INSTANTIATE_TEST_SUITE_P(
    ByFormat, ReadableNumber,
    testing::Values(ReadableCase{"Plain", kFormatNumber, 2, 1234.5, "1234.50"},
                    ReadableCase{"WithoutDecimals", kFormatNumber, 0, 1234.5678, "1235"},
                    ReadableCase{"Negative", kFormatNumber, 1, -0.25, "-0.2"},
                    ReadableCase{"RoundedToZero", kFormatNumber, 2, -0.001, "0.00"},
                    ReadableCase{"Comma", kFormatComma, 2, -1234567.891, "-1,234,567.89"},
                    ReadableCase{"CommaWithThreeDigits", kFormatComma, 0, 123, "123"},
                    ReadableCase{"Dollar", kFormatDollar, 2, -1234.5, "-$1,234.50"},
                    ReadableCase{"Dot", kFormatDot, 2, 1234.5, "1.234,50"},
                    ReadableCase{"Percent", kFormatPercent, 1, 12.34, "12.3%"},
                    ReadableCase{"Scientific", kFormatScientific, 3, 1234567, "1.235e+06"},
                    ReadableCase{"UnknownType", static_cast<FormatType>(60), 3, 1.5, "1.500"},
                    ReadableCase{"MoreDecimalsThanADoubleHas", kFormatNumber, 200, 0.5, "0.5000000000000000"},
                    ReadableCase{"TooLargeForDecimals", kFormatNumber, 2, 1e300, "1e+300"},
                    ReadableCase{"LongestWithDigits", kFormatNumber, 0, 9007199254740993.0, "9007199254740992"},
                    ReadableCase{"NotANumber", kFormatNumber, 2, std::numeric_limits<double>::quiet_NaN(), "NaN"}),
    [](const auto& row) { return row.param.name; });

TEST_P(ReadableNumber, IsWrittenForPeople) {
  EXPECT_EQ(GetParam().text, Readable(GetParam().type, GetParam().decimals, GetParam().number));
}

}  // namespace
}  // namespace NumberText_test
