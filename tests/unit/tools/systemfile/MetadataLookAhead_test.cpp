// Tests each condition of the table in MetadataLookAhead.cpp against what the library does with the same contents.

#include "tools/systemfile/MetadataLookAhead.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <string>
#include <vector>

#include "datasrc/datasrc.h"
#include "tests/cli/InputFile.h"
#include "tools/systemfile/RecordLookAhead.h"

namespace {

// ---- Files ----

using Numbers = std::vector<std::int32_t>;

std::string BytesOf(const Numbers& numbers, bool reversed) {
  std::string bytes;
  for (const std::int32_t number : numbers) {
    auto raw = std::bit_cast<std::array<char, 4>>(number);
    if (reversed) std::ranges::reverse(raw);
    bytes.append(raw.begin(), raw.end());
  }
  return bytes;
}

// Returns a file with three variables and an extension record.
std::string FileWith(int subtype, int unitSize, const std::string& contents, bool reversed = false) {
  std::string bytes = "$FL2" + std::string(60, ' ') + BytesOf({2, 3, 0, 0, 0}, reversed);
  bytes.append(8, '\0').append("14 Mar 2410:20:30").append(64, ' ').append(3, '\0');
  for (const char* name : {"YEAR_   ", "MONTH_  ", "QUARTER_"})
    bytes += BytesOf({2, 0, 0, 0, 5 << 16, 5 << 16}, reversed) + name;
  bytes += BytesOf({7, subtype, unitSize, static_cast<int>(contents.size()) / unitSize}, reversed) + contents;
  return bytes + BytesOf({999, 0}, reversed);
}

// Without an assertion, the library opens the file or reports error 1204 by itself.
void ExpectFatal(const std::string& bytes, const char* assertion) {
  const InputFile file(bytes);
  EXPECT_EQ(assertion != nullptr, tool::FindFatalFlaw(file.Path()).has_value());
  const auto open = [&file] {
    try {
      GetDocuments(SystemFileDataSource(file.Path(), "", false));
    } catch (const QuavServerError& error) {
      EXPECT_EQ(1204, error.Number());
    }
  };
  if (assertion != nullptr) {
    EXPECT_DEATH(open(), testing::HasSubstr(std::string("assertion failed: ") + assertion));
  } else {
    open();
  }
}

struct Row {
  const char* name;
  std::string contents;
  const char* assertion;  // null for contents without a flaw
  int subtype = 5;
};

std::string NameOf(const testing::TestParamInfo<Row>& row) { return row.param.name; }

// ---- Sets ----

constexpr char kType[] = "(type == 'D') || (type == 'C') || (type == 'E')\n";
constexpr char kLabelLength[] = "(length != 0) || (strLabelLength[0] == '0')\n";
constexpr char kTextLength[] = "length <= line.size()\n";

class MetadataLookAheadSets : public testing::TestWithParam<Row> {};
INSTANTIATE_TEST_SUITE_P(
    Lines, MetadataLookAheadSets,
    testing::Values(
        Row{"Good", "$s=C 1 L q1", nullptr}, Row{"Enhanced", "$s=E 11 1 1 0  q1", nullptr, 19},
        Row{"Plain", "s=X", nullptr}, Row{"Type", "$s=X 1 L q1", kType}, Row{"NoType", "$s", kType, 19},
        Row{"TypeWithoutSign", "s=X", kType, 7}, Row{"TooShortForALine", "b", nullptr, 7},
        Row{"FlagsWithoutBlank", "$s=E11 1 1 0  q1", "blank == ' '\n", 19},
        Row{"ValueWithoutLength", "$s=D0  1 L q1", "length != 0\n", 7}, Row{"ValueTooLong", "$s=D9 1 1 L", kTextLength},
        Row{"NegativeLength", "$s=D-1 1 1 L", kTextLength}, Row{"LabelWithoutBlank", "$s=C1 L q1", "space == ' '\n"},
        Row{"LabelWithoutLength", "$s=C x L q1", kLabelLength}, Row{"LabelTooLong", "$s=C 9 L q1", kTextLength},
        Row{"NoBlankAfterLabel", "$s=C 0 q1", "space == ' '\n"},
        Row{"CarriageReturnInside", "$s=C 1\rL q1", kTextLength}, Row{"SecondLine", "$s=C 1 L q1\r\n\n$t=X\n", kType},
        Row{"NoName", "=x\ns=y\n", nullptr}, Row{"NoNameTwice", "=x\n=y\n", "! str.empty()\n"},
        Row{"RepeatAfterNoName", "s=x\n=x\nt=y\nt=z\n", "! str.empty()\n"},
        Row{"FirstOfTheNameBeforeNoName", "s=x\n=x\ns=y\n", nullptr},
        Row{"RepeatAfterALineWithoutName", "\rx\nt=y\nt=z\n", "! str.empty()\n", 19},
        Row{"RepeatedMRSetAfterNoName", "=x\n$s=C 0  a\n$s=C 0  a\n", "! str.empty()\n", 19},
        Row{"NoNameButTheSign", "=C 0  a\n=C 0  a\n", nullptr, 7}),
    NameOf);

TEST_P(MetadataLookAheadSets, FindsAFlawWhereTheLibraryAsserts) {
  ExpectFatal(FileWith(GetParam().subtype, 1, GetParam().contents), GetParam().assertion);
}

TEST(MetadataLookAheadSets, ChecksAsManyBytesAsTheRecordHasUnits) {
  ExpectFatal(FileWith(5, 2, "s= a\n$s=X "), nullptr);
  ExpectFatal(FileWith(5, 2, "$s=C 9 L abcdefghi  a "), kTextLength);
}

TEST(MetadataLookAheadSets, ReportsTheOffsetOfTheLine) {
  const auto flaw = tool::FindFlawOfSets("$a=C 1 L q1\r\n\n$b=X\n", 19);
  ASSERT_TRUE(flaw);
  EXPECT_EQ(14u, flaw->place);
}

// ---- Documents ----

std::string Line(std::string text) {
  text.resize(80, ' ');
  return text;
}

class MetadataLookAheadDocuments : public testing::TestWithParam<Row> {};
INSTANTIATE_TEST_SUITE_P(
    Lines, MetadataLookAheadDocuments,
    testing::Values(Row{"Good", Line("text") + Line("   (Entered 05-Mar-2021)"), nullptr},
                    Row{"NoDate", Line("text"), nullptr}, Row{"IncompleteLine", Line("text") + "x", "bytes%80 == 0\n"},
                    Row{"Short", Line("   (Entered 05-Mar)"), "8 < date.size()\n"},
                    Row{"Month", Line("   (Entered 05-Mai-21)"), "0 < mo && mo < 13\n"},
                    Row{"DayZero", Line("   (Entered 00-Mar-21)"), "0 < da && da < 32\n"},
                    Row{"Day32", Line("   (Entered 32-Mar-21)"), "0 < da && da < 32\n"},
                    Row{"FirstDigit", Line("   (Entered x5-Mar-21)"), "'0' <= date[0] && date[0] <= '9'\n"},
                    Row{"SecondDigit", Line("   (Entered 0x-Mar-21)"), "'0' <= date[1] && date[1] <= '9'\n"},
                    Row{"Year", Line("   (Entered 05-Mar-x1)"), "'0' <= date[7] && date[7] <= '9'\n"},
                    Row{"YearsSecondDigit", Line("   (Entered 05-Mar-2x)"), "'0' <= date[8] && date[8] <= '9'\n"},
                    Row{"SecondDocument", Line("   (Entered 05-Mar-21)") + Line("") + Line("   (Entered 05-Mar)"),
                        "8 < date.size()\n"},
                    Row{"DateLineAsSeparator", Line("   (Entered 05-Mar-21)") + Line("   (Entered 05-Mar)"), nullptr}),
    NameOf);

TEST_P(MetadataLookAheadDocuments, FindsAFlawWhereTheLibraryAsserts) {
  ExpectFatal(FileWith(0, 1, GetParam().contents), GetParam().assertion);
}

TEST(MetadataLookAheadDocuments, ReadsLinesInWholeUnits) {
  const std::string date = Line("   (Entered 05-Mar)");
  ExpectFatal(FileWith(0, 3, date + Line("") + Line("")), "8 < date.size()\n");
  ExpectFatal(FileWith(0, 160, date + Line("")), nullptr);
}

// ---- Trends ----

struct TrendsRow {
  const char* name;
  Numbers numbers;
  const char* assertion;  // null when the library continues or reports the fault by itself
  std::int32_t unitSize = 4;
};

Numbers WithVariables(std::int32_t announced, std::size_t units) {
  Numbers numbers{0, 1, announced, 1, 1, 1};
  numbers.resize(units);
  return numbers;
}

class MetadataLookAheadTrends : public testing::TestWithParam<TrendsRow> {};
INSTANTIATE_TEST_SUITE_P(
    Records, MetadataLookAheadTrends,
    testing::Values(
        TrendsRow{"TenVariables", WithVariables(10, 6 + 33), nullptr},
        TrendsRow{"ElevenVariables", WithVariables(11, 6 + 33), "nDateVars < eMaxDateVars"},
        TrendsRow{"ElevenInATooShortRecord", WithVariables(11, 6), nullptr},
        TrendsRow{"ElevenInUnitsOfAByte", WithVariables(11, 10), "nDateVars < eMaxDateVars", 1},
        TrendsRow{"ElevenInUnitsOfEightBytes", WithVariables(11, 6 + 34), nullptr, 8},
        TrendsRow{"CountOfZero", {0, 1, 0, 1, 1, 0, 1, 2, 1}, "iDateVar >= 0 && fData.fVars != 0"},
        TrendsRow{"CountOfZeroInUnitsOfAByte", {0, 1, 0, 1, 1, 0}, nullptr, 1},
        TrendsRow{"NegativeCount", {0, 1, -1, 1, 1, 1, 1, 2, 1}, "iDateVar >= 0 && fData.fVars != 0"},
        TrendsRow{"EntryWithoutVariable", {0, 1, 0, 1, 1, 0, 0, 2, 1}, nullptr},
        TrendsRow{"Good", {0, 1, 1, 1, 1, 1, 1, 2, 1, 1, 11, 1}, nullptr},
        TrendsRow{"OtherTypeInPlaceOfTheKey", {0, 1, 1, 1, 1, 1, 1, 2, 1, 1, 2, 1}, "iDateVar < fData.fnDateVars"},
        TrendsRow{"EntryAfterTheKey", {0, 1, 1, 1, 1, 1, 1, 2, 1, 1, 11, 1, 1, 11, 1}, "iDateVar < fData.fnDateVars"},
        TrendsRow{"Short", {0, 1}, nullptr}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_P(MetadataLookAheadTrends, FindsAFlawWhereTheLibraryAsserts) {
  for (const bool reversed : {false, true}) {
    SCOPED_TRACE(reversed);
    ExpectFatal(FileWith(6, GetParam().unitSize, BytesOf(GetParam().numbers, reversed), reversed),
                GetParam().assertion);
  }
}

}  // namespace
