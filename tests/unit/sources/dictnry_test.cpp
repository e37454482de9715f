#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <typeinfo>
#include <utility>
#include <vector>

#include "datasrc/IndependentDataStore.h"
#include "datasrc/QUAV_FortranDictionary.h"

namespace dictnry_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

// A store of rows in memory that counts its live iterators.
class Rows : public IndependentDataStore {
 public:
  Rows() : IndependentDataStore(nullptr) {}

  void AddRow(const OBS* row) override { rows.emplace_back(row, row + GetObsAreaSize()); }
  void Close() override {}
  QUAV_InputCaseIterator* MakeIterator(OBS* buffer) const override;

  std::vector<std::vector<OBS>> rows;
  mutable int iterators = 0;
};

class RowIterator : public QUAV_InputCaseIterator {
 public:
  RowIterator(const Rows& rows, OBS* buffer) : QUAV_InputCaseIterator(rows, buffer), m_rows(rows) {
    ++m_rows.iterators;
  }
  ~RowIterator() override { --m_rows.iterators; }
  int IsSeekOK() override { return 0; }
  int Seek(long long) override { return 0; }
  long long Tell() const override { return m_next; }
  int Next() override {
    if (m_next >= static_cast<long long>(m_rows.rows.size())) return 0;
    std::ranges::copy(m_rows.rows[static_cast<std::size_t>(m_next++)], GetObsPointer(0));
    return 1;
  }

 private:
  const Rows& m_rows;
  long long m_next = 0;
};

QUAV_InputCaseIterator* Rows::MakeIterator(OBS* buffer) const { return new RowIterator(*this, buffer); }

// A source that is not a store and accepts no rows.
class NoStore : public QUAV_DataSource {
 public:
  QUAV_InputCaseIterator* MakeIterator(OBS*) const override { return nullptr; }
};

// Columns: A a number, S of 20 bytes, B a number, T of 8 bytes. Slots: 1, 2 to 4, 5, 6.
struct FourColumns {
  Rows source;
  QUAV_FortranDictionary dictionary;

  FourColumns() : dictionary(WithVariables(source)) {}
  static Rows& WithVariables(Rows& source) {
    for (const auto& [name, type] : {std::pair{"A", 0}, {"S", 20}, {"B", 0}, {"T", 8}})
      source.MakeVariable(type, nullptr).SetName(name);
    return source;
  }
};

std::vector<OBS> Case(std::uint64_t first, std::size_t cells) {
  std::vector<OBS> values;
  for (std::size_t i = 0; i < cells; ++i) values.push_back(OBS{first + i});
  return values;
}

// ---- Slots ----

TEST(FortranDictionary, HasASlotForEachCell) {
  const FourColumns f;
  EXPECT_EQ(6u, f.dictionary.Count());
  std::vector<int> columns;
  for (int slot = 1; slot <= 6; ++slot) columns.push_back(f.dictionary.ColumnAt(slot));
  EXPECT_THAT(columns, ElementsAre(0, 1, -1, -1, 2, 3));
}

TEST(FortranDictionary, StringHasSlotsByItsWidth) {
  for (const auto& [type, slots] :
       {std::pair{0, 1u}, {1, 1u}, {8, 1u}, {9, 2u}, {16, 2u}, {17, 3u}, {255, 32u}, {32767, 4096u}}) {
    Rows source;
    source.MakeVariable(type, nullptr);
    EXPECT_EQ(slots, QUAV_FortranDictionary(source).Count()) << type;
  }
}

TEST(FortranDictionary, HasNoSlotsForAnEmptySource) {
  Rows source;
  EXPECT_EQ(0u, QUAV_FortranDictionary(source).Count());
}

TEST(FortranDictionary, FindsVariablesByTheirFirstSlot) {
  FourColumns f;
  const QUAV_FortranDictionary& dictionary = f.dictionary;
  EXPECT_STREQ("A", dictionary.GetVariable(1).GetName());
  EXPECT_STREQ("S", dictionary.GetVariable(2).GetName());
  EXPECT_STREQ("B", f.dictionary.GetVariable(5).GetName());
  EXPECT_STREQ("T", f.dictionary.GetVariable(6).GetName());
}

TEST(FortranDictionary, ChangesTheVariablesOfTheSource) {
  FourColumns f;
  f.dictionary.GetVariable(5).SetName("CHANGED");
  EXPECT_STREQ("CHANGED", f.source.GetVariable(2).GetName());
}

TEST(FortranDictionary, ReturnsTheExtensionWhereNoVariableBegins) {
  const FourColumns f;
  for (const int slot : {0, -1, 3, 4, 7, 1000})
    EXPECT_EQ(&QUAV_FortranDictionary::kTheExtension, &f.dictionary.GetVariable(slot)) << slot;
  EXPECT_EQ(-1, QUAV_FortranDictionary::kTheExtension.GetType());
}

