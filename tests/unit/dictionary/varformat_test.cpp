#include "dictionary/varformat.h"

#include <gtest/gtest.h>

#include <ostream>
#include <set>

#include "datasrc/QUAV_Variable.h"

namespace varformat_test {
namespace {

// ---- Stored form ----

TEST(VarFormat, DefaultFormatsInStoredForm) {
  EXPECT_EQ(0u, QUAV_DefaultFormat(-1));
  EXPECT_EQ(0x50802u, QUAV_DefaultFormat(0));
  EXPECT_EQ(0x10100u, QUAV_DefaultFormat(1));
  EXPECT_EQ(0x1FF00u, QUAV_DefaultFormat(255));
  EXPECT_EQ(0x12C01u, QUAV_DefaultFormat(300));
  EXPECT_EQ(0x1FF7Fu, QUAV_DefaultFormat(32767));
}

TEST(VarFormat, ConvertsToTheStoredForm) {
  struct Row {
    const char* name;
    QUAV_Format format;
    StoredFormat stored;
  };
  const Row rows[] = {
      {"plain number", {kFormatNumber, 8, 2}, 0x00050802},
      {"width over 40", {kFormatNumber, 60, 2}, 0x00053C02},
      {"width of two bytes", {kFormatNumber, 0x123, 2}, 0x01052302},
      {"many decimals", {kFormatComma, 8, 255}, 0x000308FF},
      {"string", {kFormatString, 8, 0}, 0x00010800},
      {"wide string", {kFormatString, 0x7FFF, 0}, 0x0001FF7F},
      {"string with decimals", {kFormatString, 8, 5}, 0x00010800},
      {"hexadecimal string", {kFormatHexString, 0x1FE, 3}, 0x0102FE03},
      {"unknown type", {static_cast<FormatType>(200), 10, 1}, 0x00C80A01},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(row.stored, ToStoredFormat(row.format));
  }
}

TEST(VarFormat, ConvertsFromTheStoredFormWithItsLimits) {
  struct Row {
    const char* name;
    StoredFormat stored;
    QUAV_Format format;
  };
  const Row rows[] = {
      {"plain number", 0x00050802, {kFormatNumber, 8, 2}},
      {"width 40", 0x00052802, {kFormatNumber, 40, 2}},
      {"width over 40", 0x00053C02, {kFormatNumber, 40, 2}},
      {"high width byte", 0x01052302, {kFormatNumber, 0x23, 2}},
      {"string", 0x00012C01, {kFormatString, 300, 0}},
      {"string with a high byte", 0x77012C01, {kFormatString, 300, 0}},
      {"hexadecimal string", 0x00023C00, {kFormatHexString, 60, 0}},
      {"hexadecimal string with a high byte", 0x0102FE03, {kFormatHexString, 254, 3}},
      {"unknown type", 0x00C80A01, {static_cast<FormatType>(200), 10, 1}},
      {"zero", 0, QUAV_Format(0)},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(row.format, FromStoredFormat(row.stored));
  }
}

// ---- Whether a format fits a number ----

struct NumericRule {
  int type;
  bool hasDecimals;
  int minimumWidth;
  int reserve;
};

constexpr NumericRule kRules[] = {
    {3, true, 1, 1},    {4, true, 2, 2},   {5, true, 1, 1},   {17, true, 6, 6},  {20, false, 9, 0}, {21, true, 5, 9},
    {22, true, 17, 21}, {23, false, 8, 0}, {24, false, 5, 0}, {25, true, 8, 12}, {26, false, 2, 0}, {27, false, 3, 0},
    {28, false, 6, 0},  {29, false, 6, 0}, {30, false, 8, 0}, {31, true, 2, 2},  {32, true, 1, 1},  {33, true, 1, 1},
    {34, true, 1, 1},   {35, true, 1, 1},  {36, true, 1, 1},  {37, true, 1, 1},  {38, false, 8, 0}, {39, true, 8, 0},
};

struct Checked {
  int result;
  int type;
  int width;
  int decimals;

