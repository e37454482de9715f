#include "systemfile/DictionaryWriter.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <limits>
#include <string>

#include "tests/support/Reading.h"

namespace DictionaryWriter_test {
namespace {

// Returns the records that are written after the header, without extension records and the end record.
std::string Records(const QUAV_DataSource& dictionary) {
  const SystemFileOptions options;
  FaultyStream file("");
  DictionaryWriter(dictionary, options, file).Write({});
  const std::string& bytes = file.Bytes();
  return bytes.substr(176, bytes.size() - 176 - 8);
}

std::string Variable(const FileVariable& variable) { return SystemFileBuilder().Variable(variable).Bytes(); }

// ---- Variables ----

TEST(DictionaryWriter, DoesNotPadAVariableLabelOfFourBytes) {
  SystemFileDataSource source;
  QUAV_Variable& variable = source.MakeVariable(0, nullptr);
  variable.SetName("A");
  variable.SetLabel("four");
  EXPECT_EQ(Variable({.name = "A", .label = "four"}), Records(source));
}

TEST(DictionaryWriter, WritesAnEmptyVariableLabel) {
  SystemFileDataSource source;
  source.MakeVariable(0, nullptr).SetName("A");
  source.GetVariable(0).SetLabel("");
  EXPECT_EQ(Variable({.name = "A", .label = ""}), Records(source));
}

TEST(DictionaryWriter, WritesAContinuationForEachFurtherEightBytesOfAString) {
  const std::string continuation = Variable({.type = -1, .print = 0x11D01, .write = 0x11D01});
  for (const auto& [width, count] : {std::pair{8, 0}, {9, 1}, {16, 1}, {17, 2}, {255, 31}}) {
    SystemFileDataSource source;
    source.MakeVariable(width, nullptr).SetName("S");
    std::string expected =
        Variable({.name = "S", .type = width, .print = 0x10000 | width << 8, .write = 0x10000 | width << 8});
    for (int i = 0; i < count; ++i) expected += continuation;
    EXPECT_EQ(expected, Records(source)) << width;
  }
}

// ---- Value labels ----

TEST(DictionaryWriter, ColumnsThatShareALabelMapGiveOneRecordPair) {
  SystemFileDataSource source;
  QUAV_ValueLabelMap map(0);
  map.AddPair(1.0, "one");
  for (const char* name : {"A", "B", "C"}) source.MakeVariable(0, nullptr).SetName(name);
  source.GetVariable(0).SetValueLabels(map);
  source.GetVariable(2).SetValueLabels(map);
  EXPECT_EQ(SystemFileBuilder().Labels({{1.0, "one"}}, {1, 3}).Bytes(), Records(source).substr(3 * 32));
}

TEST(DictionaryWriter, EqualLabelMapsGiveTwoRecordPairs) {
  SystemFileDataSource source;
  for (const char* name : {"A", "B"}) {
    QUAV_ValueLabelMap map(0);
    map.AddPair(1.0, "fifteen letters");
    QUAV_Variable& variable = source.MakeVariable(0, nullptr);
    variable.SetName(name);
    variable.SetValueLabels(map);
  }
  EXPECT_EQ(SystemFileBuilder().Labels({{1.0, "fifteen letters"}}, {1}).Labels({{1.0, "fifteen letters"}}, {2}).Bytes(),
            Records(source).substr(2 * 32));
}

TEST(DictionaryWriter, EmptyLabelMapGivesARecordWithoutLabels) {
  SystemFileDataSource source;
  source.MakeVariable(0, nullptr).SetName("A");
  source.GetVariable(0).SetValueLabels(QUAV_ValueLabelMap(0));
  EXPECT_EQ(SystemFileBuilder().Labels({}, {1}).Bytes(), Records(source).substr(32));
}

TEST(DictionaryWriter, CutsAValueLabelOf256BytesTo255) {
  std::string records[2];
  for (const std::size_t more : {0u, 1u}) {
    SystemFileDataSource source;
    source.MakeVariable(0, nullptr).SetName("A");
    QUAV_ValueLabelMap map(0);
    map.AddPair(1.0, std::string(255 + more, 'x'));
    source.GetVariable(0).SetValueLabels(map);
    records[more] = Records(source).substr(32);
  }
  EXPECT_EQ(SystemFileBuilder().Labels({{1.0, std::string(255, 'x')}}, {1}).Bytes(), records[0]);
  EXPECT_EQ(records[0], records[1]);
}

// ---- Documents ----

TEST(DictionaryWriter, WritesOnlyWholeDocumentLines) {
  SystemFileDataSource source;
  source.MakeVariable(0, nullptr).SetName("A");
  const std::string lines = FileText("first", 80) + FileText("second", 80) + "a part of a line";
  source.SetExtension(0, 1, static_cast<long>(lines.size()), lines.data());
  EXPECT_EQ(SystemFileBuilder().Documents({"first", "second"}).Bytes(), Records(source).substr(32));
}

// ---- The header ----

TEST(DictionaryWriter, HeaderCaseCountIsMinus1ForUsualNumbers) {
  constexpr long long kMost = std::numeric_limits<std::int32_t>::max();
  EXPECT_EQ(-1, HeaderCaseCount(-1));
  EXPECT_EQ(-1, HeaderCaseCount(-5));
  EXPECT_EQ(-1, HeaderCaseCount(0));
  EXPECT_EQ(-1, HeaderCaseCount(1000));
  EXPECT_EQ(-1, HeaderCaseCount(kMost - 1));
  EXPECT_EQ(kMost, HeaderCaseCount(kMost));
  EXPECT_EQ(std::numeric_limits<std::int32_t>::min(), HeaderCaseCount(kMost + 1));
  EXPECT_EQ(1, HeaderCaseCount((1LL << 32) + 1));
}

class DictionaryWriterDateTime : public testing::Test {
 protected:
  DictionaryWriterDateTime() {
    setenv("TZ", "UTC", 1);
    tzset();
  }
  ~DictionaryWriterDateTime() override {
    unsetenv("TZ");
    tzset();
  }
};

TEST_F(DictionaryWriterDateTime, DateHasTwoDigitsForTheDayAndThreeLettersForTheMonth) {
  const HeaderDateTime formed = FormDateTime(1710411630);
  EXPECT_EQ("14 Mar 24", formed.date);
  EXPECT_EQ("10:20:30", formed.time);
  EXPECT_EQ("01 Jan 00", FormDateTime(946684800).date);
}

TEST_F(DictionaryWriterDateTime, EarlierTimesBecomeTheStartOfTheSecondDay) {
  for (const std::time_t clock : {std::time_t{-1}, std::time_t{0}, std::time_t{86399}, std::time_t{86400}}) {
    const HeaderDateTime formed = FormDateTime(clock);
    EXPECT_EQ("02 Jan 70", formed.date);
    EXPECT_EQ("00:00:00", formed.time);
  }
}

TEST(DictionaryWriter, CutsAFileLabelAt64BytesEvenInsideACharacter) {
  SystemFileDataSource source;
  source.SetLabel((std::string(63, 'x') + "\u00E9z").c_str());
  const SystemFileOptions options;
  FaultyStream file("");
  DictionaryWriter(source, options, file).Write({});
  EXPECT_EQ(std::string(63, 'x') + "\xC3", file.Bytes().substr(109, 64));
}

TEST(DictionaryWriter, MagicFollowsTheCompression) {
  for (const int level : {0, 1, 2}) {
    SystemFileOptions options;
    options.compression = level;
    FaultyStream file("");
    DictionaryWriter(SystemFileDataSource(), options, file).Write({});
    EXPECT_EQ(level == 2 ? "$FL3" : "$FL2", file.Bytes().substr(0, 4));
  }
}

TEST(DictionaryWriter, DictionaryWithoutColumnsHasHeaderExtensionRecordsAndEnd) {
  const SystemFileOptions options;
  SystemFileExtensionRecords extensions;
  extensions.try_emplace(1);
  extensions[2].Fill(1, std::as_bytes(std::span("abc", 3)));
  FaultyStream file("");
  EXPECT_EQ(0, DictionaryWriter(SystemFileDataSource(), options, file).Write(extensions));
  EXPECT_EQ(SystemFileBuilder().Extension(2, 1, 3, "abc").End().Bytes(), file.Bytes().substr(176));
}

TEST(DictionaryWriter, WriteReturnsTheOffsetOfTheContentsOfRecord16) {
  const SystemFileOptions options;
  SystemFileExtensionRecords extensions;
  extensions[16].Fill(8, std::as_bytes(std::span("0123456789abcdef", 16)));
  FaultyStream file("");
  EXPECT_EQ(176 + 16, DictionaryWriter(SystemFileDataSource(), options, file).Write(extensions));
}

}  // namespace
}  // namespace DictionaryWriter_test
