// Record 11: how to show each column of the file.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <string>
#include <vector>

#include "systemfile/SaveDS.h"
#include "systemfile/SystemFileExtensionRecord.h"
#include "tests/support/MemorySource.h"
#include "tests/support/Reading.h"
#include "tests/support/RowName.h"
#include "tests/support/WrittenRecord.h"

namespace SFExtensionLWA_test {
namespace {

using testing::HasSubstr;

constexpr int kSubtype = 11;

// Level, width and alignment.
using Display = std::array<int, 3>;

Display DisplayOf(const QUAV_DataSource& source, int column) {
  const QUAV_Variable& variable = source.GetVariable(column);
  return {variable.GetMeasurementLevel(), variable.GetDisplayWidth(), variable.GetAlignment()};
}

std::string BytesOf(const std::vector<Display>& displays, std::endian order = std::endian::native) {
  SystemFileBuilder bytes(order);
  for (const Display& display : displays)
    for (const int number : display) bytes.I32(number);
  return bytes.Bytes();
}

// ---- Reading ----

// Columns: N a number, S a string.
std::string FileWith(int unitSize, int nUnits, const std::string& bytes, std::endian order = std::endian::native) {
  SystemFileBuilder file(order);
  file.Header().Number("N").String("S", 20);
  return file.Extension(kSubtype, unitSize, nUnits, bytes).End().Bytes();
}
std::string FileWith(const Display& first, const Display& second, std::endian order = std::endian::native) {
  return FileWith(4, 6, BytesOf({first, second}, order), order);
}

class SFExtensionLWAInEitherOrder : public testing::TestWithParam<std::endian> {};
INSTANTIATE_TEST_SUITE_P(Orders, SFExtensionLWAInEitherOrder, testing::Values(std::endian::little, std::endian::big),
                         OrderName);

TEST_P(SFExtensionLWAInEitherOrder, SetsTheDisplayOfTheColumnsInOrder) {
  const ReadDictionary read(FileWith({3, 12, 1}, {2, 300, 2}, GetParam()));
  EXPECT_EQ((Display{3, 12, 1}), DisplayOf(read.source, 0));
  EXPECT_EQ((Display{2, 300, 2}), DisplayOf(read.source, 1));
}

TEST(SFExtensionLWA, IsNotInTheExtensionStore) {
  const ReadDictionary read(FileWith({3, 12, 1}, {2, 300, 2}));
  EXPECT_FALSE(read.source.HasExtension(kSubtype));
  EXPECT_TRUE(read.options.extensionsFound[kSubtype]);
}

struct Width {
  const char* name;
  int stored;
  int shown;  // 0: the width of a new variable
};

class SFExtensionLWAWidth : public testing::TestWithParam<Width> {};

TEST_P(SFExtensionLWAWidth, IsTakenWhenAbove0) {
  const ReadDictionary read(FileWith({3, GetParam().stored, 1}, {2, GetParam().stored, 2}));
  const auto expected = [](int type) {
    return GetParam().shown != 0 ? GetParam().shown : QUAV_Variable(type).GetDisplayWidth();
  };
  EXPECT_EQ((Display{3, expected(0), 1}), DisplayOf(read.source, 0));
  EXPECT_EQ((Display{2, expected(20), 2}), DisplayOf(read.source, 1));
}

INSTANTIATE_TEST_SUITE_P(Widths, SFExtensionLWAWidth,
                         testing::Values(Width{"One", 1, 1},                                           //
                                         Width{"Zero", 0, 0},                                          //
                                         Width{"MinusOne", -1, 0},                                     //
                                         Width{"Least", std::numeric_limits<std::int32_t>::min(), 0},  //
                                         Width{"LargestIn16Bits", 32767, 32767},                       //
                                         // Only the low 16 bits count.
                                         Width{"In17Bits", 65536 + 5, 5},  //
                                         Width{"NegativeIn16Bits", 32768, -32768}),
                         kRowName);

// The dictionary has 4 bits for a level and 2 for an alignment.
TEST(SFExtensionLWA, KeepsTheLowBitsOfMeaninglessNumbers) {
  const ReadDictionary read(FileWith({-1, 12, -1}, {0x7FFFFFFC, 300, 0x7FFFFFFC}));
  EXPECT_EQ((Display{15, 12, 3}), DisplayOf(read.source, 0));
  EXPECT_EQ((Display{12, 300, 0}), DisplayOf(read.source, 1));
}

TEST(SFExtensionLWA, OtherUnitSizeThrows1204) {
  const std::string bytes = BytesOf({{3, 12, 1}, {2, 300, 2}});
  EXPECT_THAT(FaultOf(FileWith(8, 3, bytes)), IsFault(1204, "rec.UnitSize() == sizeof(int32)"));
  EXPECT_THAT(FaultOf(FileWith(1, 24, bytes)), IsFault(1204, "rec.UnitSize() == sizeof(int32)"));
}

TEST(SFExtensionLWA, OtherNumberOfColumnsThrows1204) {
  for (const int units : {1, 3, 5, 7, 9}) {
    const std::string bytes(static_cast<std::size_t>(units) * 4, '\0');
    EXPECT_THAT(FaultOf(FileWith(4, units, bytes)), IsFault(1204, "rec.NUnits()== src.ColumnCount()*3")) << units;
  }
}

// In a file the record comes before the one that joins the segments.
TEST(SFExtensionLWA, CountsTheSegmentsOfAVeryLongString) {
  SystemFileBuilder file;
  file.Header().String("A", 255).String("A0", 48).Number("N");
  file.Extension(kSubtype, 4, 9, BytesOf({{2, 33, 1}, {1, 44, 0}, {3, 55, 2}}));
  file.Extension(13, 1, 3, "A=A").Extension(14, 1, 7, std::string("A=300\0\t", 7)).End();
  const ReadDictionary read(file.Bytes());
  ASSERT_EQ(2u, read.source.ColumnCount());
  EXPECT_EQ((Display{2, 33, 1}), DisplayOf(read.source, 0));
  EXPECT_EQ((Display{3, 55, 2}), DisplayOf(read.source, 1));
}

// ---- Writing ----

// What the handler writes for a dictionary.
struct Writing : WrittenRecord {
  explicit Writing(const QUAV_DataSource& source) : WrittenRecord(source, {kSubtype}) {}
};

TEST(SFExtensionLWA, WritesEachColumn) {
  MemorySource source;
  source.AddNumber("N");
  source.AddText("S", 20);
  source.GetVariable(0).SetMeasurementLevel(QUAV_Variable::kLevelScale);
  source.GetVariable(0).SetDisplayWidth(12);
  source.GetVariable(0).SetAlignment(QUAV_Variable::kAlignCenter);
  source.GetVariable(1).SetMeasurementLevel(QUAV_Variable::kLevelOrdinal);
  source.GetVariable(1).SetDisplayWidth(-7);
  source.GetVariable(1).SetAlignment(QUAV_Variable::kAlignRight);
  const Writing writing(source);
  EXPECT_EQ(4, writing.record.UnitSize());
  EXPECT_EQ(6, writing.record.NUnits());
  EXPECT_EQ(BytesOf({{3, 12, 2}, {2, -7, 1}}), writing.Contents());
}

TEST(SFExtensionLWA, WritesEachSegmentOfAVeryLongString) {
  MemorySource source;
  source.AddText("A", 600);
  source.AddNumber("N");
  source.GetVariable(0).SetDisplayWidth(33);
  QUAV_FileStream file;
  SystemFileOptions options;
  SystemFileDataSource::SaveDS saved(&source, file, options);
  SystemFileExtensionRecord veryLong, record;
  SystemFileExtensionHandler::Write(14, saved, veryLong);
  SystemFileExtensionHandler::Write(kSubtype, saved, record);
  EXPECT_EQ(12, record.NUnits());
  const Display segment = DisplayOf(source, 0);
  EXPECT_EQ(BytesOf({segment, segment, segment, DisplayOf(source, 1)}),
            std::string(AsText(record.Contents()), static_cast<std::size_t>(record.Size())));
}

TEST(SFExtensionLWADeathTest, WritingWithoutColumnsAsserts) {
  const MemorySource source;
  EXPECT_DEATH(Writing{source}, HasSubstr("assertion failed: m_nUnits && m_unitSize"));
}

}  // namespace
}  // namespace SFExtensionLWA_test
