// Tests how ReadSystemFileDictionary reads the extension record. Most subtypes here have no handler.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "systemfile/SystemFileExtensionRecord.h"
#include "tests/support/Reading.h"
#include "tests/support/RowName.h"

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

TEST(ExtensionRecord, SubtypeAbove1048575Throws1204) {
  const ReadDictionary read(WithHeader().Extension(0xFFFFF, 1, 1, "a").End().Bytes());
  EXPECT_EQ("a", QUAV_DataSource::Extension(read.source, 0xFFFFF).Elements());
  for (const std::int32_t subtype : {0x100000, 0x7FFFFFFF})
    EXPECT_THAT(FaultOf(WithHeader().Extension(subtype, 1, 1, "a").End().Bytes()), IsFault(1204, "subtype <= 1048575"));
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
