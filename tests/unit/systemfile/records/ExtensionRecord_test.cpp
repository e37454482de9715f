// Tests how ReadSystemFileDictionary reads the extension record. Most subtypes here have no handler.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "systemfile/SystemFileExtensionRecord.h"
#include "tests/support/Reading.h"
#include "tests/support/RowName.h"
#include "tests/support/TempFile.h"

namespace ExtensionRecord_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

SystemFileBuilder WithHeader(std::endian order = std::endian::native) {
  SystemFileBuilder file(order);
  file.Header().Number("A");
  return file;
}

class ExtensionRecordInEitherOrder : public testing::TestWithParam<std::endian> {};
INSTANTIATE_TEST_SUITE_P(Orders, ExtensionRecordInEitherOrder, testing::Values(std::endian::little, std::endian::big),
                         OrderName);

TEST_P(ExtensionRecordInEitherOrder, IsStoredUnchangedWithoutAHandler) {
  const ReadDictionary read(WithHeader(GetParam()).Extension(99, 4, 3, "abcdEFGHijkl").End().Bytes());
  const QUAV_DataSource::Extension extension(read.source, 99);
  EXPECT_EQ(4, extension.ElementSize());
  EXPECT_EQ(3, extension.Length());
  EXPECT_EQ("abcdEFGHijkl", extension.Elements());
  EXPECT_TRUE(read.options.extensionsFound[99]);
}

TEST(ExtensionRecord, StoresUnregisteredSubtypesBetweenRegisteredOnes) {
  const ReadDictionary read(WithHeader().Extension(12, 1, 2, "ab").Extension(20, 1, 5, "UTF-8").End().Bytes());
  EXPECT_EQ("ab", QUAV_DataSource::Extension(read.source, 12).Elements());
  EXPECT_EQ("UTF-8", QUAV_DataSource::Extension(read.source, 20).Elements());
  EXPECT_TRUE(read.options.extensionsFound[12]);
  EXPECT_TRUE(read.options.extensionsFound[20]);
}

TEST(ExtensionRecord, SubtypeFrom100OnIsStoredButNotNotedAsFound) {
  const ReadDictionary read(WithHeader().Extension(100, 1, 1, "a").Extension(150, 8, 1, "whatever").End().Bytes());
  EXPECT_EQ("a", QUAV_DataSource::Extension(read.source, 100).Elements());
  EXPECT_EQ("whatever", QUAV_DataSource::Extension(read.source, 150).Elements());
  EXPECT_EQ(std::vector<bool>(100), read.options.extensionsFound);
}

TEST(ExtensionRecord, OfAnyHighSubtypeIsStored) {
  for (const std::int32_t subtype : {0xFFFFF, 0x100000, 0x7FFFFFFF}) {
    const ReadDictionary read(WithHeader().Extension(subtype, 2, 1, "ab").End().Bytes());
    EXPECT_EQ("ab", QUAV_DataSource::Extension(read.source, subtype).Elements()) << subtype;
    EXPECT_EQ(subtype, read.source.MaxExtensionType());
  }
}

TEST(ExtensionRecord, OfTheHighestSubtypeIsWrittenAgain) {
  const TempFile file(WithHeader().Extension(0x7FFFFFFF, 4, 2, "abcdefgh").Extension(99, 1, 1, "x").End().Bytes());
  const SystemFileDataSource source(file.Name(), "", false);
  const TempFile copy("");
  SystemFileDataSource written;
  written.CopyDictionary(source);
  written.SetFileSpec(copy.Name().c_str());
  written.CommitDictionary();
  written.Close();
  const SystemFileDataSource again(copy.Name(), "", false);
  EXPECT_THAT(again.ExtensionTypes(), ElementsAre(99, 0x7FFFFFFF));
  const QUAV_DataSource::Extension block(again, 0x7FFFFFFF);
  EXPECT_EQ(4, block.ElementSize());
  EXPECT_EQ("abcdefgh", block.Elements());
}

// ---- Repeated records ----