  bool operator==(const Checked&) const = default;
  friend std::ostream& operator<<(std::ostream& out, const Checked& c) {
    return out << "{" << c.result << ": " << c.type << ", " << c.width << ", " << c.decimals << "}";
  }
};

Checked Validate(int varType, int type, int width, int decimals, bool fix) {
  auto formatType = static_cast<FormatType>(type);
  const int result = QUAV_Variable::ValidateFormat(varType, formatType, width, decimals, fix);
  return {result, formatType, width, decimals};
}

// Expects this result and these corrected arguments. Without `fix` the arguments do not change.
void ExpectCheck(int varType, int type, int width, int decimals, const Checked& expected) {
  SCOPED_TRACE(testing::Message() << "format " << type << ", " << width << ", " << decimals);
  EXPECT_EQ(expected, Validate(varType, type, width, decimals, true));
  EXPECT_EQ((Checked{expected.result, type, width, decimals}), Validate(varType, type, width, decimals, false));
}

TEST(ValidateFormat, EveryNumericTypeHasAMinimumWidth) {
  for (const NumericRule& rule : kRules) {
    ExpectCheck(0, rule.type, rule.minimumWidth, 0, {0, rule.type, rule.minimumWidth, 0});
    ExpectCheck(0, rule.type, rule.minimumWidth - 1, 0, {2, rule.type, rule.minimumWidth, 0});
  }
}

TEST(ValidateFormat, NumericWidthIsAtMost40) {
  for (const NumericRule& rule : kRules) {
    ExpectCheck(0, rule.type, 40, 0, {0, rule.type, 40, 0});
    ExpectCheck(0, rule.type, 41, 0, {2, rule.type, 40, 0});
  }
}

TEST(ValidateFormat, DecimalsAreLimitedByTheReserveOfTheType) {
  for (const NumericRule& rule : kRules) {
    if (!rule.hasDecimals) continue;
    const int width = rule.reserve + 10;  // at least the minimum width of every type
    ExpectCheck(0, rule.type, width, 10, {0, rule.type, width, 10});
    ExpectCheck(0, rule.type, width, 11, {3, rule.type, width, 10});
  }
}

TEST(ValidateFormat, SomeTypesHaveNoDecimals) {
  for (const NumericRule& rule : kRules) {
    if (rule.hasDecimals) continue;
    ExpectCheck(0, rule.type, 20, 1, {3, rule.type, 20, 0});
  }
}

TEST(ValidateFormat, NumericDecimalsAreAtMost16) {
  ExpectCheck(0, kFormatNumber, 40, 16, {0, kFormatNumber, 40, 16});
  ExpectCheck(0, kFormatNumber, 40, 17, {3, kFormatNumber, 40, 16});
  ExpectCheck(0, kFormatNumber, 17, 17, {3, kFormatNumber, 17, 16});
  ExpectCheck(0, kFormatNumber, 16, 17, {3, kFormatNumber, 16, 15});
}

TEST(ValidateFormat, CorrectedDecimalsAreNeverNegative) {
  ExpectCheck(0, kFormatNumber, 8, -1, {3, kFormatNumber, 8, 0});
  ExpectCheck(0, kFormatTime, 5, 1, {3, kFormatTime, 5, 0});  // the reserve exceeds the width
  ExpectCheck(0, kFormatDateTime, 17, 2, {3, kFormatDateTime, 17, 0});
}

TEST(ValidateFormat, WidthFaultIsReturnedAndDecimalsAreCorrectedToo) {
  ExpectCheck(0, kFormatNumber, 0, 5, {2, kFormatNumber, 1, 0});
  ExpectCheck(0, kFormatNumber, 99, 20, {2, kFormatNumber, 40, 16});
  ExpectCheck(0, kFormatDate, 3, 2, {2, kFormatDate, 9, 0});
  ExpectCheck(0, kFormatDateTime, -2147483647 - 1, 2, {2, kFormatDateTime, 17, 0});
}

TEST(ValidateFormat, RejectsAllOtherTypesForANumber) {
  std::set<int> known;
  for (const NumericRule& rule : kRules) known.insert(rule.type);
  for (int type = -1; type <= 41; ++type) {
    if (known.contains(type)) continue;
    ExpectCheck(0, type, 8, 2, {1, kFormatNumber, 8, 2});
    ExpectCheck(0, type, 99, 99, {1, kFormatNumber, 8, 2});
  }
}

// ---- Whether a format fits a string ----

TEST(ValidateFormat, StringFormatHasTheWidthOfTheString) {
  ExpectCheck(12, kFormatString, 12, 0, {0, kFormatString, 12, 0});
  ExpectCheck(12, kFormatString, 11, 0, {2, kFormatString, 12, 0});
  ExpectCheck(12, kFormatString, 13, 4, {2, kFormatString, 12, 0});
  ExpectCheck(12, kFormatString, 12, 4, {3, kFormatString, 12, 0});
  ExpectCheck(32767, kFormatString, 32767, 0, {0, kFormatString, 32767, 0});
}

TEST(ValidateFormat, HexadecimalFormatIsTwiceAsWide) {
  ExpectCheck(12, kFormatHexString, 24, 0, {0, kFormatHexString, 24, 0});
  ExpectCheck(12, kFormatHexString, 12, 0, {2, kFormatHexString, 24, 0});
  ExpectCheck(12, kFormatHexString, 24, 1, {3, kFormatHexString, 24, 0});
  ExpectCheck(16383, kFormatHexString, 32766, 0, {0, kFormatHexString, 32766, 0});
  ExpectCheck(16384, kFormatHexString, 32768, 0, {1, kFormatString, 16384, 0});
}

TEST(ValidateFormat, RejectsAllOtherTypesForAString) {
  for (const int type : {-1, 0, 3, 5, 20, 39, 40, 255}) {
    ExpectCheck(12, type, 12, 0, {1, kFormatString, 12, 0});
    ExpectCheck(12, type, 99, 9, {1, kFormatString, 12, 0});
  }
}

TEST(ValidateFormat, AcceptsAnyFormatForANegativeType) { ExpectCheck(-1, 77, 99, 99, {0, 77, 99, 99}); }

// ---- Icons ----

TEST(GetImageIndex, DependsOnTypeGroupAndLevel) {
  const std::set<int> dates = {20, 23, 24, 28, 29, 30, 38, 39};
  const std::set<int> times = {21, 22, 25};
  struct Row {
    int level;
    int date, time, string, other;
  };
  const Row rows[] = {{0, 5, 8, 4, 0}, {1, 7, 10, 4, 2}, {2, 6, 9, 3, 1},
                      {3, 5, 8, 4, 0}, {4, 5, 8, 4, 0},  {5, 5, 8, 4, 0}};
  for (const Row& row : rows) {
    for (int type = 0; type <= 60; ++type) {
      SCOPED_TRACE(testing::Message() << "type " << type << ", level " << row.level);
      const int expected = dates.contains(type)   ? row.date
                           : times.contains(type) ? row.time
                           : type == 1            ? row.string
                                                  : row.other;
      EXPECT_EQ(expected, QUAV_Variable::GetImageIndex(static_cast<FormatType>(type),
                                                       static_cast<QUAV_Variable::MeasurementLevel>(row.level)));
    }
  }
}

}  // namespace
}  // namespace varformat_test
