#include "Columns/text/NumberSyntax.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstdio>
#include <random>
#include <string>

#include "Columns/text/NumberText.h"

namespace NumberSyntax_test {
namespace {

using dstext::NumberSyntax;

bool IsNumber(std::string_view text) {
  NumberSyntax syntax;
  return dstext::ParseNumber(text, syntax);
}

double Value(std::string_view text) {
  NumberSyntax syntax;
  if (!dstext::ParseNumber(text, syntax)) return std::nan("");
  return dstext::NumberValue(text, syntax).value_or(std::nan(""));
}

bool ComesBack(std::string_view text) {
  NumberSyntax syntax;
  return dstext::ParseNumber(text, syntax) && dstext::ComesBack(text, syntax);
}

TEST(NumberSyntax, AcceptsNumbers) {
  for (const char* text : {"0", "-0", "+1", "1.50", ".5", "5.", "1e5", "1E-5", "1.5e+300", "007", "-.5e0"})
    EXPECT_TRUE(IsNumber(text)) << text;
}

TEST(NumberSyntax, RejectsOtherText) {
  for (const char* text : {"", "-", "+", ".", "-.", "e5", "1e", "1e+", "1e5.0", "1.2.3", "--1", " 1", "1 ", "1,5",
                           "0x1", "inf", "nan", "1e5x", "1_0"})
    EXPECT_FALSE(IsNumber(text)) << text;
}

TEST(NumberSyntax, CountsDigits) {
  NumberSyntax syntax;
  ASSERT_TRUE(dstext::ParseNumber("-00120.0450e-3", syntax));
  EXPECT_TRUE(syntax.isNegative);
  EXPECT_TRUE(syntax.hasLeadingZeros);
  EXPECT_TRUE(syntax.hasExponent);
  EXPECT_EQ(7, syntax.digits);
  EXPECT_EQ(5, syntax.wholeDigits);
  EXPECT_EQ(4, syntax.decimals);
  EXPECT_EQ(-3, syntax.exponent);
  EXPECT_EQ(1200450u, syntax.mantissa);
}

TEST(NumberSyntax, ZeroBeforeThePointIsNotALeadingZero) {
  NumberSyntax syntax;
  for (const char* text : {"0", "0.5", "-0.5", "0e5"}) {
    ASSERT_TRUE(dstext::ParseNumber(text, syntax));
    EXPECT_FALSE(syntax.hasLeadingZeros) << text;
  }
}

TEST(NumberSyntax, RoundsLikeTheStandardLibrary) {
  const unsigned int seed = std::random_device()();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937_64 random(seed);
  for (int i = 0; i < 100'000; ++i) {
    std::string text = std::to_string(random() >> random() % 64);
    text.insert(random() % text.size(), ".");
    if (random() % 2 == 0) text += "e" + std::to_string(static_cast<int>(random() % 80) - 40);
    ASSERT_EQ(std::stod(text), Value(text)) << text;
  }
}

TEST(NumberSyntax, KeepsTheSignOfZero) {
  EXPECT_TRUE(std::signbit(Value("-0")));
  EXPECT_TRUE(std::signbit(Value("-0.0e99999")));
  EXPECT_FALSE(std::signbit(Value("0e-99999")));
}

TEST(NumberSyntax, HasNoValueOutsideTheRangeOfADouble) {
  for (const char* text : {"1e400", "-1e400", "1e-400", "1e999999999999"}) EXPECT_TRUE(std::isnan(Value(text))) << text;
}

TEST(NumberSyntax, EveryDoubleComesBackFromItsTexts) {
  const unsigned int seed = std::random_device()();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937_64 random(seed);
  for (int i = 0; i < 100'000; ++i) {
    const auto number = std::bit_cast<double>(random());
    if (!std::isfinite(number)) continue;
    std::string text;
    dstext::AppendNumber(text, number);
    ASSERT_TRUE(ComesBack(text)) << text;
    ASSERT_EQ(number, Value(text)) << text;
    std::array<char, 64> long17;
    std::snprintf(long17.data(), long17.size(), "%.17g", number);
    // The smallest doubles have short texts of few digits. Their texts of 17 digits must come back as well.
    ASSERT_TRUE(ComesBack(long17.data())) << long17.data();
  }
}

TEST(NumberSyntax, DigitsThatADoubleLosesDoNotComeBack) {
  for (const char* text : {"123456789012345678", "9007199254740993", "0.12345678901234567890", "1e400", "1e-400",
                           "3e-324", "-1.7976931348623157e308"})
    EXPECT_FALSE(ComesBack(text)) << text;
  for (const char* text :
       {"9007199254740992", "123456789012345680", "1.7976931348623157e308", "5e-324", "0e99999",
        "0.1000000000000000055511151231257827021181583404541015625", "1.000000000000000000000000000000000000000"})
    EXPECT_TRUE(ComesBack(text)) << text;
}

TEST(NumberSyntax, ZerosAfterAFractionDoNotMatter) {
  EXPECT_TRUE(ComesBack("0.3" + std::string(2000, '0')));
  EXPECT_FALSE(ComesBack("0.3" + std::string(2000, '0') + "1"));
}

TEST(NumberSyntax, FastPathEqualsTheGeneralParser) {
  std::uint64_t number = 0;
  for (const char* text : {"0", "5", "100", "999999999999999"}) {
    ASSERT_TRUE(dstext::ParseShortWhole(text, number)) << text;
    EXPECT_EQ(Value(text), static_cast<double>(number));
  }
  for (const char* text : {"", "-1", "+1", "00", "01", "1.", "1e1", "1000000000000000", "1:"})
    EXPECT_FALSE(dstext::ParseShortWhole(text, number)) << text;
}

}  // namespace
}  // namespace NumberSyntax_test
