#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "datasrc/QUAV_DataCell.h"
#include "tests/support/MemorySource.h"

namespace DataCell_test {
namespace {

// A case with a number and strings of 3 and 12 bytes. All its bytes are '#' at first.
class DataCell : public testing::Test {
 protected:
  DataCell() {
    m_source.AddNumber("number");
    m_source.AddText("short", 3);
    m_source.AddText("long", 12);
    m_cells.resize(m_source.GetObsAreaSize(), OBS{0x2323232323232323});
  }

  QUAV_DataCell Column(int column) { return {m_source, column, m_cells.data()}; }
  std::string Case() const { return {CellText(m_cells.data()), m_cells.size() * sizeof(OBS)}; }

  MemorySource m_source;
  std::vector<OBS> m_cells;
};

TEST_F(DataCell, ChangesOnlyItsOwnField) {
  Column(1) = "ab";
  EXPECT_EQ("########ab      ################", Case());
  Column(2) = "abcdefghijk";
  EXPECT_EQ("########ab      abcdefghijk     ", Case());
}

TEST_F(DataCell, TruncatesTextToTheWidth) {
  Column(1) = "abcdef";
  EXPECT_EQ("########abc     ################", Case());
  Column(2).SetTo("ABCDEFGHIJKLMNOP", 16);
  EXPECT_EQ("########abc     ABCDEFGHIJKL    ", Case());
}

TEST_F(DataCell, SetToUsesTheGivenLength) {
  Column(2).SetTo("abcdef", 2);
  EXPECT_EQ("################ab              ", Case());
  Column(2).SetTo("abcdef", 0);
  EXPECT_EQ("################                ", Case());
}

TEST_F(DataCell, NumberHoldsEightBytesOfText) {
  Column(0) = "abcdefghij";
  EXPECT_EQ("abcdefgh########################", Case());
}

TEST_F(DataCell, TakesTheCellsOfItsField) {
  OBS cells[2];
  std::string("ABCDEFGHIJKLMNOP").copy(CellText(cells), sizeof(cells));
  Column(0) = NumberCell(2.5);
  Column(1) = cells[0];
  Column(2) = cells[0];
  EXPECT_EQ(NumberCell(2.5), m_cells[0]);
  EXPECT_EQ("ABCDEFGHABCDEFGHIJKLMNOP", Case().substr(8));
}

TEST_F(DataCell, IsMissingByTheMissingValuesOfTheVariable) {
  m_source.GetVariable(1).SetMissingValues("abc", nullptr, nullptr);
  m_cells[0] = kSystemMissingCell;
  EXPECT_TRUE(Column(0).IsMissing());
  EXPECT_FALSE(Column(1).IsMissing());
  Column(1) = "abc";
  EXPECT_TRUE(Column(1).IsMissing());
}

TEST_F(DataCell, BindsToTheBufferOfAnIterator) {
  m_source.AddCase({1.0, "abc", "abcdefghijkl"});
  const std::unique_ptr<QUAV_InputCaseIterator> iterator(m_source.MakeIterator(nullptr));
  QUAV_DataCell cell(m_source, 2, *iterator);
  iterator->Next();
  cell = "new";
  EXPECT_EQ("new             ", std::string(iterator->GetStringValue(2), 16));
  EXPECT_EQ("abc     ", std::string(iterator->GetStringValue(1), 8));
}

}  // namespace
}  // namespace DataCell_test
