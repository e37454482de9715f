// Codes of missing values without a meaning: a caller may set them, and files and views have no missing values then.

#include "dictionary/MissingCode.h"

#include <gtest/gtest.h>

#include "datasrc/SaveFile.h"
#include "datasrc/SystemFileDataSource.h"
#include "datasrc/UTF8DataSource.h"
#include "tests/support/MemorySource.h"
#include "tests/support/TempFile.h"

namespace MissingCode_test {
namespace {

const OBS kOne = NumberCell(1);

int CodeOf(const QUAV_Variable& variable) {
  const OBS *v1, *v2, *v3;
  return variable.GetMissingValues(v1, v2, v3);
}

TEST(MissingCodeInUse, IsAtMostThreeEitherWay) {
  for (const int code : {-3, -2, -1, 0, 1, 2, 3}) EXPECT_EQ(MissingCodeInUse(code), code);
  for (const int code : {-128, -4, 4, 127}) EXPECT_EQ(MissingCodeInUse(code), 0) << code;
}

TEST(MissingCode, OutsideTheFieldStaysWithoutAMeaning) {
  for (const int code : {128, 257, 65539, -129, -255, 2147483647, -2147483647 - 1}) {
    QUAV_Variable variable(0);
    variable.SetMissingValues(code, &kOne, &kOne, &kOne);
    EXPECT_EQ(MissingCodeInUse(CodeOf(variable)), 0) << code;
    EXPECT_EQ(variable.IsMissing(1.0), 0) << code;
  }
}

class MissingCodeWithoutAMeaning : public testing::TestWithParam<int> {
 protected:
  MissingCodeWithoutAMeaning() {
    source.AddNumber("N");
    source.AddText("S", 8);
    source.AddText("L", 20);
    for (int column = 0; column < 3; ++column)
      source.GetVariable(column).SetMissingValues(GetParam(), &kOne, &kOne, &kOne);
  }

  void ExpectNoneIn(const QUAV_DataSource& other) {
    ASSERT_EQ(other.ColumnCount(), 3u);
    for (int column = 0; column < 3; ++column) EXPECT_EQ(CodeOf(other.GetVariable(column)), 0) << column;
  }

  MemorySource source;
};
INSTANTIATE_TEST_SUITE_P(Codes, MissingCodeWithoutAMeaning, testing::Values(4, 5, 127, -4, -128));

TEST_P(MissingCodeWithoutAMeaning, IsNoneInAFile) {
  const TempFile file("");
  SaveSystemFile(file.Name().c_str(), source, 1);
  ExpectNoneIn(SystemFileDataSource(file.Name(), "", false));
}

TEST_P(MissingCodeWithoutAMeaning, IsNoneInAView) {
  source.GetVariable(0).SetMissingValues(0, nullptr, nullptr, nullptr);  // a view leaves those of numbers as they are
  ExpectNoneIn(UTF8DataSource(source, "windows-1252", nullptr));
}

}  // namespace
}  // namespace MissingCode_test