TEST(FortranDictionaryDeathTest, ChangingASlotWhereNoVariableBeginsAsserts) {
  FourColumns f;
  for (const int slot : {0, -1, 3, 4, 7, 1000})
    EXPECT_DEATH(f.dictionary.GetVariable(slot), HasSubstr("assertion failed: 0 <= index")) << slot;
}

TEST(FortranDictionary, MakesVariablesInTheSource) {
  FourColumns f;
  unsigned int column = 99;
  f.dictionary.MakeVariable(20, &column).SetName("NEW");
  EXPECT_EQ(4u, column);
  EXPECT_EQ(20, f.source.GetVariable(4).GetType());
  EXPECT_STREQ("NEW", f.source.GetVariable(4).GetName());
  EXPECT_EQ(9u, f.dictionary.Count());
  EXPECT_EQ(4, f.dictionary.ColumnAt(7));
  EXPECT_EQ(-1, f.dictionary.ColumnAt(8));
  EXPECT_EQ(-1, f.dictionary.ColumnAt(9));
}

TEST(FortranDictionary, MakeVariableAcceptsANullColumn) {
  FourColumns f;
  f.dictionary.MakeVariable(0, nullptr);
  EXPECT_EQ(7u, f.dictionary.Count());
}

TEST(FortranDictionary, ReIndexFollowsChangesOfTheSource) {
  FourColumns f;
  f.source.DeleteVariables(1, 1);
  f.dictionary.ReIndex();
  EXPECT_EQ(3u, f.dictionary.Count());
  EXPECT_EQ(1, f.dictionary.ColumnAt(2));
}

TEST(FortranDictionary, TruncatesTheSourceAtASlot) {
  FourColumns f;
  f.dictionary.Truncate(4);
  EXPECT_EQ(4u, f.dictionary.Count());
  EXPECT_EQ(2u, f.source.ColumnCount());
  f.dictionary.Truncate(1);
  EXPECT_EQ(1u, f.dictionary.Count());
  EXPECT_EQ(1u, f.source.ColumnCount());
  f.dictionary.Truncate(0);
  EXPECT_EQ(0u, f.dictionary.Count());
  EXPECT_EQ(0u, f.source.ColumnCount());
}

TEST(FortranDictionary, TruncatesNothingAtOrPastItsEnd) {
  FourColumns f;
  f.dictionary.Truncate(6);
  f.dictionary.Truncate(1000);
  EXPECT_EQ(6u, f.dictionary.Count());
  EXPECT_EQ(4u, f.source.ColumnCount());
}

TEST(FortranDictionaryDeathTest, TruncatingInsideAStringAsserts) {
  FourColumns f;
  EXPECT_DEATH(f.dictionary.Truncate(2), HasSubstr("assertion failed: 0 <= mark"));
  EXPECT_DEATH(f.dictionary.Truncate(3), HasSubstr("assertion failed: 0 <= mark"));
}

// ---- Cases ----

TEST(FortranDictionary, ReadsTheCasesOfTheSource) {
  FourColumns f;
  f.source.rows = {Case(10, 6), Case(20, 6)};
  std::vector<OBS> buffer(7, OBS{42});
  int eof = 7;
  f.dictionary.ReadCase(buffer.data(), eof);
  EXPECT_EQ(0, eof);
  EXPECT_EQ(Case(10, 6), std::vector<OBS>(buffer.begin(), buffer.end() - 1));
  EXPECT_EQ(OBS{42}, buffer.back());
  f.dictionary.ReadCase(buffer.data(), eof);
  EXPECT_EQ(0, eof);
  EXPECT_EQ(OBS{20}, buffer[0]);
  f.dictionary.ReadCase(buffer.data(), eof);
  EXPECT_EQ(1, eof);
  EXPECT_EQ(OBS{20}, buffer[0]);
}

TEST(FortranDictionary, WritesCasesToTheSource) {
  FourColumns f;
  auto first = Case(10, 6), second = Case(20, 6);
  f.dictionary.WriteCase(first.data());
  f.dictionary.WriteCase(second.data());
  EXPECT_THAT(f.source.rows, ElementsAre(first, second));
}

TEST(FortranDictionary, WritingToASourceThatIsNoStoreThrows) {
  NoStore source;
  source.MakeVariable(0, nullptr);
  QUAV_FortranDictionary dictionary(source);
  OBS cell{};
  EXPECT_THROW(dictionary.WriteCase(&cell), std::bad_cast);
}

TEST(FortranDictionary, ReadsAfterWritingAndQuiesce) {
  FourColumns f;
  auto row = Case(10, 6);
  f.dictionary.WriteCase(row.data());
  f.dictionary.Quiesce();
  std::vector<OBS> buffer(6);
  int eof = 7;
  f.dictionary.ReadCase(buffer.data(), eof);
  EXPECT_EQ(0, eof);
  EXPECT_EQ(row, buffer);
}

