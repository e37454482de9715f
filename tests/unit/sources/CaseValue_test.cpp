#include "datasrc/CaseValue.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>

#include "tests/support/MemorySource.h"

namespace CaseValue_test {
namespace {

auto Asserts(const std::string& text) { return testing::HasSubstr("assertion failed: " + text + "\n"); }

// Cases with a number and strings of 3 and 12 bytes; the iterator is at the first one.
class CaseValueTest : public testing::Test {
 protected:
  CaseValueTest() {
    m_source.AddNumber("number");
    m_source.AddText("short", 3);
    m_source.AddText("long", 12);
    m_source.AddCase({9.0, "abc", "abcdefghijkl"});
    m_source.AddCase({CellNumber(kSystemMissingCell), "", ""});
    m_iterator.reset(m_source.MakeIterator(nullptr));
    m_iterator->Next();
  }

  CaseValue Column(unsigned int column) { return {*m_iterator, column}; }
  std::string Field(int column) { return {m_iterator->GetStringValue(column), FieldSize(Type(column))}; }
  int Type(int column) { return m_source.GetVariable(column).GetType(); }

  MemorySource m_source;
  std::unique_ptr<QUAV_InputCaseIterator> m_iterator;
};
using CaseValueDeathTest = CaseValueTest;

TEST_F(CaseValueTest, OneBindingServesAllCases) {
  const CaseValue number = Column(0), text = Column(1), longText = Column(2);
  EXPECT_FALSE(number.IsNull());
  EXPECT_FALSE(text.IsNull());
  EXPECT_FALSE(longText.IsNull());
  m_iterator->Next();
  EXPECT_TRUE(number.IsNull());
  EXPECT_TRUE(text.IsNull());
  EXPECT_TRUE(longText.IsNull());
}

TEST_F(CaseValueTest, CanBeBoundLater) {
  CaseValue value(1);
  value.SetIterator(*m_iterator);
  value.SetValue("xy");
  EXPECT_EQ("xy      ", Field(1));
}

TEST_F(CaseValueTest, NullStringIsBlankWithinItsWidth) {
  OBS* cell = m_iterator->GetObsPointer(1);
  *cell = kBlankCell;
  CellText(cell)[3] = 'x';
  EXPECT_TRUE(Column(1).IsNull());
  CellText(cell)[2] = 'x';
  EXPECT_FALSE(Column(1).IsNull());
}

TEST_F(CaseValueTest, UserMissingCountsOnlyOnRequest) {
  const double nine = 9;
  m_source.GetVariable(0).SetMissingValues(&nine, nullptr, nullptr);
  const CaseValue value = Column(0);
  EXPECT_FALSE(value.IsMissing(false));
  EXPECT_TRUE(value.IsMissing(true));
  EXPECT_TRUE(value.IsMissing());
}

TEST_F(CaseValueTest, SystemMissingAlwaysCounts) {
  const CaseValue value = Column(0);
  m_iterator->Next();
  EXPECT_TRUE(value.IsMissing(false));
  EXPECT_TRUE(value.IsMissing(true));
}

TEST_F(CaseValueTest, StringIsMissingOnlyByItsMissingValues) {
  m_source.GetVariable(1).SetMissingValues("abc", nullptr, nullptr);
  const CaseValue value = Column(1);
  EXPECT_FALSE(value.IsMissing(false));
  EXPECT_TRUE(value.IsMissing(true));
  m_iterator->Next();  // blanks
  EXPECT_FALSE(value.IsMissing());
}

TEST_F(CaseValueTest, SetValueStoresNegativeZeroAsZero) {
  Column(0).SetValue(-0.0);
  EXPECT_EQ(NumberCell(0.0), *m_iterator->GetObsPointer(0));
  m_iterator->SetColumnValue(0, -0.0);
  EXPECT_EQ(NumberCell(-0.0), *m_iterator->GetObsPointer(0));
  Column(0).SetValue(NumberCell(-0.0));
  EXPECT_EQ(NumberCell(0.0), *m_iterator->GetObsPointer(0));
}

TEST_F(CaseValueTest, SetValueStoresOtherNumbersUnchanged) {
  for (const double value : {1.5, -1.5, CellNumber(kSystemMissingCell), 5e-324}) {
    Column(0).SetValue(value);
    EXPECT_EQ(NumberCell(value), *m_iterator->GetObsPointer(0));
  }
}

TEST_F(CaseValueTest, SetValueTruncatesOrPadsTextToTheWidth) {
  struct Row {
    const char* name;
    unsigned int column;
    const char* text;
    std::string field;
  };
  const Row rows[] = {
      {"short", 1, "a", "a       "},
      {"too long", 1, "abcdefgh", "abc     "},
      {"empty", 1, "", "        "},
      {"short in two cells", 2, "a", "a               "},
      {"too long in two cells", 2, "ABCDEFGHIJKLMNOP", "ABCDEFGHIJKL    "},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const int column = static_cast<int>(row.column);
    OBS* cells = m_iterator->GetObsPointer(column);
    std::fill_n(CellText(cells), FieldSize(Type(column)), '#');
    Column(row.column).SetValue(row.text);
    EXPECT_EQ(row.field, Field(column));
  }
}

TEST_F(CaseValueTest, SetValueTakesCellsUpToTheWidth) {
  OBS cells[2];
  std::string("ABCDEFGHIJKLMNOP").copy(CellText(cells), sizeof(cells));
  Column(2).SetValue(cells[0]);
  EXPECT_EQ("ABCDEFGHIJKL    ", Field(2));
  Column(1).SetValue(cells[0]);
  EXPECT_EQ("ABC     ", Field(1));
  Column(0).SetValue(NumberCell(2.5));
  EXPECT_EQ(2.5, m_iterator->GetNumericValue(0));
}

TEST_F(CaseValueTest, SetValueAcceptsItsOwnCells) {
  Column(2).SetValue(*m_iterator->GetObsPointer(2));
  EXPECT_EQ("abcdefghijkl    ", Field(2));
}

TEST_F(CaseValueDeathTest, SettingAValueOfAnotherTypeAsserts) {
  EXPECT_DEATH(Column(0).SetValue("a"), Asserts("_type != 0"));
  EXPECT_DEATH(Column(1).SetValue(1.0), Asserts("_type == 0"));
}

TEST_F(CaseValueDeathTest, SettingAnUnboundValueAsserts) {
  EXPECT_DEATH(CaseValue(0).SetValue(kBlankCell), Asserts("_pValue"));
  EXPECT_DEATH(CaseValue(0).SetValue("a"), Asserts("_type != 0"));
}

}  // namespace
}  // namespace CaseValue_test
