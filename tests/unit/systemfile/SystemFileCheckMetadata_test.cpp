// Each rule on the contents of records whose breach ends the process: what the check finds, and what the library does
// with the same contents.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "datasrc/datasrc.h"
#include "tests/support/FaultyStream.h"
#include "tests/support/TempFile.h"

namespace SystemFileCheckMetadata_test {
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

constexpr long long kExtensionPlace = 176 + 3 * 32;

// A file of three variables, with an extension record.
std::string FileWith(int subtype, int unitSize, const std::string& contents, bool reversed = false) {
  std::string bytes = "$FL2" + std::string(60, ' ') + BytesOf({2, 3, 0, 0, 0}, reversed);
  bytes.append(8, '\0').append("14 Mar 2410:20:30").append(64, ' ').append(3, '\0');
  for (const char* name : {"YEAR_   ", "MONTH_  ", "QUARTER_"})
    bytes += BytesOf({2, 0, 0, 0, 5 << 16, 5 << 16}, reversed) + name;
  bytes += BytesOf({7, subtype, unitSize, static_cast<int>(contents.size()) / unitSize}, reversed) + contents;
  return bytes + BytesOf({999, 0}, reversed);
}

// What is not fatal opens, or is an error that the opening reports.
void ExpectFatal(const std::string& bytes, const char* assertion) {
  FaultyStream stream(bytes);
  const std::optional<FatalRecord> fatal = FindFatalRecord(stream);
  EXPECT_EQ(assertion != nullptr, fatal.has_value());
  if (assertion != nullptr && fatal) {
    EXPECT_THAT(fatal->assertion + "\n", testing::StartsWith(assertion));
    EXPECT_EQ(kExtensionPlace, fatal->place.offset);
    EXPECT_EQ(7, fatal->place.record);
  }
  const TempFile file(bytes);
  const auto open = [&file] {
    try {
      GetDocuments(SystemFileDataSource(file.Name(), "", false));
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
  const char* assertion;  // null for contents that are no flaw
  int subtype = 5;
};

std::string NameOf(const testing::TestParamInfo<Row>& row) { return row.param.name; }

// ---- Sets ----

constexpr char kType[] = "(type == 'D') || (type == 'C') || (type == 'E')\n";
constexpr char kLabelLength[] = "(length != 0) || (strLabelLength[0] == '0')\n";
constexpr char kTextLength[] = "length <= line.size()\n";

class SetContents : public testing::TestWithParam<Row> {};
INSTANTIATE_TEST_SUITE_P(
    Lines, SetContents,
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
        Row{"RepeatBeforeNoName", "s=x\n=x\ns=y\n", nullptr},
        Row{"RepeatAfterALineThatIsNone", "\rx\nt=y\nt=z\n", "! str.empty()\n", 19},
        Row{"MRSetAfterNoName", "=x\n$s=C 0  a\n$s=C 0  a\n", "! str.empty()\n", 19},
        Row{"OfNoNameButTheSign", "=C 0  a\n=C 0  a\n", nullptr, 7}),
    NameOf);

TEST_P(SetContents, AreFatalWhereTheLibraryEndsTheProcess) {
  ExpectFatal(FileWith(GetParam().subtype, 1, GetParam().contents), GetParam().assertion);
}

TEST(SetContents, AreAsManyBytesAsTheRecordHasUnits) {
  ExpectFatal(FileWith(5, 2, "s= a\n$s=X "), nullptr);
  ExpectFatal(FileWith(5, 2, "$s=C 9 L abcdefghi  a "), kTextLength);
}

// ---- Documents ----

std::string Line(std::string text) {
  text.resize(80, ' ');
  return text;
}

class DocumentContents : public testing::TestWithParam<Row> {};
INSTANTIATE_TEST_SUITE_P(
    Lines, DocumentContents,
    testing::Values(Row{"Good", Line("text") + Line("   (Entered 05-Mar-2021)"), nullptr},
                    Row{"NoDate", Line("text"), nullptr}, Row{"NotWhole", Line("text") + "x", "bytes%80 == 0\n"},
                    Row{"Short", Line("   (Entered 05-Mar)"), "8 < date.size()\n"},
                    Row{"Month", Line("   (Entered 05-Mai-21)"), "0 < mo && mo < 13\n"},
                    Row{"DayNull", Line("   (Entered 00-Mar-21)"), "0 < da && da < 32\n"},
                    Row{"Day32", Line("   (Entered 32-Mar-21)"), "0 < da && da < 32\n"},
                    Row{"FirstDigit", Line("   (Entered x5-Mar-21)"), "'0' <= date[0] && date[0] <= '9'\n"},
                    Row{"SecondDigit", Line("   (Entered 0x-Mar-21)"), "'0' <= date[1] && date[1] <= '9'\n"},
                    Row{"Year", Line("   (Entered 05-Mar-x1)"), "'0' <= date[7] && date[7] <= '9'\n"},
                    Row{"YearsSecondDigit", Line("   (Entered 05-Mar-2x)"), "'0' <= date[8] && date[8] <= '9'\n"},
                    Row{"SecondDocument", Line("   (Entered 05-Mar-21)") + Line("") + Line("   (Entered 05-Mar)"),
                        "8 < date.size()\n"},
                    Row{"InPlaceOfTheSeparator", Line("   (Entered 05-Mar-21)") + Line("   (Entered 05-Mar)"),
                        nullptr}),
    NameOf);

TEST(DocumentContents, OfTheLastRecordCount) {
  const std::string bad = Line("   (Entered 05-Mar)");
  const std::string good = Line("   (Entered 05-Mar-21)");
  const auto record = [](const std::string& line) { return BytesOf({6, 1}, false) + line; };
  const std::string start = FileWith(99, 1, "x").substr(0, kExtensionPlace);
  const std::string end = BytesOf({999, 0}, false);
  FaultyStream badLast(start + record(good) + record(bad) + end);
  const auto fatal = FindFatalRecord(badLast);
  ASSERT_TRUE(fatal);
  EXPECT_EQ("record 6, byte " + std::to_string(kExtensionPlace + 88), fatal->place.Text());
  FaultyStream goodLast(start + record(bad) + record(good) + end);
  EXPECT_FALSE(FindFatalRecord(goodLast));
}

TEST_P(DocumentContents, AreFatalWhereTheLibraryEndsTheProcess) {
  ExpectFatal(FileWith(0, 1, GetParam().contents), GetParam().assertion);
}

TEST(DocumentContents, InLargerUnitsAreReadByWholeOnes) {
  const std::string date = Line("   (Entered 05-Mar)");
  ExpectFatal(FileWith(0, 3, date + Line("") + Line("")), "8 < date.size()\n");
  ExpectFatal(FileWith(0, 160, date + Line("")), nullptr);
}

// ---- Trends ----

struct TrendsRow {
  const char* name;
  Numbers numbers;
  const char* assertion;  // null when the library goes on, or finds the fault by itself
  std::int32_t unitSize = 4;
};

Numbers WithVariables(std::int32_t announced, std::size_t units) {
  Numbers numbers{0, 1, announced, 1, 1, 1};
  numbers.resize(units);
  return numbers;
}

class TrendsContents : public testing::TestWithParam<TrendsRow> {};
INSTANTIATE_TEST_SUITE_P(
    Records, TrendsContents,
    testing::Values(TrendsRow{"TenVariables", WithVariables(10, 6 + 33), nullptr},
                    TrendsRow{"ElevenVariables", WithVariables(11, 6 + 33), "nDateVars < eMaxDateVars"},
                    TrendsRow{"ElevenInARecordTooShort", WithVariables(11, 6), nullptr},
                    TrendsRow{"ElevenInUnitsOfAByte", WithVariables(11, 10), "nDateVars < eMaxDateVars", 1},
                    TrendsRow{"ElevenInUnitsOfEightBytes", WithVariables(11, 6 + 34), nullptr, 8},
                    TrendsRow{"NoneAnnounced", {0, 1, 0, 1, 1, 0, 1, 2, 1}, "iDateVar >= 0 && fData.fVars != 0"},
                    TrendsRow{"NoneAnnouncedAfterTheBytes", {0, 1, 0, 1, 1, 0}, nullptr, 1},
                    TrendsRow{"FewerThanNone", {0, 1, -1, 1, 1, 1, 1, 2, 1}, "iDateVar >= 0 && fData.fVars != 0"},
                    TrendsRow{"AnEntryOfNoVariable", {0, 1, 0, 1, 1, 0, 0, 2, 1}, nullptr},
                    TrendsRow{"Good", {0, 1, 1, 1, 1, 1, 1, 2, 1, 1, 11, 1}, nullptr},
                    TrendsRow{"NoKeyInItsPlace", {0, 1, 1, 1, 1, 1, 1, 2, 1, 1, 2, 1}, "iDateVar < fData.fnDateVars"},
                    TrendsRow{
                        "AfterTheKey", {0, 1, 1, 1, 1, 1, 1, 2, 1, 1, 11, 1, 1, 11, 1}, "iDateVar < fData.fnDateVars"},
                    TrendsRow{"Short", {0, 1}, nullptr}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_P(TrendsContents, AreFatalWhereTheLibraryEndsTheProcess) {
  for (const bool reversed : {false, true}) {
    SCOPED_TRACE(reversed);
    ExpectFatal(FileWith(6, GetParam().unitSize, BytesOf(GetParam().numbers, reversed), reversed),
                GetParam().assertion);
  }
}

}  // namespace
}  // namespace SystemFileCheckMetadata_test
