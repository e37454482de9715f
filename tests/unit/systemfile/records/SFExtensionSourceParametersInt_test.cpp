// Record 3: the integers that describe the writer and its machine.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "systemfile/SaveDS.h"
#include "systemfile/SystemFileExtensionRecord.h"
#include "tests/support/MemorySource.h"
#include "tests/support/Reading.h"

namespace SFExtensionSourceParametersInt_test {
namespace {

constexpr int kSubtype = 3;

std::string Eight(std::endian order = std::endian::native) {
  SystemFileBuilder file(order);
  for (const std::int32_t number : {21, 2, 7, 1234, 3, 5, 99, 65001}) file.I32(number);
  return file.Bytes();
}

std::string FileWith(int unitSize, int nUnits, const std::string& bytes, std::endian order = std::endian::native) {
  SystemFileBuilder file(order);
  return file.Header().Number("A").Extension(kSubtype, unitSize, nUnits, bytes).End().Bytes();
}

// ---- Reading ----

class SFExtensionSourceParametersIntInEitherOrder : public testing::TestWithParam<std::endian> {};
INSTANTIATE_TEST_SUITE_P(Orders, SFExtensionSourceParametersIntInEitherOrder,
                         testing::Values(std::endian::little, std::endian::big), OrderName);

TEST_P(SFExtensionSourceParametersIntInEitherOrder, FillsTheOptions) {
  const ReadDictionary read(FileWith(4, 8, Eight(GetParam()), GetParam()));
  EXPECT_EQ(21, read.options.releaseMajor);
  EXPECT_EQ(2, read.options.releaseMinor);
  EXPECT_EQ(7, read.options.releaseRevision);
  EXPECT_EQ(1234, read.options.machineCode);
  EXPECT_EQ(3, read.options.floatingPoint);
  EXPECT_EQ(5, read.options.compressionCode);
  EXPECT_EQ(65001, read.options.characterCode);
}

TEST_P(SFExtensionSourceParametersIntInEitherOrder, DoesNotChangeTheByteOrder) {
  // The byte order word of the record, 99 here, is invalid.
  const ReadDictionary read(FileWith(4, 8, Eight(GetParam()), GetParam()));
  EXPECT_EQ(GetParam() != std::endian::native, read.options.reversed);
}

TEST(SFExtensionSourceParametersInt, GetReleaseInfoReturnsTheRelease) {
  const TempFile file(FileWith(4, 8, Eight()));
  const SystemFileDataSource source(file.Name(), "", false);
  int release[3];
  EXPECT_TRUE(source.GetReleaseInfo(release));
  EXPECT_EQ(21, release[0]);
  EXPECT_EQ(2, release[1]);
  EXPECT_EQ(7, release[2]);
  EXPECT_FALSE(source.HasExtension(kSubtype));
}

TEST(SFExtensionSourceParametersInt, OtherUnitSizeThrows1204) {
  EXPECT_THAT(FaultOf(FileWith(8, 4, Eight())), IsFault(1204, "rec.UnitSize() == 4"));
  EXPECT_THAT(FaultOf(FileWith(1, 32, Eight())), IsFault(1204, "rec.UnitSize() == 4"));
}

TEST(SFExtensionSourceParametersInt, OtherNumberOfUnitsThrows1204) {
  for (const int units : {1, 7, 9}) {
    const std::string bytes(static_cast<std::size_t>(units) * 4, '\0');
    EXPECT_THAT(FaultOf(FileWith(4, units, bytes)), IsFault(1204, "rec.NUnits() == 8")) << units;
  }
}

TEST(SFExtensionSourceParametersInt, MalformedRecordChangesNothing) {
  SystemFileDataSource source;
  SystemFileOptions options;
  SystemFileExtensionRecord record;
  record.UnitSize(4);
  record.NUnits(7);
  record.ContentsBuffer();
  EXPECT_THROW(SystemFileExtensionHandler::Read(kSubtype, source, options, record), SystemFileException);
  EXPECT_EQ(25, options.releaseMajor);
  EXPECT_FALSE(options.extensionsFound[kSubtype]);
}

// ---- Writing ----

std::string Contents(const SystemFileExtensionRecord& record) {
  return {AsText(record.Contents()), static_cast<std::size_t>(record.Size())};
}

SystemFileExtensionRecord Written(SystemFileOptions& options) {
  const MemorySource source;
  QUAV_FileStream file;
  SystemFileDataSource::SaveDS saved(&source, file, options);
  SystemFileExtensionRecord record;
  SystemFileExtensionHandler::Write(kSubtype, saved, record);
  return record;
}

constexpr std::int32_t kThisOrder = std::endian::native == std::endian::little ? 2 : 1;

TEST(SFExtensionSourceParametersInt, WritesTheDefaultsOfThisSystem) {
  SystemFileOptions options;
  const SystemFileExtensionRecord record = Written(options);
  EXPECT_EQ(4, record.UnitSize());
  EXPECT_EQ(8, record.NUnits());
  SystemFileBuilder expected;
  for (const std::int32_t number : {25, 0, 1, 720, 1, 1, kThisOrder, 2}) expected.I32(number);
  EXPECT_EQ(expected.Bytes(), Contents(record));
}

TEST(SFExtensionSourceParametersInt, WritesTheOptions) {
  SystemFileOptions options;
  options.releaseMajor = 31;
  options.releaseMinor = 32;
  options.releaseRevision = 33;
  options.machineCode = 34;
  options.floatingPoint = 35;
  options.compressionCode = 36;
  options.characterCode = 1252;
  options.reversed = true;  // from a file that was read
  SystemFileBuilder expected;
  for (const std::int32_t number : {31, 32, 33, 34, 35, 36, kThisOrder, 1252}) expected.I32(number);
  EXPECT_EQ(expected.Bytes(), Contents(Written(options)));
}

}  // namespace
}  // namespace SFExtensionSourceParametersInt_test
