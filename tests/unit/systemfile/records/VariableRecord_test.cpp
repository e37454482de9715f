// Tests how ReadSystemFileDictionary reads the variable record.

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "datasrc/QUAV_Variable.h"
#include "tests/support/Reading.h"
#include "tests/support/RowName.h"

namespace VariableRecord_test {
namespace {

SystemFileBuilder WithHeader(std::endian order = std::endian::native) {
  SystemFileBuilder file(order);
  file.Header();
  return file;
}

// Returns the only variable of a file with one variable record.
QUAV_Variable OnlyVariable(const FileVariable& variable, std::endian order = std::endian::native) {
  const ReadDictionary read(WithHeader(order).Variable(variable).End().Bytes());
  EXPECT_EQ(1u, read.source.ColumnCount());
  return read.source.GetVariable(0);
}

std::vector<OBS> MissingCells(const QUAV_Variable& variable, int expectedCode) {
  const OBS* values[3] = {};
  EXPECT_EQ(expectedCode, variable.GetMissingValues(values[0], values[1], values[2]));
  std::vector<OBS> cells;
  const int count = expectedCode < 0 ? -expectedCode : expectedCode;
  for (int i = 0; i < count; ++i) cells.push_back(*values[i]);
  return cells;
}

class VariableRecordInEitherOrder : public testing::TestWithParam<std::endian> {};
INSTANTIATE_TEST_SUITE_P(Orders, VariableRecordInEitherOrder, testing::Values(std::endian::little, std::endian::big),
                         OrderName);

TEST_P(VariableRecordInEitherOrder, SetsTypeNameAndFormats) {
  const auto variable = OnlyVariable({.name = "WEIGHT", .print = 0x00050A03, .write = 0x00110C04}, GetParam());
  EXPECT_EQ(0, variable.GetType());
  EXPECT_STREQ("WEIGHT", variable.GetName());
  EXPECT_EQ(QUAV_Format(kFormatNumber, 10, 3), variable.GetFormatEx());
  EXPECT_EQ(QUAV_Format(kFormatScientific, 12, 4), variable.GetWriteFormatEx());
}

TEST_P(VariableRecordInEitherOrder, SetsTheLabel) {
  const auto variable = OnlyVariable({.name = "A", .label = "five!"}, GetParam());
  EXPECT_STREQ("five!", variable.GetLabel());
}

TEST_P(VariableRecordInEitherOrder, MissingNumbersAreInNativeOrder) {
  const auto variable = OnlyVariable({.name = "A", .missingCount = 3, .missing = {1.5, -2.0, 1e100}}, GetParam());
  EXPECT_EQ(CellsOf(FileCase{1.5, -2.0, 1e100}), MissingCells(variable, 3));
}

TEST_P(VariableRecordInEitherOrder, MissingTextsAreUnchanged) {
  const auto variable =
      OnlyVariable({.name = "A", .type = 8, .missingCount = 2, .missing = {"abcdefgh", "xyz"}}, GetParam());
  EXPECT_EQ(CellsOf(FileCase{"abcdefgh", "xyz"}), MissingCells(variable, 2));
}

TEST_P(VariableRecordInEitherOrder, EndsWhereTheNextRecordBegins) {
  const ReadDictionary read(WithHeader(GetParam())
                                .Variable({.name = "A", .label = "one", .missingCount = 1, .missing = {9.0}})
                                .Variable({.name = "B", .type = 4, .label = "fourfour", .missingCount = 0})
                                .Variable({.name = "C", .missingCount = -2, .missing = {1.0, 2.0}})
                                .End()
                                .Bytes());
  ASSERT_EQ(3u, read.source.ColumnCount());
  EXPECT_STREQ("A", read.source.GetVariable(0).GetName());
  EXPECT_STREQ("B", read.source.GetVariable(1).GetName());
  EXPECT_STREQ("C", read.source.GetVariable(2).GetName());
  EXPECT_EQ(4, read.source.GetVariable(1).GetType());
}

// ---- Strings and continuations ----

TEST(VariableRecord, StringOf20BytesIsThreeRecordsAndOneColumn) {
  const ReadDictionary read(WithHeader()
                                .Variable({.name = "S", .type = 20})
                                .Variable({.type = -1})
                                .Variable({.type = -1})
                                .Number("N")
                                .End()
                                .Bytes());
  ASSERT_EQ(2u, read.source.ColumnCount());
  EXPECT_EQ(20, read.source.GetVariable(0).GetType());
  EXPECT_EQ(3, read.source.ObsIndex(1));
  EXPECT_EQ(4, read.options.layout.NominalCaseSize());
}

TEST(VariableRecord, StringMayBe255BytesWide) {
  const ReadDictionary read(WithHeader().String("S", 255).End().Bytes());
  EXPECT_EQ(255, read.source.GetVariable(0).GetType());
  EXPECT_EQ(32, read.options.layout.NominalCaseSize());
}

TEST(VariableRecord, StringOfMoreThan255BytesThrows1204) {
  for (const std::int32_t type : {256, 1000, 0x7FFFFFFF})
    EXPECT_THAT(FaultOf(WithHeader().Variable({.name = "S", .type = type}).End().Bytes()), IsFault(1204, "type <= 255"))
        << type;
}

TEST(VariableRecord, ContinuationOfAnyNegativeTypeAddsNoVariable) {
  for (const std::int32_t type : {-1, -2, -1000, std::numeric_limits<std::int32_t>::min()}) {
    const ReadDictionary read(WithHeader().String("S", 8).Variable({.name = "X", .type = type}).End().Bytes());
    EXPECT_EQ(1u, read.source.ColumnCount()) << type;
  }
}

TEST(VariableRecord, ContinuationIsReadWithAllItsPartsAndDropped) {
  const ReadDictionary read(
      WithHeader()
          .Variable({.name = "S", .type = 16})
          .Variable({.type = -1, .label = "a label", .missingCount = -3, .missing = {1.0, 2.0, 3.0}})
          .Number("N")
          .End()
          .Bytes());
  ASSERT_EQ(2u, read.source.ColumnCount());
  EXPECT_EQ(nullptr, read.source.GetVariable(0).GetLabel());
  MissingCells(read.source.GetVariable(0), 0);
  EXPECT_STREQ("N", read.source.GetVariable(1).GetName());
}

// ---- Names ----

TEST(VariableRecord, NameLosesItsTrailingBlanks) { EXPECT_STREQ("AB", OnlyVariable({.name = "AB"}).GetName()); }

TEST(VariableRecord, NameMayFillItsField) { EXPECT_STREQ("ABCDEFGH", OnlyVariable({.name = "ABCDEFGH"}).GetName()); }

TEST(VariableRecord, BlankNameIsEmpty) { EXPECT_STREQ("", OnlyVariable({.name = ""}).GetName()); }

// ---- Formats ----

struct FormatWord {
  const char* name;
  std::int32_t word;
  QUAV_Format format;
};

class VariableRecordFormat : public testing::TestWithParam<FormatWord> {};

TEST_P(VariableRecordFormat, SetsPrintAndWriteFormats) {
  const FormatWord& p = GetParam();
  EXPECT_EQ(p.format, OnlyVariable({.name = "A", .print = p.word}).GetFormatEx());
  EXPECT_EQ(p.format, OnlyVariable({.name = "A", .write = p.word}).GetWriteFormatEx());
}

INSTANTIATE_TEST_SUITE_P(
    Words, VariableRecordFormat,
    testing::Values(FormatWord{"Number", 0x00050802, QUAV_Format(kFormatNumber, 8, 2)},
                    FormatWord{"NumberOfWidth40", 0x00052802, QUAV_Format(kFormatNumber, 40, 2)},
                    FormatWord{"NumberOfWidth41IsCutTo40", 0x00052902, QUAV_Format(kFormatNumber, 40, 2)},
                    FormatWord{"NumberOfWidth255IsCutTo40", 0x0005FF02, QUAV_Format(kFormatNumber, 40, 2)},
                    FormatWord{"StringOfWidth255", 0x0001FF00, QUAV_Format(kFormatString, 255, 0)},
                    FormatWord{"HexStringOfWidth255", 0x0002FF00, QUAV_Format(kFormatHexString, 255, 0)},
                    FormatWord{"DecimalsOfAStringAreTheHighByteOfTheWidth", 0x00010401,
                               QUAV_Format(kFormatString, 260, 0)},
                    FormatWord{"HexStringKeepsItsDecimals", 0x00020401, QUAV_Format(kFormatHexString, 4, 1)},
                    FormatWord{"HighByteIsIgnored", 0x7F050802, QUAV_Format(kFormatNumber, 8, 2)},
                    FormatWord{"NegativeWord", static_cast<std::int32_t>(0xFF050802), QUAV_Format(kFormatNumber, 8, 2)},
                    FormatWord{"UnknownType", 0x00C80802, QUAV_Format(static_cast<FormatType>(200), 8, 2)},
                    FormatWord{"DecimalsOf255", 0x000508FF, QUAV_Format(kFormatNumber, 8, 255)}),
    kRowName);

// ---- Labels ----

TEST(VariableRecord, LabelIsPaddedToAMultipleOf4InTheFile) {
  for (std::size_t length = 1; length <= 9; ++length) {
    const std::string label = std::string("123456789").substr(0, length);
    const ReadDictionary read(WithHeader().Variable({.name = "A", .label = label}).Number("NEXT").End().Bytes());
    ASSERT_EQ(2u, read.source.ColumnCount()) << length;
    EXPECT_EQ(label, read.source.GetVariable(0).GetLabel());
    EXPECT_STREQ("NEXT", read.source.GetVariable(1).GetName());
  }
}

TEST(VariableRecord, AnyNonzeroFlagMeansALabel) {
  for (const std::int32_t flag : {1, 2, -1, 0x01000000}) {
    const ReadDictionary read(WithHeader()
                                  .I32(2)
                                  .I32(0)
                                  .I32(flag)
                                  .I32(0)
                                  .I32(0x00050802)
                                  .I32(0x00050802)
                                  .Text("A", 8)
                                  .I32(3)
                                  .Text("abc", 4)
                                  .End()
                                  .Bytes());
    EXPECT_STREQ("abc", read.source.GetVariable(0).GetLabel()) << flag;
  }
}

TEST(VariableRecord, HasNoLabelWithoutTheFlag) { EXPECT_EQ(nullptr, OnlyVariable({.name = "A"}).GetLabel()); }

TEST(VariableRecord, LabelMayBeEmpty) { EXPECT_STREQ("", OnlyVariable({.name = "A", .label = ""}).GetLabel()); }

// The length of a label comes after the 28 bytes of the record and its type word.
std::string WithLabelLength(std::int32_t length) {
  std::string bytes = WithHeader().Variable({.name = "A", .label = "abcd"}).End().Bytes();
  return bytes.replace(176 + 32, 4, SystemFileBuilder().I32(length).Bytes());
}

TEST(VariableRecord, ExcessiveLabelLengthFailsAtTheNextRecord) {
  for (const std::int32_t length : {100, 0x7FFFFFF0, 0x7FFFFFFF})
    EXPECT_THAT(FaultOf(WithLabelLength(length)), IsFault(1205, "len == sizeof(recType)")) << length;
}

TEST(VariableRecord, NegativeLabelLengthFailsAtTheNextRecord) {
  // No text is read, so its four bytes are taken for a record type.
  EXPECT_THAT(FaultOf(WithLabelLength(-4)), IsFault(1204, "false"));
}

// ---- Missing values ----

struct MissingCount {
  const char* name;
  std::int32_t count;
  std::vector<FileValue> values;
};

class VariableRecordMissingCount : public testing::TestWithParam<MissingCount> {};

TEST_P(VariableRecordMissingCount, GivesThatManyValues) {
  const MissingCount& p = GetParam();
  const ReadDictionary read(
      WithHeader().Variable({.name = "A", .missingCount = p.count, .missing = p.values}).Number("NEXT").End().Bytes());
  ASSERT_EQ(2u, read.source.ColumnCount());
  EXPECT_EQ(CellsOf(FileCase(p.values)), MissingCells(read.source.GetVariable(0), p.count));
}

INSTANTIATE_TEST_SUITE_P(Counts, VariableRecordMissingCount,
                         testing::Values(MissingCount{"None", 0, {}},                //
                                         MissingCount{"One", 1, {7.0}},              //
                                         MissingCount{"Two", 2, {7.0, 8.0}},         //
                                         MissingCount{"Three", 3, {7.0, 8.0, 9.0}},  //
                                         MissingCount{"Range", -2, {7.0, 8.0}},      //
                                         MissingCount{"RangeAndOne", -3, {7.0, 8.0, 99.0}}),
                         kRowName);

TEST(VariableRecord, MoreThanThreeMissingValuesThrow1204) {
  for (const std::int32_t count :
       {4, -4, 1000, std::numeric_limits<std::int32_t>::max(), std::numeric_limits<std::int32_t>::min()}) {
    auto file = WithHeader().Variable({.name = "A", .missingCount = count});
    for (int i = 0; i < 4; ++i) file.F64(1.0);
    EXPECT_THAT(FaultOf(file.End().Bytes()), IsFault(1204, "-3 <= nMissing && nMissing <= 3")) << count;
  }
}

TEST(VariableRecord, MoreThanThreeMissingValuesInAContinuationThrow1204) {
  auto file = WithHeader().Variable({.name = "A", .type = 16}).Variable({.type = -1, .missingCount = 4});
  EXPECT_THAT(FaultOf(file.End().Bytes()), IsFault(1204, "-3 <= nMissing && nMissing <= 3"));
}

TEST(VariableRecord, MissingValuesOfAContinuationAreDropped) {
  const ReadDictionary read(WithHeader(kReversedOrder)
                                .Variable({.name = "A", .type = 16})
                                .Variable({.type = -1, .missingCount = 1, .missing = {1.0}})
                                .End()
                                .Bytes());
  MissingCells(read.source.GetVariable(0), 0);
}

// ---- Truncated records ----

TEST(VariableRecord, TruncatedRecordFailsAtTheNextRecord) {
  const std::string before = WithHeader().Bytes();
  const std::string whole =
      WithHeader().Variable({.name = "A", .label = "abcd", .missingCount = 1, .missing = {1.0}}).Bytes();
  // After the 4 bytes of the record type, every cut is taken for the end of the record.
  for (std::size_t size = before.size() + 4; size <= whole.size(); ++size)
    ASSERT_THAT(FaultOf(whole.substr(0, size)), IsFault(1205, "len == sizeof(recType)")) << size << " bytes";
}

}  // namespace
}  // namespace VariableRecord_test
