// Record 4: the numbers that have a special meaning for the writer.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "systemfile/SaveDS.h"
#include "systemfile/SystemFileExtensionRecord.h"
#include "tests/support/MemorySource.h"
#include "tests/support/Reading.h"

namespace SFExtensionSourceParametersDouble_test {
namespace {

constexpr int kSubtype = 4;

std::string Three(std::endian order = std::endian::native) {
  return SystemFileBuilder(order).F64(-1.5).F64(2.5).F64(-3.5).Bytes();
}

std::string FileWith(int unitSize, int nUnits, const std::string& bytes, std::endian order = std::endian::native) {
  SystemFileBuilder file(order);
  return file.Header().Number("A").Extension(kSubtype, unitSize, nUnits, bytes).End().Bytes();
}

class SFExtensionSourceParametersDoubleInEitherOrder : public testing::TestWithParam<std::endian> {};
INSTANTIATE_TEST_SUITE_P(Orders, SFExtensionSourceParametersDoubleInEitherOrder,
                         testing::Values(std::endian::little, std::endian::big), OrderName);

TEST_P(SFExtensionSourceParametersDoubleInEitherOrder, FillsTheOptions) {
  const ReadDictionary read(FileWith(8, 3, Three(GetParam()), GetParam()));
  EXPECT_EQ(-1.5, read.options.systemMissing);
  EXPECT_EQ(2.5, read.options.highNumber);
  EXPECT_EQ(-3.5, read.options.lowNumber);
}

TEST_P(SFExtensionSourceParametersDoubleInEitherOrder, GetFileSysmisReturnsTheSystemMissingValue) {
  const TempFile file(FileWith(8, 3, Three(GetParam()), GetParam()));
  const SystemFileDataSource source(file.Name(), "", false);
  EXPECT_EQ(-1.5, source.GetFileSysmis());
  EXPECT_TRUE(source.bExtensionFound(kSubtype));
  EXPECT_FALSE(source.HasExtension(kSubtype));
}

TEST(SFExtensionSourceParametersDouble, DoesNotChangeTheNumbersOfTheProcess) {
  const ReadDictionary read(FileWith(8, 3, Three()));
  EXPECT_EQ(kSystemMissingCell, NumberCell(QUAV_DataSource::SystemMissing()));
}

TEST(SFExtensionSourceParametersDouble, OtherUnitSizeThrows1204) {
  EXPECT_THAT(FaultOf(FileWith(4, 6, Three())), IsFault(1204, "rec.UnitSize() == sizeof(double)"));
  EXPECT_THAT(FaultOf(FileWith(1, 24, Three())), IsFault(1204, "rec.UnitSize() == sizeof(double)"));
}

TEST(SFExtensionSourceParametersDouble, OtherNumberOfUnitsThrows1204) {
  for (const int units : {1, 2, 4}) {
    const std::string bytes(static_cast<std::size_t>(units) * 8, '\0');
    EXPECT_THAT(FaultOf(FileWith(8, units, bytes)), IsFault(1204, "rec.NUnits() == 3")) << units;
  }
}

TEST(SFExtensionSourceParametersDouble, WritesTheNumbersOfTheProcess) {
  const MemorySource source;
  QUAV_FileStream file;
  SystemFileOptions options;
  options.systemMissing = -1.5;  // from a file that was read
  options.highNumber = 2.5;
  options.lowNumber = -3.5;
  SystemFileDataSource::SaveDS saved(&source, file, options);
  SystemFileExtensionRecord record;
  SystemFileExtensionHandler::Write(kSubtype, saved, record);
  EXPECT_EQ(8, record.UnitSize());
  EXPECT_EQ(3, record.NUnits());
  const std::string contents(AsText(record.Contents()), static_cast<std::size_t>(record.Size()));
  constexpr double kHighest = 1.7976931348623157e308;
  EXPECT_EQ(SystemFileBuilder().F64(kFileSystemMissing).F64(kHighest).F64(kFileSystemMissing).Bytes(), contents);
}

}  // namespace
}  // namespace SFExtensionSourceParametersDouble_test
