#include "datasrc/ObsValue.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace ObsValue_test {
namespace {

auto Asserts(const std::string& text) { return testing::HasSubstr("assertion failed: " + text + "\n"); }

// Returns cells that hold the text, padded with blanks.
std::vector<OBS> TextCells(const std::string& text, std::size_t nCells) {
  std::vector<OBS> cells(nCells, kBlankCell);
  text.copy(CellText(cells.data()), nCells * sizeof(OBS));
  return cells;
}

ObsValue Text(int type, const std::string& text) { return {type, TextCells(text, CellCount(type)).data(), -1}; }

const OBS* CellsOf(const ObsValue& value) { return value.Cells(); }

std::string Bytes(const ObsValue& value) { return {CellText(value.Cells()), FieldSize(value.Type())}; }

bool IsInside(const ObsValue& value) {
  const auto* object = reinterpret_cast<const char*>(&value);
  const auto* cells = reinterpret_cast<const char*>(value.Cells());
  return object <= cells && cells < object + sizeof(value);
}

// ---- Construction ----

TEST(ObsValue, ReturnsTheCellsOfANonConstValue) {
  ObsValue value(1.5);
  EXPECT_EQ(NumberCell(1.5), *value.Cells());
}

TEST(ObsValue, NumberIsOneCellInsideTheObject) {
  const ObsValue value(1.5);
  EXPECT_EQ(0, value.Type());
  EXPECT_EQ(NumberCell(1.5), *value.Cells());
  EXPECT_TRUE(IsInside(value));
}

TEST(ObsValue, OnlyMoreThan8BytesNeedAnArray) {
  const std::vector<OBS> cells = TextCells("abcdefghijklmnop", 2);
  EXPECT_TRUE(IsInside(ObsValue(1, cells.data(), -1)));
  EXPECT_TRUE(IsInside(ObsValue(8, cells.data(), -1)));
  const ObsValue nine(9, cells.data(), -1);
  EXPECT_FALSE(IsInside(nine));
  EXPECT_EQ("abcdefghijklmnop", Bytes(nine));
}

TEST(ObsValue, WidestStringHasAllItsCells) {
  const std::string text(32767, 'x');
  EXPECT_EQ(text + " ", Bytes(Text(MAX_STRING_TYPE, text)));
}

TEST(ObsValue, CopiesWholeCellsFromASourceOfTheSameType) {
  const OBS cell = NumberCell(-0.0);
  EXPECT_EQ(cell, *CellsOf(ObsValue(0, &cell, 0)));
  EXPECT_EQ(cell, *CellsOf(ObsValue(0, &cell, -1)));
  const std::vector<OBS> cells = TextCells("abcdefghijkl", 2);
  EXPECT_EQ("abcdefghijkl    ", Bytes(ObsValue(10, cells.data(), 10)));  // the bytes past the width too
}

TEST(ObsValue, CutsOrPadsASourceOfAnotherWidth) {
  struct Row {
    const char* name;
    int type, sourceType;
    std::string bytes;
  };
  const std::vector<OBS> cells = TextCells("abcdefghijklmnopqrstuvwx", 3);
  const Row rows[] = {
      {"longer", 16, 4, "abcd            "},
      {"shorter", 8, 20, "abcdefgh"},
      {"cut to cells, not to the width", 3, 20, "abcdefgh"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(row.bytes, Bytes(ObsValue(row.type, cells.data(), row.sourceType)));
  }
}

TEST(ObsValue, ConstructsWithoutASource) {
  EXPECT_EQ(20, ObsValue(20, nullptr, -1).Type());
  EXPECT_EQ(0, ObsValue(0, nullptr, 4).Type());  // without a source the source's type is not checked
}

TEST(ObsValueDeathTest, ConstructingFromASourceOfTheOtherKindAsserts) {
  const OBS cell{};
  EXPECT_DEATH(ObsValue(0, &cell, 4), Asserts("(sourceType!=0)&&(type!=0)"));
  EXPECT_DEATH(ObsValue(4, &cell, 0), Asserts("(sourceType!=0)&&(type!=0)"));
}

TEST(ObsValue, CopiesOwnTheirCells) {
  auto original = std::make_unique<ObsValue>(Text(20, "abc"));
  const ObsValue copy(*original);
  EXPECT_NE(CellsOf(*original), CellsOf(copy));
  original.reset();
  EXPECT_EQ("abc" + std::string(21, ' '), Bytes(copy));
  EXPECT_EQ(20, copy.Type());
  const ObsValue number(ObsValue(2.0));
  EXPECT_TRUE(IsInside(number));
}

// ---- Assigning ----

TEST(ObsValue, AssignsANumber) {
  ObsValue value(1.0);
  value = 2.0;
  EXPECT_EQ(2.0, CellNumber(*CellsOf(value)));
}

TEST(ObsValueDeathTest, AssigningANumberToAStringAsserts) {
  ObsValue value = Text(4, "a");
  EXPECT_DEATH(value = 2.0, Asserts("_type == 0"));
}

TEST(ObsValue, AssignsTextToAllBytesOfItsCells) {
  ObsValue value = Text(9, "");
  value = "abc";
  EXPECT_EQ("abc             ", Bytes(value));
  value = std::string("abcdefghijklmnopqrst");
  EXPECT_EQ("abcdefghijklmnop", Bytes(value));
}

TEST(ObsValue, AssignsTextWhateverItsType) {
  ObsValue value(1.0);
  value = "abc";
  EXPECT_EQ("abc     ", Bytes(value));
}

TEST(ObsValue, AssignsOverlappingCells) {
  ObsValue value = Text(24, "abcdefghijklmnopqrstuvwx");
  value = CellsOf(value);
  EXPECT_EQ("abcdefghijklmnopqrstuvwx", Bytes(value));
}

TEST(ObsValue, KeepsItsTypeWhenAssignedAnotherValue) {
  ObsValue value = Text(12, "");
  value = Text(4, "abcd");
  EXPECT_EQ(12, value.Type());
  EXPECT_EQ("abcd            ", Bytes(value));
  value = Text(30, "abcdefghijklmnopqrstuvwxyz");
  EXPECT_EQ("abcdefghijklmnop", Bytes(value));
  value = Text(12, "xyz");
  EXPECT_EQ("xyz             ", Bytes(value));
  const ObsValue& same = value;
  value = same;
  EXPECT_EQ("xyz             ", Bytes(value));
}

TEST(ObsValueDeathTest, AssigningAValueOfTheOtherKindAsserts) {
  ObsValue number(1.0);
  ObsValue text = Text(4, "a");
  EXPECT_DEATH(number = text, Asserts("(_type==0) == (rhs._type==0)"));
  EXPECT_DEATH(text = number, Asserts("(_type==0) == (rhs._type==0)"));
}

// ---- Comparing ----

TEST(ObsValue, EqualityComparesBits) {
  const OBS minusZero = NumberCell(-0.0);
  EXPECT_FALSE(ObsValue(0.0) == &minusZero);
  EXPECT_TRUE(ObsValue(-0.0) == &minusZero);
  EXPECT_FALSE(ObsValue(0.0) == ObsValue(-0.0));
  EXPECT_TRUE(ObsValue(1.0) == ObsValue(1.0));
  EXPECT_TRUE(Text(20, "abc") == Text(20, "abc"));
  EXPECT_FALSE(Text(20, "abc") == Text(20, std::string(19, ' ') + "x"));
}

TEST(ObsValue, ValuesOfDifferentTypesAreNotEqual) { EXPECT_FALSE(Text(7, "abc") == Text(8, "abc")); }

TEST(ObsValue, NumbersCompareAsDoubles) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  struct Row {
    const char* name;
    double a, b;
    int result;
  };
  const Row rows[] = {
      {"below", -2, 1, -1},  {"above", 1, -2, 1},     {"equal", 1, 1, 0},
      {"zeros", -0.0, 0, 0}, {"NaN left", nan, 1, 0}, {"NaN right", 1, nan, 0},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(row.result, ObsValue(row.a).Compare(ObsValue(row.b)));
    EXPECT_EQ(row.result < 0, ObsValue(row.a) < ObsValue(row.b));
  }
}

TEST(ObsValue, StringsCompareByCollationWithinTheirWidth) {
  EXPECT_EQ(-1, Text(12, "abc").Compare(Text(12, "abd")));
  EXPECT_EQ(1, Text(12, "b").Compare(Text(12, "abd")));
  EXPECT_EQ(0, Text(12, "abc").Compare(Text(12, "abc")));
  // Bytes past the width are ignored.
  EXPECT_EQ(0, Text(12, "abcdefghijklX").Compare(Text(12, "abcdefghijklY")));
}

TEST(ObsValue, FastCompareComparesUnsignedBytesOfAllCells) {
  EXPECT_EQ(-1, Text(12, "abc").FastCompare(Text(12, "abd")));
  EXPECT_EQ(1, Text(12, "\xFF").FastCompare(Text(12, "a")));
  EXPECT_EQ(0, Text(12, "abc").FastCompare(Text(12, "abc")));
  EXPECT_EQ(-1, Text(12, "abcdefghijklX").FastCompare(Text(12, "abcdefghijklY")));
  // The bytes of -1.0 and 1.0 differ only in the sign bit, which makes an unsigned byte greater.
  EXPECT_EQ(1, ObsValue(-1.0).FastCompare(ObsValue(1.0)));
}

TEST(ObsValueDeathTest, ComparingValuesOfDifferentTypesAsserts) {
  EXPECT_DEATH(Text(7, "a").Compare(Text(8, "a")), Asserts("_type == rhs._type"));
  EXPECT_DEATH(Text(7, "a").FastCompare(ObsValue(1.0)), Asserts("_type == rhs._type"));
}

TEST(ObsValue, CanBeSorted) {
  std::vector<ObsValue> values;
  for (const char* text : {"delta", "alpha", "charlie", "bravo"}) values.push_back(Text(12, text));
  std::sort(values.begin(), values.end());
  std::string order;
  for (const ObsValue& value : values) order += Bytes(value)[0];
  EXPECT_EQ("abcd", order);
}

}  // namespace
}  // namespace ObsValue_test
