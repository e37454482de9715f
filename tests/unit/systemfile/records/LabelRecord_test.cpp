// Tests how ReadSystemFileDictionary reads the record of value labels and the index record after it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "datasrc/QUAV_ValueLabelMap.h"
#include "datasrc/QUAV_Variable.h"
#include "tests/support/Reading.h"
#include "tests/support/RowName.h"

namespace LabelRecord_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

// Slots: A 1, B 2, S 3, LONG 4 to 6, C 7.
SystemFileBuilder WithVariables(std::endian order = std::endian::native) {
  SystemFileBuilder file(order);
  file.Header().Number("A").Number("B").String("S", 8).String("LONG", 20).Number("C");
  return file;
}
constexpr int kA = 0, kB = 1, kS = 2, kC = 4;

const char* LabelOf(const ReadDictionary& read, int column, double value) {
  return QUAV_ValueLabelMap(read.source.GetVariable(column).GetValueLabels()).GetLabel(value);
}

const char* LabelOf(const ReadDictionary& read, int column, const std::string& value) {
  return QUAV_ValueLabelMap(read.source.GetVariable(column).GetValueLabels()).GetLabel(value);
}

class LabelRecordInEitherOrder : public testing::TestWithParam<std::endian> {};
INSTANTIATE_TEST_SUITE_P(Orders, LabelRecordInEitherOrder, testing::Values(std::endian::little, std::endian::big),
                         OrderName);

TEST_P(LabelRecordInEitherOrder, LabelsTheNumbersOfTheListedVariables) {
  const ReadDictionary read(
      WithVariables(GetParam()).Labels({{1.0, "one"}, {-2.5, "less"}, {1e300, "much"}}, {1, 7}).End().Bytes());
  for (const int column : {kA, kC}) {
    EXPECT_STREQ("one", LabelOf(read, column, 1.0));
    EXPECT_STREQ("less", LabelOf(read, column, -2.5));
    EXPECT_STREQ("much", LabelOf(read, column, 1e300));
  }
  EXPECT_FALSE(read.source.GetVariable(kB).GetValueLabels().IsValid());
}

TEST_P(LabelRecordInEitherOrder, DoesNotByteSwapTextValues) {
  const ReadDictionary read(WithVariables(GetParam()).Labels({{"abcdefgh", "eight"}, {"x", "one"}}, {3}).End().Bytes());
  EXPECT_STREQ("eight", LabelOf(read, kS, "abcdefgh"));
  EXPECT_STREQ("one", LabelOf(read, kS, "x"));
}

TEST_P(LabelRecordInEitherOrder, KeepsAllLabelsWhenValuesAreByteSwapped) {
  std::vector<FileLabel> labels;
  for (int i = 0; i < 100; ++i) labels.push_back({i * 1.25, std::to_string(i)});
  const ReadDictionary read(WithVariables(GetParam()).Labels(labels, {1}).End().Bytes());
  QUAV_ValueLabelMap map(read.source.GetVariable(kA).GetValueLabels());
  EXPECT_EQ(100, map.Size());
  EXPECT_STREQ("73", map.GetLabel(73 * 1.25));
  EXPECT_EQ(0, map.Type());
}

TEST(LabelRecord, ListedVariablesShareOneBody) {
  for (const std::endian order : {std::endian::little, std::endian::big}) {
    const ReadDictionary read(WithVariables(order).Labels({{1.0, "one"}}, {1, 2, 7}).End().Bytes());
    const auto& first = read.source.GetVariable(kA).GetValueLabels();
    EXPECT_TRUE(first.IsValid());
    EXPECT_TRUE(first == read.source.GetVariable(kB).GetValueLabels());
    EXPECT_TRUE(first == read.source.GetVariable(kC).GetValueLabels());
  }
}

TEST(LabelRecord, TwoRecordsGiveTwoBodies) {
  const ReadDictionary read(WithVariables().Labels({{1.0, "one"}}, {1}).Labels({{1.0, "one"}}, {2}).End().Bytes());
  EXPECT_FALSE(read.source.GetVariable(kA).GetValueLabels() == read.source.GetVariable(kB).GetValueLabels());
}

TEST(LabelRecord, LaterRecordReplacesTheLabels) {
  const ReadDictionary read(WithVariables().Labels({{1.0, "one"}}, {1, 2}).Labels({{1.0, "first"}}, {1}).End().Bytes());
  EXPECT_STREQ("first", LabelOf(read, kA, 1.0));
  EXPECT_STREQ("one", LabelOf(read, kB, 1.0));
}

TEST(LabelRecord, FirstVariableGivesTheType) {
  const ReadDictionary read(WithVariables().Labels({{"abcdefgh", "text"}}, {3}).End().Bytes());
  EXPECT_EQ(8, read.source.GetVariable(kS).GetValueLabels()->Type());
}