TEST(RepeatedExtensions, WithoutAHandlerReplaceEachOther) {
  SystemFileBuilder file = WithHeader();
  for (int i = 0; i < 100'000; ++i) file.Extension(99, 1, 1, i % 2 == 0 ? "a" : "b");
  const ReadDictionary read(file.End().Bytes());
  EXPECT_EQ("b", QUAV_DataSource::Extension(read.source, 99).Elements());
}

TEST(RepeatedExtensions, OfASmallDictionaryAreAllRead) {
  SystemFileBuilder file = WithHeader();
  for (int i = 0; i < 1000; ++i) file.Extension(24, 1, 5, "text" + std::to_string(i % 10));
  const ReadDictionary read(file.End().Bytes());
  EXPECT_EQ("text9", read.source.GetDEFormattingInfo().GetInfo());
}

// What a record goes through again and again: the variables, the long names so far, the sets so far.
struct RepeatRow {
  const char* name;
  int variables;
  int subtype;
  std::string contents;
  int repeats;  // more than can be read in a time that grows as the file does
};

class RepeatedWork : public testing::TestWithParam<RepeatRow> {};

std::string LongNames(int count) {
  std::string text;
  for (int i = 0; i < count; ++i) text += "A=\t";
  return text;
}
std::string Sets(int count) {
  std::string text;
  for (int i = 0; i < count; ++i) text += "$s" + std::to_string(i) + "=E 1 1 1 0  V1\n";
  return text;
}

INSTANTIATE_TEST_SUITE_P(Kinds, RepeatedWork,
                         testing::Values(RepeatRow{"Variables", 20'000, 24, "text", 600},
                                         RepeatRow{"LongNames", 1, 13, LongNames(1000), 300},
                                         RepeatRow{"Sets", 2, 19, Sets(1000), 100}),
                         kRowName);

TEST_P(RepeatedWork, OverALimitIsAFault) {
  SystemFileBuilder file;
  file.Header();
  for (int i = 0; i < GetParam().variables; ++i) file.Number("V" + std::to_string(i));
  const SystemFileBuilder start = file;
  const auto repeat = [&](int times) {
    for (int i = 0; i < times; ++i)
      file.Extension(GetParam().subtype, 1, static_cast<std::int32_t>(GetParam().contents.size()), GetParam().contents);
    return FaultOf(file.End().Bytes());
  };
  EXPECT_FALSE(repeat(17));
  file = start;
  EXPECT_THAT(repeat(GetParam().repeats), IsFault(1204, "repeatedWork <= 4194304 + 8*fileLength"));
}

TEST(ExtensionRecord, IsNotPaddedInTheFile) {
  const ReadDictionary read(WithHeader().Extension(99, 1, 3, "abc").Extension(98, 1, 1, "d").End().Bytes());
  EXPECT_EQ("abc", QUAV_DataSource::Extension(read.source, 99).Elements());
  EXPECT_EQ("d", QUAV_DataSource::Extension(read.source, 98).Elements());
}

// ---- The location of the case count ----

class NotingSource : public SystemFileDataSource {
 public:
  void NoteNCasesLoc() override { locations.push_back(stream->Tell()); }

  FaultyStream* stream = nullptr;
  std::vector<long> locations;
};

std::vector<long> NotedLocations(const std::string& bytes) {
  FaultyStream stream(bytes);
  NotingSource source;
  source.stream = &stream;
  SystemFileOptions options;
  TestMagic(stream);
  ReadSystemFileDictionary(source, options, stream);
  return source.locations;
}

std::string CaseCount(std::endian order) {
  SystemFileBuilder number(order);
  if (order == std::endian::little)
    number.I32(1).I32(0).I32(7).I32(0);
  else
    number.I32(0).I32(1).I32(0).I32(7);
  return number.Bytes();
}

TEST_P(ExtensionRecordInEitherOrder, NotesTheLocationOfSubtype16) {
  auto file = WithHeader(GetParam()).Extension(99, 1, 3, "abc");
  const auto recordStart = static_cast<long>(file.Size());
  file.Extension(16, 8, 2, CaseCount(GetParam())).End();
  EXPECT_THAT(NotedLocations(file.Bytes()), ElementsAre(recordStart + 16));
}

TEST(ExtensionRecord, DoesNotNoteTheLocationOfOtherSubtypes) {
  EXPECT_THAT(NotedLocations(WithHeader().Extension(99, 8, 2, CaseCount(std::endian::native)).End().Bytes()),
              ElementsAre());
}

// ---- Sizes ----

using ExtensionRecordDeathTest = testing::Test;

TEST(ExtensionRecordDeathTest, UnitSize0Asserts) {
  const std::string bytes = WithHeader().Extension(99, 0, 4, "").End().Bytes();
  EXPECT_DEATH(ReadDictionary{bytes}, HasSubstr("assertion failed: m_nUnits && m_unitSize"));
}

TEST(ExtensionRecordDeathTest, UnitCount0Asserts) {
  const std::string bytes = WithHeader().Extension(99, 4, 0, "").End().Bytes();
  EXPECT_DEATH(ReadDictionary{bytes}, HasSubstr("assertion failed: m_nUnits && m_unitSize"));
}

TEST(ExtensionRecordDeathTest, NegativeSubtypeAsserts) {
  const std::string bytes = WithHeader().Extension(-1, 1, 1, "a").End().Bytes();
  EXPECT_DEATH(ReadDictionary{bytes}, HasSubstr("assertion failed: 0 <= type"));
}

struct Shape {
  const char* name;
  std::int32_t unitSize;
  std::int32_t nUnits;
};

class ExtensionRecordBadSize : public testing::TestWithParam<Shape> {};

TEST_P(ExtensionRecordBadSize, Throws1205) {
  const auto file = WithHeader().Extension(99, GetParam().unitSize, GetParam().nUnits, "abcdefgh").End();
  EXPECT_THAT(FaultOf(file.Bytes()), IsFault(1205, "len == h[2]*h[1]"));
}

INSTANTIATE_TEST_SUITE_P(Shapes, ExtensionRecordBadSize,
                         testing::Values(Shape{"NegativeUnitSize", -1, 8},       //
                                         Shape{"NegativeCount", 8, -1},          //
                                         Shape{"BothNegative", -1, -8},          //
                                         Shape{"OneByteMoreThanIsLeft", 1, 17},  //
                                         Shape{"ProductOverflowsToZero", 65536, 65536},
                                         Shape{"ProductOverflowsToEight", 0x20000001, 8},
                                         Shape{"Largest", 0x7FFFFFFF, 0x7FFFFFFF}),
                         kRowName);

TEST(ExtensionRecord, ContentsMayRunThroughTheEndRecord) {
  // The 16 bytes of contents include the end record, so the next record type is missing.
  EXPECT_THAT(FaultOf(WithHeader().Extension(99, 1, 16, "abcdefgh").End().Bytes()),
              IsFault(1205, "len == sizeof(recType)"));
}

}  // namespace
}  // namespace ExtensionRecord_test
