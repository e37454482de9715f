// Each condition of the table in MetadataLookAhead.cpp, against what the library does with the same contents.

#include "tools/MetadataLookAhead.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <string>
#include <vector>

#include "datasrc/DSDocument.h"
#include "datasrc/SystemFileDataSource.h"
#include "datasrc/VariableSet.h"

namespace {

struct Row {
  const char* name;
  std::string contents;
  bool isFatal;
};

std::string NameOf(const testing::TestParamInfo<Row>& row) { return row.param.name; }

// ---- Sets ----

class SetContents : public testing::TestWithParam<Row> {};
INSTANTIATE_TEST_SUITE_P(
    Lines, SetContents,
    testing::Values(Row{"Good", "$s=C 1 L q1", false}, Row{"Enhanced", "$s=E 11 1 1 0  q1", false},
                    Row{"Plain", "s=X", false}, Row{"Type", "$s=X 1 L q1", true}, Row{"NoType", "$s", true},
                    Row{"FlagsWithoutBlank", "$s=E11 1 1 0  q1", true},
                    Row{"ValueWithoutLength", "$s=D0  1 L q1", true}, Row{"ValueTooLong", "$s=D9 1 1 L", true},
                    Row{"NegativeLength", "$s=D-1 1 1 L", true}, Row{"LabelWithoutBlank", "$s=C1 L q1", true},
                    Row{"LabelWithoutLength", "$s=C x L q1", true}, Row{"LabelTooLong", "$s=C 9 L q1", true},
                    Row{"NoBlankBehindLabel", "$s=C 0 q1", true}, Row{"CarriageReturnInside", "$s=C 1\rL q1", true}),
    NameOf);

TEST_P(SetContents, AreFatalWhereTheLibraryEndsTheProcess) {
  EXPECT_EQ(GetParam().isFatal, tool::FindFlawOfSets(GetParam().contents, 5).has_value());
  const auto parse = [] { const VariableSet set{GetParam().contents}; };
  if (GetParam().isFatal) {
    EXPECT_DEATH(parse(), "assertion failed");
  } else {
    parse();
  }
}

TEST(SetContents, TellThePlaceOfTheLine) {
  const auto flaw = tool::FindFlawOfSets("$a=C 1 L q1\r\n\n$b=X\n", 19);
  ASSERT_TRUE(flaw);
  EXPECT_EQ(14u, flaw->place);
}

TEST(SetContents, OfTheOlderRecordNeedNoSign) {
  EXPECT_TRUE(tool::FindFlawOfSets("b=X\n", 7));
  EXPECT_FALSE(tool::FindFlawOfSets("b=X\n", 5));
  EXPECT_FALSE(tool::FindFlawOfSets("b", 7)) << "too short for a line";
}

// ---- Documents ----

std::string Line(std::string text) {
  text.resize(80, ' ');
  return text;
}

class DocumentContents : public testing::TestWithParam<Row> {};
INSTANTIATE_TEST_SUITE_P(
    Lines, DocumentContents,
    testing::Values(
        Row{"Good", Line("text") + Line("   (Entered 05-Mar-2021)"), false}, Row{"NoDate", Line("text"), false},
        Row{"NotWhole", Line("text") + "x", true}, Row{"Short", Line("   (Entered 05-Mar)"), true},
        Row{"Month", Line("   (Entered 05-Mai-21)"), true}, Row{"Day", Line("   (Entered 00-Mar-21)"), true},
        Row{"Digits", Line("   (Entered x5-Mar-21)"), true}, Row{"Year", Line("   (Entered 05-Mar-x1)"), true},
        Row{"SecondDocument", Line("   (Entered 05-Mar-21)") + Line("") + Line("   (Entered 05-Mar)"), true},
        Row{"InPlaceOfTheSeparator", Line("   (Entered 05-Mar-21)") + Line("   (Entered 05-Mar)"), false}),
    NameOf);

TEST_P(DocumentContents, AreFatalWhereTheLibraryEndsTheProcess) {
  EXPECT_EQ(GetParam().isFatal, tool::FindFlawOfDocuments(GetParam().contents, 1).has_value());
  SystemFileDataSource source;
  source.SetExtension(0, 1, static_cast<long>(GetParam().contents.size()), GetParam().contents.data());
  if (GetParam().isFatal) {
    EXPECT_DEATH(GetDocuments(source), "assertion failed");
  } else {
    GetDocuments(source);
  }
}

// ---- Trends ----

std::string Numbers(const std::vector<std::int32_t>& numbers, bool reversed) {
  std::string bytes;
  for (const std::int32_t number : numbers) {
    auto raw = std::bit_cast<std::array<char, 4>>(number);
    if (reversed) std::ranges::reverse(raw);
    bytes.append(raw.begin(), raw.end());
  }
  return bytes;
}

TEST(TrendsContents, AreFatalWithDateVariablesThatThereCannotBe) {
  std::vector<std::int32_t> eleven{0, 1, 11, 1, 1, 1};
  eleven.resize(6 + 33);
  for (const bool reversed : {false, true}) {
    const auto isFatal = [reversed](const std::vector<std::int32_t>& numbers) {
      return tool::FindFlawOfTrends(Numbers(numbers, reversed), reversed).has_value();
    };
    EXPECT_TRUE(isFatal(eleven));
    EXPECT_FALSE(isFatal({0, 1, 11, 1, 1, 1})) << "the library finds that it is too short";
    EXPECT_TRUE(isFatal({0, 1, 0, 1, 1, 0, 1, 2, 1}));
    EXPECT_FALSE(isFatal({0, 1, 0, 1, 1, 0, 0, 2, 1})) << "an entry of no variable";
    EXPECT_FALSE(isFatal({0, 1, 1, 1, 1, 1, 1, 2, 1, 1, 11, 1}));
    EXPECT_TRUE(isFatal({0, 1, 1, 1, 1, 1, 1, 2, 1, 1, 2, 1})) << "another type in the place of the key";
    EXPECT_TRUE(isFatal({0, 1, 1, 1, 1, 1, 1, 2, 1, 1, 11, 1, 1, 11, 1})) << "behind the key";
    EXPECT_TRUE(isFatal({0, 1, -1, 1, 1, 1, 1, 2, 1}));
    EXPECT_FALSE(isFatal({0, 1}));
  }
}

}  // namespace
