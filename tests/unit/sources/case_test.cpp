#include "datasrc/QUAV_Case.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "datasrc/QUAV_DataSource.h"
#include "tests/support/MemorySource.h"

namespace case_test {
namespace {

using testing::Each;
using testing::HasSubstr;

constexpr OBS kUntouched{0x1122334455667788};

class CaseTest : public testing::Test {
 protected:
  CaseTest() : cells(6, kUntouched) {
    source.AddNumber("A");
    source.AddText("B", 12);
    source.AddText("C", 3);
  }

  // Returns the bytes of the cells of a column.
  std::string Field(const QUAV_Case& row, int column) {
    return std::string(row.GetStringValue(column), FieldSize(source.GetVariable(column).GetType()));
  }

  MemorySource source;
  std::vector<OBS> cells;  // those of a case, and two more
};

using CaseDeathTest = CaseTest;

// ---- Construction ----

TEST_F(CaseTest, NullBufferMakesItsOwnCellsSetToMissingAndBlanks) {
  const QUAV_Case row(source, nullptr);
  EXPECT_EQ(*row.GetObsPointer(0), kSystemMissingCell);
  EXPECT_EQ(row.GetObsPointer(1)[0], kBlankCell);
  EXPECT_EQ(row.GetObsPointer(1)[1], kBlankCell);
  EXPECT_EQ(*row.GetObsPointer(2), kBlankCell);
}

TEST_F(CaseTest, GivenBufferIsNeitherInitialisedNorFreed) {
  { const QUAV_Case row(source, cells.data()); }
  EXPECT_THAT(cells, Each(kUntouched));
}

TEST_F(CaseTest, NewCaseHasItsSourceAndNoParentOrMonitor) {
  const QUAV_Case row(source, nullptr);
  EXPECT_EQ(row.GetDataSource(), &source);
  EXPECT_EQ(row.GetParent(), nullptr);
  EXPECT_EQ(row.GetErrorMonitor(), nullptr);
}

TEST_F(CaseTest, ParentAndMonitorAreStored) {
  const std::unique_ptr<QUAV_InputCaseIterator> parent(source.MakeIterator(nullptr));
  ErrorMonitor monitor;
  QUAV_Case row(source, nullptr);
  row.SetParent(parent.get());
  row.SetErrorMonitor(&monitor);
  EXPECT_EQ(row.GetParent(), parent.get());
  EXPECT_EQ(row.GetErrorMonitor(), &monitor);
}

TEST(Case, CanBeMadeForASourceWithoutVariables) {
  const MemorySource source;
  const QUAV_Case row(source, nullptr);
  EXPECT_NE(row.GetObsPointer(0), nullptr);
}

// A source whose cases are wider than its dictionary.
class WideSource : public MemorySource {
 public:
  unsigned int GetObsAreaSize() const override { return 1000; }
};

TEST(Case, HasTheCellCountOfTheVirtualFunction) {
  WideSource source;
  source.AddNumber("A");
  const QUAV_Case row(source, nullptr);
  row.GetObsPointer(0)[999] = kBlankCell;  // the sanitizer checks the bound
  EXPECT_EQ(row.GetObsPointer(0)[999], kBlankCell);
}

// ---- Access ----

TEST_F(CaseTest, GetObsPointerIsTheFirstCellOfTheColumn) {
  const QUAV_Case row(source, cells.data());
  EXPECT_EQ(row.GetObsPointer(0), &cells[0]);
  EXPECT_EQ(row.GetObsPointer(1), &cells[1]);
  EXPECT_EQ(row.GetObsPointer(2), &cells[3]);
  EXPECT_EQ(row.GetObsPointer(3), &cells[4]);
}

TEST_F(CaseDeathTest, GetObsPointerOutsideTheDictionaryAsserts) {
  const QUAV_Case row(source, cells.data());
  EXPECT_DEATH(row.GetObsPointer(4), HasSubstr("assertion failed: var_index <= lth\n"));
}

TEST_F(CaseTest, GetNumericValueReadsTheCellAsADouble) {
  cells[0] = NumberCell(1.5);
  EXPECT_EQ(QUAV_Case(source, cells.data()).GetNumericValue(0), 1.5);
}

TEST_F(CaseTest, GetStringValueIsTheTextOfTheCells) {
  const QUAV_Case row(source, cells.data());
  EXPECT_EQ(row.GetStringValue(1), reinterpret_cast<const char*>(&cells[1]));
}

TEST_F(CaseTest, SetColumnValueStoresADouble) {
  QUAV_Case row(source, cells.data());
  row.SetColumnValue(0, 2.5);
  EXPECT_EQ(cells[0], NumberCell(2.5));
  EXPECT_EQ(cells[1], kUntouched);
}

TEST_F(CaseTest, SetColumnValueStoresTheBitsOfMinusZero) {
  QUAV_Case row(source, cells.data());
  row.SetColumnValue(0, -0.0);
  EXPECT_EQ(cells[0].bits, std::uint64_t{1} << 63);
}

TEST_F(CaseTest, SetColumnValuePadsTheFieldWithBlanks) {
  QUAV_Case row(source, cells.data());
  row.SetColumnValue(1, "abc");
  EXPECT_EQ(Field(row, 1), "abc             ");
  EXPECT_EQ(cells[3], kUntouched);
}

TEST_F(CaseTest, SetColumnValueTruncatesTextToTheWidth) {
  QUAV_Case row(source, cells.data());
  row.SetColumnValue(1, "abcdefghijklmnop");
  EXPECT_EQ(Field(row, 1), "abcdefghijkl    ");
  row.SetColumnValue(2, "wxyz");
  EXPECT_EQ(Field(row, 2), "wxy     ");
}

TEST_F(CaseTest, SetColumnValueUsesTheGivenLength) {
  QUAV_Case row(source, cells.data());
  row.SetColumnValue(1, "abcdef", 4);
  EXPECT_EQ(Field(row, 1), "abcd            ");
  row.SetColumnValue(1, "abcdef", 0);
  EXPECT_EQ(Field(row, 1), "                ");
}

TEST_F(CaseTest, SetColumnValueTakesANegativeLengthForATerminatedText) {
  QUAV_Case row(source, cells.data());
  row.SetColumnValue(2, "abcdefgh", -1);
  EXPECT_EQ(Field(row, 2), "abc     ");
  row.SetColumnValue(1, "ab", -9);
  EXPECT_EQ(Field(row, 1), "ab              ");
}

TEST_F(CaseDeathTest, SettingTextForANumberAsserts) {
  QUAV_Case row(source, cells.data());
  EXPECT_DEATH(row.SetColumnValue(0, "abc"), HasSubstr("assertion failed: tgtlen > 0\n"));
  EXPECT_DEATH(row.SetColumnValue(0, "abc", 2), HasSubstr("assertion failed: tgtlen > 0\n"));
}

TEST_F(CaseTest, InitCaseSetsAllColumns) {
  QUAV_Case row(source, cells.data());
  row.InitCase();
  EXPECT_THAT(cells,
              testing::ElementsAre(kSystemMissingCell, kBlankCell, kBlankCell, kBlankCell, kUntouched, kUntouched));
}

TEST_F(CaseTest, InitCaseOfARangeIncludesBothEnds) {
  QUAV_Case row(source, cells.data());
  row.InitCase(1, 2);
  EXPECT_THAT(cells, testing::ElementsAre(kUntouched, kBlankCell, kBlankCell, kBlankCell, kUntouched, kUntouched));
}

TEST_F(CaseTest, InitCaseOfAnEmptyRangeChangesNothing) {
  QUAV_Case row(source, cells.data());
  row.InitCase(1, 0);
  EXPECT_THAT(cells, Each(kUntouched));
}

TEST_F(CaseDeathTest, InitCasePastTheLastColumnAsserts) {
  QUAV_Case row(source, cells.data());
  EXPECT_DEATH(row.InitCase(0, 3), HasSubstr("assertion failed: firstVar+nVars <= ColumnCount()\n"));
}

// ---- Iterators on the same cells ----

TEST_F(CaseTest, MakeIteratorFillsThisBuffer) {
  source.AddCase({4.0, "text", "abc"});
  const QUAV_Case row(source, cells.data());
  const std::unique_ptr<QUAV_InputCaseIterator> iterator(row.MakeIterator(&source));
  EXPECT_EQ(iterator->GetObsPointer(0), cells.data());
  ASSERT_TRUE(iterator->Next());
  EXPECT_EQ(row.GetNumericValue(0), 4.0);
}

TEST_F(CaseTest, MakeIteratorOfNullIsNull) {
  const QUAV_Case row(source, cells.data());
  EXPECT_EQ(row.MakeIterator(nullptr), nullptr);
}

}  // namespace
}  // namespace case_test