TEST(LabelRecord, FirstVariableDecidesWhetherValuesAreByteSwapped) {
  // S comes first, so the value for A is not byte-swapped.
  const ReadDictionary read(WithVariables(kReversedOrder).Labels({{1.0, "one"}}, {3, 1}).End().Bytes());
  EXPECT_EQ(nullptr, LabelOf(read, kA, 1.0));
}

TEST(LabelRecord, MayHaveNoLabels) {
  const ReadDictionary read(WithVariables().Labels({}, {1}).End().Bytes());
  EXPECT_EQ(0, QUAV_ValueLabelMap(read.source.GetVariable(kA).GetValueLabels()).Size());
}

TEST(LabelRecord, NegativeCountGivesNoLabels) {
  const ReadDictionary read(WithVariables().I32(3).I32(-5).Index({1}).End().Bytes());
  EXPECT_EQ(0, QUAV_ValueLabelMap(read.source.GetVariable(kA).GetValueLabels()).Size());
}

TEST(LabelRecord, ExcessiveCountThrows1205) {
  const auto file = WithVariables().I32(3).I32(0x7FFFFFFF).F64(1.0).Raw("\x03one    ");
  EXPECT_THAT(FaultOf(file.Bytes()), IsFault(1205, "len == header.size()"));
}

TEST(LabelRecord, SecondLabelOfAValueReplacesTheFirst) {
  const ReadDictionary read(WithVariables().Labels({{1.0, "first"}, {1.0, "second"}}, {1}).End().Bytes());
  EXPECT_STREQ("second", LabelOf(read, kA, 1.0));
}

TEST(LabelRecord, LengthByteAndLabelFillAMultipleOf8) {
  for (const std::size_t length : {0u, 1u, 6u, 7u, 8u, 9u, 15u, 16u, 254u, 255u}) {
    const std::string text(length, 'x');
    const ReadDictionary read(WithVariables().Labels({{1.0, text}, {2.0, "next"}}, {1}).End().Bytes());
    EXPECT_EQ(text, LabelOf(read, kA, 1.0)) << length;
    EXPECT_STREQ("next", LabelOf(read, kA, 2.0)) << length;
  }
}

TEST(LabelRecord, LabelEndsAtANulByte) {
  const ReadDictionary read(WithVariables().Labels({{1.0, std::string("ab\0cd", 5)}}, {1}).End().Bytes());
  EXPECT_STREQ("ab", LabelOf(read, kA, 1.0));
}

TEST(LabelRecord, LabelKeepsTrailingBlanks) {
  const ReadDictionary read(WithVariables().Labels({{1.0, "ab  "}}, {1}).End().Bytes());
  EXPECT_STREQ("ab  ", LabelOf(read, kA, 1.0));
}

TEST(LabelRecord, LabelsOfALongStringCanBeIterated) {
  const ReadDictionary read(WithVariables().Labels({{"abcdefgh", "eight"}}, {4}).End().Bytes());
  QUAV_ValueLabelMap map(read.source.GetVariable(3).GetValueLabels());
  EXPECT_EQ(20, map.Type());
  std::vector<std::string> labels;
  std::string value;
  const char* label = nullptr;
  for (map.Reset(); map.GetNextPair(value, label);) {
    labels.push_back(label);
    EXPECT_EQ("abcdefgh", value.substr(0, 8));
  }
  EXPECT_THAT(labels, ElementsAre("eight"));
}

// ---- Slots ----

struct NoVariable {
  const char* name;
  std::vector<std::int32_t> slots;
};

class LabelRecordBadSlotDeathTest : public testing::TestWithParam<NoVariable> {};

TEST_P(LabelRecordBadSlotDeathTest, Asserts) {
  const std::string bytes = WithVariables().Labels({{1.0, "one"}}, GetParam().slots).End().Bytes();
  EXPECT_DEATH(ReadDictionary{bytes}, HasSubstr("assertion failed: 0 <= index"));
}

INSTANTIATE_TEST_SUITE_P(Slots, LabelRecordBadSlotDeathTest,
                         testing::Values(NoVariable{"Zero", {0}},                      //
                                         NoVariable{"Negative", {-1}},                 //
                                         NoVariable{"AfterTheLast", {8}},              //
                                         NoVariable{"FarAfterTheLast", {0x7FFFFFFF}},  //
                                         NoVariable{"InsideAString", {5}},             //
                                         NoVariable{"SecondInTheList", {1, 6}}),
                         kRowName);

TEST(LabelRecord, ExcessiveSlotCountThrows1205) {
  for (const std::int32_t count : {3, 0x40000000, 0x7FFFFFFF}) {
    const auto file = WithVariables().LabelsAlone({{1.0, "one"}}).I32(4).I32(count).I32(1).I32(2);
    EXPECT_THAT(FaultOf(file.Bytes()), IsFault(1205, "len == nVars*sizeof(int32)")) << count;
  }
}

}  // namespace
}  // namespace LabelRecord_test