TEST(FortranDictionary, WritesAfterReadingAndQuiesce) {
  FourColumns f;
  f.source.rows = {Case(10, 6)};
  auto buffer = Case(0, 6);
  int eof = 0;
  f.dictionary.ReadCase(buffer.data(), eof);
  f.dictionary.Quiesce();
  EXPECT_EQ(0, f.source.iterators);
  f.dictionary.WriteCase(buffer.data());
  EXPECT_EQ(2u, f.source.rows.size());
}

TEST(FortranDictionary, ReadsFromTheStartAfterQuiesce) {
  FourColumns f;
  f.source.rows = {Case(10, 6), Case(20, 6)};
  std::vector<OBS> buffer(6);
  int eof = 0;
  f.dictionary.ReadCase(buffer.data(), eof);
  f.dictionary.Quiesce();
  f.dictionary.ReadCase(buffer.data(), eof);
  EXPECT_EQ(Case(10, 6), buffer);
}

TEST(FortranDictionaryDeathTest, ReadingWhileWritingAsserts) {
  FourColumns f;
  auto row = Case(10, 6);
  f.dictionary.WriteCase(row.data());
  int eof = 0;
  EXPECT_DEATH(f.dictionary.ReadCase(row.data(), eof), HasSubstr("assertion failed: fIOStatus != kWrite"));
}

TEST(FortranDictionaryDeathTest, WritingWhileReadingAsserts) {
  FourColumns f;
  auto row = Case(10, 6);
  int eof = 0;
  f.dictionary.ReadCase(row.data(), eof);
  EXPECT_DEATH(f.dictionary.WriteCase(row.data()), HasSubstr("assertion failed: fIOStatus != kRead"));
}

TEST(FortranDictionaryDeathTest, ReadingWithAGivenIteratorAsserts) {
  FourColumns f;
  f.dictionary.SetIterator(f.source.MakeIterator(nullptr));
  auto row = Case(10, 6);
  int eof = 0;
  EXPECT_DEATH(f.dictionary.ReadCase(row.data(), eof), HasSubstr("assertion failed: !fpIterator"));
}

TEST(FortranDictionaryDeathTest, ReadingOrWritingWithLogicalUnit0Asserts) {
  FourColumns f;
  f.dictionary.SetLUN(0);
  auto row = Case(10, 6);
  int eof = 0;
  EXPECT_DEATH(f.dictionary.ReadCase(row.data(), eof), HasSubstr("assertion failed: GetLUN()"));
  EXPECT_DEATH(f.dictionary.WriteCase(row.data()), HasSubstr("assertion failed: GetLUN()"));
}

TEST(FortranDictionaryDeathTest, WritingWithoutSlotsAsserts) {
  Rows source;
  QUAV_FortranDictionary dictionary(source);
  OBS cell{};
  EXPECT_DEATH(dictionary.WriteCase(&cell), HasSubstr("assertion failed: Count()"));
}

TEST(FortranDictionary, LogicalUnitIsMinus1ByDefault) {
  FourColumns f;
  EXPECT_EQ(-1, f.dictionary.GetLUN());
  f.dictionary.SetLUN(12);
  EXPECT_EQ(12, f.dictionary.GetLUN());
}

// ---- Ownership ----

TEST(FortranDictionary, OwnsItsIterator) {
  Rows source;
  {
    QUAV_FortranDictionary dictionary(source);
    dictionary.SetIterator(source.MakeIterator(nullptr));
    EXPECT_EQ(1, source.iterators);
    dictionary.SetIterator(source.MakeIterator(nullptr));
    EXPECT_EQ(1, source.iterators);
  }
  EXPECT_EQ(0, source.iterators);
}

TEST(FortranDictionary, GivesAccessToItsIterator) {
  Rows source;
  QUAV_FortranDictionary dictionary(source);
  QUAV_InputCaseIterator* iterator = source.MakeIterator(nullptr);
  dictionary.SetIterator(iterator);
  EXPECT_EQ(iterator, dictionary.GetIterator());
  dictionary.DeleteIterator();
  EXPECT_EQ(0, source.iterators);
}

TEST(FortranDictionaryDeathTest, GetIteratorWithoutAnIteratorAsserts) {
  Rows source;
  const QUAV_FortranDictionary dictionary(source);
  EXPECT_DEATH(dictionary.GetIterator(), HasSubstr("assertion failed: fpIterator"));
}

class Guard : public SvrDMInputDataSource {
 public:
  explicit Guard(int& alive) : m_alive(alive) { ++m_alive; }
  ~Guard() override { --m_alive; }

 private:
  int& m_alive;
};

TEST(FortranDictionary, OwnsItsGuard) {
  int alive = 0;
  Rows source;
  {
    QUAV_FortranDictionary dictionary(source);
    dictionary.SetGuard(new Guard(alive));
    dictionary.SetGuard(new Guard(alive));
    EXPECT_EQ(1, alive);
  }
  EXPECT_EQ(0, alive);
}

}  // namespace
}  // namespace dictnry_test
