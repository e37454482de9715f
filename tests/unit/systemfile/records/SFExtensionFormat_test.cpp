// Record 25: formats whose types a variable record cannot hold.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <initializer_list>
#include <limits>
#include <string>
#include <string_view>

#include "systemfile/SaveDS.h"
#include "systemfile/SystemFileExtensionRecord.h"
#include "tests/support/MemorySource.h"
#include "tests/support/Reading.h"
#include "tests/support/RowName.h"
#include "tests/support/WrittenRecord.h"

namespace SFExtensionFormat_test {
namespace {

constexpr int kSubtype = 25;

std::string Entry(std::string_view name, std::int32_t print, std::int32_t write,
                  std::endian order = std::endian::native) {
  SystemFileBuilder bytes(order);
  bytes.I32(static_cast<std::int32_t>(name.size())).Raw(name).I32(print).I32(write);
  return bytes.Bytes();
}

constexpr FormatType Type(int number) { return static_cast<FormatType>(number); }

// ---- Reading ----

// The columns A and B are numbers, S is a string of 20 bytes.
std::string FileWith(std::string_view bytes, std::endian order = std::endian::native) {
  SystemFileBuilder file(order);
  file.Header().Number("A").Number("B").String("S", 20);
  return file.Extension(kSubtype, 1, static_cast<std::int32_t>(bytes.size()), bytes).End().Bytes();
}
constexpr int kA = 0, kB = 1, kS = 2;

QUAV_Format PrintOf(const ReadDictionary& read, int column) { return read.source.GetVariable(column).GetFormatEx(); }
QUAV_Format WriteOf(const ReadDictionary& read, int column) {
  return read.source.GetVariable(column).GetWriteFormatEx();
}

class SFExtensionFormatInEitherOrder : public testing::TestWithParam<std::endian> {};
INSTANTIATE_TEST_SUITE_P(Orders, SFExtensionFormatInEitherOrder, testing::Values(std::endian::little, std::endian::big),
                         OrderName);

TEST_P(SFExtensionFormatInEitherOrder, SetsTheFormatsOfTheNamedVariable) {
  const std::string bytes =
      Entry("B", 0x00360C03, 0x00370D04, GetParam()) + Entry("A", 0x00380E05, 0x00390F06, GetParam());
  const ReadDictionary read(FileWith(bytes, GetParam()));
  EXPECT_EQ(QUAV_Format(Type(56), 14, 5), PrintOf(read, kA));
  EXPECT_EQ(QUAV_Format(Type(57), 15, 6), WriteOf(read, kA));
  EXPECT_EQ(QUAV_Format(Type(54), 12, 3), PrintOf(read, kB));
  EXPECT_EQ(QUAV_Format(Type(55), 13, 4), WriteOf(read, kB));
}

TEST(SFExtensionFormat, FindsTheVariableInAnyCase) {
  EXPECT_EQ(QUAV_Format(Type(54), 12, 3), PrintOf(ReadDictionary(FileWith(Entry("b", 0x00360C03, 0x00360C03))), kB));
}

TEST(SFExtensionFormat, FindsTheVariableByItsLongName) {
  SystemFileBuilder file;
  const std::string entry = Entry("LongName", 0x00360C03, 0x00360C03);
  file.Header().Number("A").Extension(13, 1, 10, "A=LongName");
  file.Extension(kSubtype, 1, static_cast<std::int32_t>(entry.size()), entry).End();
  EXPECT_EQ(QUAV_Format(Type(54), 12, 3), PrintOf(ReadDictionary(file.Bytes()), kA));
}

TEST(SFExtensionFormat, IgnoresAnUnknownVariable) {
  for (const char* name : {"X", ""}) {
    const ReadDictionary read(FileWith(Entry(name, 0x00360C03, 0x00360C03) + Entry("B", 0x00360C03, 0x00360C03)));
    EXPECT_EQ(kDefaultNumericFormat, PrintOf(read, kA));
    EXPECT_EQ(QUAV_Format(Type(54), 12, 3), PrintOf(read, kB));
  }
}

TEST(SFExtensionFormat, IsNotInTheExtensionStore) {
  const ReadDictionary read(FileWith(Entry("A", 0x00360C03, 0x00360C03)));
  EXPECT_FALSE(read.source.HasExtension(kSubtype));
  EXPECT_TRUE(read.options.extensionsFound[kSubtype]);
}

TEST(SFExtensionFormat, EmptyRecordChangesNothing) {
  SystemFileDataSource source;
  source.MakeVariable(0, nullptr).SetName("A");
  SystemFileOptions options;
  SystemFileExtensionHandler::Read(kSubtype, source, options, SystemFileExtensionRecord());
  EXPECT_EQ(kDefaultNumericFormat, source.GetVariable(0).GetFormatEx());
}

struct Word {
  const char* name;
  std::int32_t word;
  QUAV_Format format;
};

class SFExtensionFormatWord : public testing::TestWithParam<Word> {};

TEST_P(SFExtensionFormatWord, IsUnpacked) {
  const ReadDictionary read(FileWith(Entry("S", GetParam().word, GetParam().word)));
  EXPECT_EQ(GetParam().format, PrintOf(read, kS));
  EXPECT_EQ(GetParam().format, WriteOf(read, kS));
}

INSTANTIATE_TEST_SUITE_P(Words, SFExtensionFormatWord,
                         testing::Values(Word{"String", 0x00012C01, QUAV_Format(kFormatString, 300, 0)},          //
                                         Word{"WidestString", 0x0001FF7F, QUAV_Format(kFormatString, 32767, 0)},  //
                                         Word{"HexString", 0x0002C800, QUAV_Format(kFormatHexString, 200, 0)},    //
                                         Word{"Number", 0x00052802, QUAV_Format(kFormatNumber, 40, 2)},           //
                                         Word{"NumberOf41Columns", 0x00052900, QUAV_Format(kFormatNumber, 40, 0)},
                                         Word{"NumberOf50Columns", 0x00053202, QUAV_Format(kFormatNumber, 40, 2)},
                                         Word{"OtherOf255Columns", 0x0055FF09, QUAV_Format(Type(85), 40, 9)},  //
                                         Word{"LargestType", 0x00FF0C03, QUAV_Format(Type(255), 12, 3)},       //
                                         // The high byte of the width is not read.
                                         Word{"WidthOf2Bytes", 0x01360C03, QUAV_Format(Type(54), 12, 3)}),
                         kRowName);

// ---- Malformed contents ----

struct Malformed {
  const char* name;
  std::string bytes;
  const char* expression;
};

class SFExtensionFormatMalformed : public testing::TestWithParam<Malformed> {};

TEST_P(SFExtensionFormatMalformed, Throws1204) {
  const auto fault = FaultOf(FileWith(GetParam().bytes));
  EXPECT_THAT(fault, IsFault(1204, GetParam().expression));
  ASSERT_TRUE(fault);
  EXPECT_FALSE(fault->System());
}

std::string Numbers(std::initializer_list<std::int32_t> numbers) {
  SystemFileBuilder bytes;
  for (const std::int32_t number : numbers) bytes.I32(number);
  return bytes.Bytes();
}

constexpr std::int32_t kLargest = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();
constexpr char kTooFew[] = "curLoc + 9 <= endLoc";
constexpr char kNoName[] = "curLoc + nameLength + 4 <= endLoc";

INSTANTIATE_TEST_SUITE_P(Contents, SFExtensionFormatMalformed,
                         testing::Values(Malformed{"TooFewBytes", Numbers({0, 0}), kTooFew},  //
                                         Malformed{"OneByte", "x", kTooFew},                  //
                                         Malformed{"TooFewBytesForASecondEntry", Entry("A", 0, 0) + Numbers({0, 0}),
                                                   kTooFew},
                                         Malformed{"LengthPastTheEnd", Numbers({100, 0, 0, 0}), kNoName},      //
                                         Malformed{"LengthUpToTheEnd", Numbers({12, 0, 0, 0}), kNoName},       //
                                         Malformed{"LengthInsideTheFormats", Numbers({9, 0, 0, 0}), kNoName},  //
                                         Malformed{"LargestLength", Numbers({kLargest, 0, 0, 0}), kNoName},    //
                                         Malformed{"NegativeLength", Numbers({-1, 0, 0, 0}), kNoName},         //
                                         Malformed{"LengthBackToTheStart", Numbers({-4, 0, 0, 0}), kNoName},   //
                                         Malformed{"LeastLength", Numbers({kLeast, 0, 0, 0}), kNoName}),
                         kRowName);

TEST(SFExtensionFormat, EntryWithoutBothFormatsThrows1204) {
  // The entry has room for the name and one format.
  for (const std::int32_t length : {5, 8}) {
    const auto fault = FaultOf(FileWith(Numbers({length, 0, 0, 0})));
    ASSERT_TRUE(fault) << length;
    EXPECT_EQ(1204, fault->Number()) << length;
  }
}

TEST(SFExtensionFormat, MalformedRecordFailsTheOpening) {
  const TempFile file(FileWith(Numbers({0, 0})));
  const auto error = ErrorOf([&] { SystemFileDataSource(file.Name(), "", false); });
  ASSERT_TRUE(error);
  EXPECT_EQ(1204, error->Number());
}

TEST_P(SFExtensionFormatInEitherOrder, ContentsCutInsideAnEntryThrow1204) {
  const std::string first = Entry("B", 0x00360C03, 0x00370D04, GetParam());
  const std::string bytes = first + Entry("", 1, 2, GetParam()) + Entry("A", 0x00380E05, 0x00390F06, GetParam());
  for (std::size_t size = 1; size <= bytes.size(); ++size) {
    const auto fault = FaultOf(FileWith(bytes.substr(0, size), GetParam()));
    const bool isWhole = size == first.size() || size == first.size() + 12 || size == bytes.size();
    EXPECT_EQ(isWhole ? 0 : 1204, fault ? fault->Number() : 0) << size;
  }
}

// ---- Writing ----

// What the handler writes for a dictionary.
struct Writing : WrittenRecord {
  explicit Writing(const QUAV_DataSource& source) : WrittenRecord(source, {kSubtype}) {}
};

TEST(SFExtensionFormat, WritesFormatsOfTypesFrom54On) {
  MemorySource source;
  for (const char* name : {"Usual", "Highest", "Print", "Write", "Both"}) source.AddNumber(name);
  source.GetVariable(1).SetFormat(Type(53), 8, 2);
  source.GetVariable(1).SetWriteFormat(Type(53), 8, 2);
  source.GetVariable(2).SetFormat(Type(54), 12, 3);
  source.GetVariable(2).SetWriteFormat(kFormatNumber, 8, 2);
  source.GetVariable(3).SetFormat(Type(53), 9, 1);
  source.GetVariable(3).SetWriteFormat(Type(54), 13, 4);
  source.GetVariable(4).SetFormat(Type(255), 40, 16);
  source.GetVariable(4).SetWriteFormat(Type(85), 1, 0);
  const Writing writing(source);
  EXPECT_EQ(1, writing.record.UnitSize());
  EXPECT_EQ(Entry("Print", 0x00360C03, 0x00050802) + Entry("Write", 0x00350901, 0x00360D04) +
                Entry("Both", 0x00FF2810, 0x00550100),
            writing.Contents());
}

TEST(SFExtensionFormat, SplitsTheWidthOfAString) {
  MemorySource source;
  source.AddText("S", 300);
  source.GetVariable(0).SetFormat(Type(54), 12, 3);
  source.GetVariable(0).SetWriteFormat(kFormatString, 300, 0);
  EXPECT_EQ(Entry("S", 0x00360C03, 0x00012C01), Writing(source).Contents());
}

TEST(SFExtensionFormat, NoSuchFormatsGiveNoRecord) {
  MemorySource source;
  source.AddNumber("N");
  source.AddText("S", 300);
  const Writing writing(source);
  EXPECT_EQ(0, writing.record.NUnits());
  EXPECT_EQ(nullptr, writing.record.Contents());
}

TEST(SFExtensionFormat, WritingKeepsTheDictionary) {
  MemorySource source;
  source.AddNumber("N");
  source.GetVariable(0).SetFormat(Type(54), 12, 3);
  EXPECT_EQ(QUAV_Format(Type(54), 12, 3), Writing(source).saved.GetVariable(0).GetFormatEx());
}

TEST(SFExtensionFormat, ReadsBackTheWrittenFormats) {
  MemorySource source;
  source.AddNumber("A");
  source.AddText("S", 20);
  source.GetVariable(0).SetFormat(Type(60), 33, 7);
  source.GetVariable(0).SetWriteFormat(Type(53), 22, 1);
  source.GetVariable(1).SetFormat(kFormatString, 300, 0);
  source.GetVariable(1).SetWriteFormat(Type(54), 12, 3);
  const ReadDictionary read(FileWith(Writing(source).Contents()));
  EXPECT_EQ(QUAV_Format(Type(60), 33, 7), PrintOf(read, kA));
  EXPECT_EQ(QUAV_Format(Type(53), 22, 1), WriteOf(read, kA));
  EXPECT_EQ(QUAV_Format(kFormatString, 300, 0), PrintOf(read, kS));
  EXPECT_EQ(QUAV_Format(Type(54), 12, 3), WriteOf(read, kS));
}

}  // namespace
}  // namespace SFExtensionFormat_test
