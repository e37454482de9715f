// Record 16: the number of cases in 64 bits.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <limits>
#include <string>
#include <vector>

#include "systemfile/SaveDS.h"
#include "systemfile/SystemFileExtensionRecord.h"
#include "tests/support/MemorySource.h"
#include "tests/support/Reading.h"
#include "tests/support/RowName.h"

namespace SFExtensionNCases_test {
namespace {

constexpr int kSubtype = 16;

std::string BytesOf(const std::vector<std::int64_t>& numbers, std::endian order = std::endian::native) {
  SystemFileBuilder bytes(order);
  for (const std::int64_t number : numbers) bytes.F64(std::bit_cast<double>(number));
  return bytes.Bytes();
}

std::string FileWith(int unitSize, int nUnits, const std::string& bytes, std::endian order = std::endian::native,
                     std::int32_t headerCases = -1) {
  SystemFileBuilder file(order);
  file.Header({.cases = headerCases}).Number("A");
  return file.Extension(kSubtype, unitSize, nUnits, bytes).End().Bytes();
}

// ---- Reading ----

long long CasesOf(const std::string& file) { return ReadDictionary(file).options.numberOfCases; }

class SFExtensionNCasesInEitherOrder : public testing::TestWithParam<std::endian> {};
INSTANTIATE_TEST_SUITE_P(Orders, SFExtensionNCasesInEitherOrder, testing::Values(std::endian::little, std::endian::big),
                         OrderName);

TEST_P(SFExtensionNCasesInEitherOrder, SingleUnitHasTheByteOrderOfTheFile) {
  EXPECT_EQ(1234567890123, CasesOf(FileWith(8, 1, BytesOf({1234567890123}, GetParam()), GetParam())));
}

TEST_P(SFExtensionNCasesInEitherOrder, SecondOfTwoUnitsIsTheCount) {
  EXPECT_EQ(1234567890123, CasesOf(FileWith(8, 2, BytesOf({1, 1234567890123}, GetParam()), GetParam())));
}

TEST_P(SFExtensionNCasesInEitherOrder, FirstOfTwoUnitsGivesTheByteOrder) {
  // The file has the other order.
  const std::endian other = GetParam() == std::endian::little ? std::endian::big : std::endian::little;
  EXPECT_EQ(77, CasesOf(FileWith(8, 2, BytesOf({1, 77}, GetParam()), other)));
}

TEST(SFExtensionNCases, FirstUnitOtherThan1MeansReversedOrder) {
  for (const std::int64_t first : {0, 2, -1}) {
    const std::string bytes = BytesOf({first}) + BytesOf({500}, kReversedOrder);
    EXPECT_EQ(500, CasesOf(FileWith(8, 2, bytes))) << first;
  }
}

struct Count {
  const char* name;
  std::int32_t inHeader;
  std::int64_t inRecord;
  std::int64_t taken;
};

constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();

class SFExtensionNCasesCount : public testing::TestWithParam<Count> {};

TEST_P(SFExtensionNCasesCount, IsTakenWhenTheHeaderHasNoHigherOne) {
  const Count& row = GetParam();
  EXPECT_EQ(row.taken, CasesOf(FileWith(8, 2, BytesOf({1, row.inRecord}), std::endian::native, row.inHeader)));
  EXPECT_EQ(row.taken, CasesOf(FileWith(8, 1, BytesOf({row.inRecord}), std::endian::native, row.inHeader)));
}

INSTANTIATE_TEST_SUITE_P(Counts, SFExtensionNCasesCount,
                         testing::Values(Count{"AboveTheHeader", 100, 150, 150},         //
                                         Count{"BelowTheHeader", 100, 50, 100},          //
                                         Count{"OneBelowTheHeader", 100, 99, 100},       //
                                         Count{"EqualToTheHeader", 100, 100, 100},       //
                                         Count{"WithNoneInTheHeader", -1, 50, 50},       //
                                         Count{"ZeroWithNoneInTheHeader", -1, 0, 0},     //
                                         Count{"Unknown", -1, -1, -1},                   //
                                         Count{"UnknownInTheRecordOnly", 100, -1, 100},  //
                                         Count{"Negative", -1, -2, -1},                  //
                                         Count{"Least", 0, kLeast, 0},                   //
                                         Count{"Most", 0x7FFFFFFF, kMost, kMost}),
                         kRowName);

TEST(SFExtensionNCases, SetsTheRowCountOfTheSource) {
  const TempFile file(FileWith(8, 2, BytesOf({1, 42})));
  const SystemFileDataSource source(file.Name(), "", false);
  EXPECT_EQ(42, source.RowCount());
  EXPECT_FALSE(source.HasExtension(kSubtype));
  EXPECT_TRUE(source.bExtensionFound(kSubtype));
}

TEST(SFExtensionNCases, OtherUnitSizeThrows1204) {
  const std::string bytes = BytesOf({1, 42});
  EXPECT_THAT(FaultOf(FileWith(4, 4, bytes)), IsFault(1204, "rec.UnitSize() == sizeof(int64)"));
  EXPECT_THAT(FaultOf(FileWith(4, 2, bytes.substr(0, 8))), IsFault(1204, "rec.UnitSize() == sizeof(int64)"));
  EXPECT_THAT(FaultOf(FileWith(16, 1, bytes)), IsFault(1204, "rec.UnitSize() == sizeof(int64)"));
}

TEST(SFExtensionNCases, OtherNumberOfUnitsThrows1204) {
  for (const int units : {3, 4, 100}) {
    const std::string bytes(static_cast<std::size_t>(units) * 8, '\0');
    EXPECT_THAT(FaultOf(FileWith(8, units, bytes)), IsFault(1204, "rec.NUnits() == 1 || rec.NUnits() == 2")) << units;
  }
}

// ---- Writing ----

TEST(SFExtensionNCases, Writes1AndTheCountOfTheOptions) {
  for (const long long count : {-1LL, 0LL, 42LL, 5000000000LL}) {
    const MemorySource source;
    QUAV_FileStream file;
    SystemFileOptions options;
    options.numberOfCases = count;
    SystemFileDataSource::SaveDS saved(&source, file, options);
    SystemFileExtensionRecord record;
    SystemFileExtensionHandler::Write(kSubtype, saved, record);
    EXPECT_EQ(8, record.UnitSize());
    EXPECT_EQ(2, record.NUnits());
    EXPECT_EQ(BytesOf({1, count}), std::string(AsText(record.Contents()), static_cast<std::size_t>(record.Size())));
  }
}

}  // namespace
}  // namespace SFExtensionNCases_test
