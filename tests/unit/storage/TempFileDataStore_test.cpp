#include "datasrc/TempFileDataStore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

#include "Platform/stream/FileCalls.h"
#include "tests/support/MemorySource.h"
#include "tests/support/Reading.h"
#include "tests/support/SpoolDirectories.h"
#include "tests/support/VirtualSlot.h"

namespace TempFileDataStore_test {
namespace {

using testing::ElementsAre;

using Walk = std::unique_ptr<QUAV_InputCaseIterator>;
using Procedure = std::unique_ptr<ProcedureDataStorage>;

// Has its own temp directories.
class TempFileDataStoreTest : public testing::Test {
 protected:
  // Returns a store with rows of one number: 0, 1, 2...
  static std::unique_ptr<TempFileDataStore> Numbers(int rows) {
    auto store = std::make_unique<TempFileDataStore>(nullptr);
    store->MakeVariable(0, nullptr).SetName("ROW");
    for (int row = 0; row < rows; ++row) AddNumber(*store, row);
    return store;
  }

  static void AddNumber(TempFileDataStore& store, double number) {
    const OBS cell = NumberCell(number);
    store.AddRow(&cell);
  }

  static double NextNumber(QUAV_InputCaseIterator& cases) {
    return cases.Next() != 0 ? cases.GetNumericValue(0) : -1.0;
  }

  // Returns all values of a column of numbers.
  static std::vector<double> Column(const QUAV_DataSource& source, int column) {
    std::vector<double> numbers;
    for (const Walk cases(source.MakeIterator(nullptr)); cases->Next() != 0;)
      numbers.push_back(cases->GetNumericValue(column));
    return numbers;
  }

  const SpoolDirectories m_directories{2};
};

using TempFileDataStoreDeathTest = TempFileDataStoreTest;

// ---- Interface ----

TEST_F(TempFileDataStoreTest, ProcedureOperationsFollowThoseOfAnIterator) {
  EXPECT_EQ(VirtualSlot(&ProcedureDataStorage::UpdateCase), VirtualSlot(&QUAV_InputCaseIterator::Next) + 1);
  EXPECT_EQ(VirtualSlot(&ProcedureDataStorage::InsertCase), VirtualSlot(&QUAV_InputCaseIterator::Next) + 2);
}

TEST_F(TempFileDataStoreTest, StartsOpenWithTheDictionaryOfItsParent) {
  MemorySource parent;
  parent.AddNumber("A");
  parent.AddText("S", 12);
  const TempFileDataStore store(&parent);
  EXPECT_EQ(store.ColumnCount(), 2u);
  EXPECT_EQ(store.GetParentSource(), &parent);
  EXPECT_EQ(store.RowCount(), 0);
  EXPECT_FALSE(store.IsLoaded());
}

// ---- Filling and closing ----

TEST_F(TempFileDataStoreTest, ReturnsTheRowsAdded) {
  MemorySource dictionary;
  dictionary.AddNumber("A");
  dictionary.AddText("S", 20);
  dictionary.AddCase({1.5, "some text"});
  dictionary.AddCase({QUAV_DataSource::SystemMissing(), ""});
  dictionary.AddCase({-3.0, "twenty bytes of text"});
  TempFileDataStore store(nullptr);
  store.CopyDictionary(dictionary);
  for (const auto& cells : AllCells(dictionary)) store.AddRow(cells.data());
  EXPECT_EQ(store.RowCount(), 3);
  EXPECT_EQ(AllCells(store), AllCells(dictionary));
}

TEST_F(TempFileDataStoreTest, CloseMarksTheStoreLoadedAndSetsTheTimestamp) {
  const auto store = Numbers(1);
  store->SetTimestamp(0);
  store->Close();
  EXPECT_TRUE(store->IsLoaded());
  EXPECT_GT(store->GetTimestamp(), 1.3e10);
}

TEST_F(TempFileDataStoreTest, FirstIteratorWithoutAParentClosesTheStore) {
  const auto store = Numbers(2);
  EXPECT_FALSE(store->IsLoaded());
  const Walk cases(store->MakeIterator(nullptr));
  EXPECT_TRUE(store->IsLoaded());
}

TEST_F(TempFileDataStoreTest, IteratorsCallTheVirtualCloseOnce) {
  struct Counting : TempFileDataStore {
    using TempFileDataStore::TempFileDataStore;
    void Close() override {
      ++closed;
      TempFileDataStore::Close();
    }
    int closed = 0;
  } store(nullptr);
  store.MakeVariable(0, nullptr);
  const Walk first(store.MakeIterator(nullptr));
  const Walk second(store.MakeIterator(nullptr));
  EXPECT_EQ(store.closed, 1);
}

TEST_F(TempFileDataStoreTest, ReturnsNothingWhenEmpty) {
  const auto store = Numbers(0);
  store->Close();
  const Walk cases(store->MakeIterator(nullptr));
  EXPECT_EQ(cases->Next(), 0);
  EXPECT_EQ(cases->Next(), 0);
  EXPECT_EQ(cases->Tell(), 0);
}

TEST_F(TempFileDataStoreTest, CountsCasesWithoutVariables) {
  TempFileDataStore store(nullptr);
  for (int i = 0; i < 3; ++i) store.AddRow(nullptr);
  const Walk cases(store.MakeIterator(nullptr));
  for (int i = 0; i < 3; ++i) EXPECT_NE(cases->Next(), 0);
  EXPECT_EQ(cases->Next(), 0);
}

TEST_F(TempFileDataStoreTest, LeavesNoNamedFileInTheTempDirectory) {
  const auto store = Numbers(100'000);
  EXPECT_TRUE(m_directories.AreEmpty());
  store->Close();
  EXPECT_TRUE(m_directories.AreEmpty());
}

TEST_F(TempFileDataStoreTest, WritesNoPlainTextToDisk) {
  TempFileDataStore store(nullptr);
  store.MakeVariable(8, nullptr).SetName("S");
  OBS cell{};
  std::copy_n("MARKER!!", 8, CellText(&cell));
  for (int i = 0; i < 100'000; ++i) store.AddRow(&cell);
  store.Close();
  for (const char* directory : {"/0/x", "/1/x"}) {
    const std::string bytes = BytesOnDisk(m_directories.Root() + directory);
    EXPECT_GT(bytes.size(), 100'000u);
    EXPECT_EQ(bytes.find("MARKER"), std::string::npos);
  }
}

// ---- Walking and seeking ----

TEST_F(TempFileDataStoreTest, SeveralIteratorsReadInSequenceAndAtOnce) {
  const auto store = Numbers(1000);
  std::vector<double> expected(1000);
  std::iota(expected.begin(), expected.end(), 0.0);
  EXPECT_EQ(Column(*store, 0), expected);
  const Walk first(store->MakeIterator(nullptr));
  const Walk second(store->MakeIterator(nullptr));
  for (int row = 0; row < 1000; ++row) {
    EXPECT_EQ(NextNumber(*first), row);
    if (row % 2 == 0) {
      EXPECT_EQ(NextNumber(*second), row / 2);
    }
  }
}

TEST_F(TempFileDataStoreTest, FillsTheCallersBuffer) {
  const auto store = Numbers(3);
  OBS cell{};
  const Walk cases(store->MakeIterator(&cell));
  EXPECT_NE(cases->Next(), 0);
  EXPECT_NE(cases->Next(), 0);
  EXPECT_EQ(CellNumber(cell), 1.0);
}

TEST_F(TempFileDataStoreTest, SeeksOnlyExistingCases) {
  const auto store = Numbers(10);
  const Walk cases(store->MakeIterator(nullptr));
  EXPECT_NE(cases->IsSeekOK(), 0);
  EXPECT_NE(cases->Seek(9), 0);
  EXPECT_EQ(cases->Tell(), 9);
  for (const long long row : {10LL, 11LL, -1LL}) {
    EXPECT_EQ(cases->Seek(row), 0);
    EXPECT_EQ(cases->Tell(), 9);
  }
  EXPECT_EQ(NextNumber(*cases), 9.0);
  EXPECT_EQ(cases->Tell(), 10);
}

TEST_F(TempFileDataStoreTest, SeeksInAnyOrder) {
  constexpr int kRows = 50'000;
  const auto store = Numbers(kRows);
  const Walk cases(store->MakeIterator(nullptr));
  for (const int row : {49'999, 0, 1, 25'000, 25'001, 25'003, 24'999, 10, 40'000, 49'998, 49'999, 49'999, 5}) {
    EXPECT_NE(cases->Seek(row), 0);
    EXPECT_EQ(NextNumber(*cases), row);
    EXPECT_EQ(cases->Tell(), row + 1);
  }
}

// Counts the reads of files while it lives.
class ReadCount {
 public:
  ReadCount() : m_before(PresentFileCalls()) {
    s_count = 0;
    PresentFileCalls().pread = [](int file, void* to, std::size_t size, off_t at) -> ssize_t {
      ++s_count;
      return ::pread(file, to, size, at);
    };
  }
  ~ReadCount() { PresentFileCalls() = m_before; }
  int Count() const { return s_count; }

 private:
  inline static int s_count;
  FileCalls m_before;
};

TEST_F(TempFileDataStoreTest, StepsBackOneRowWithoutReadingTheFile) {
  const auto store = Numbers(100'000);
  const Walk cases(store->MakeIterator(nullptr));
  for (int row = 0; row < 70'000; ++row) cases->Next();
  const ReadCount reads;
  for (int i = 0; i < 100; ++i) {
    EXPECT_NE(cases->Seek(69'999), 0);
    EXPECT_EQ(NextNumber(*cases), 69'999);
  }
  EXPECT_EQ(reads.Count(), 0);
}

TEST_F(TempFileDataStoreTest, StepsBackOneRowFromTheEnd) {
  const auto store = Numbers(5);
  const Walk cases(store->MakeIterator(nullptr));
  while (cases->Next() != 0) continue;
  EXPECT_NE(cases->Seek(4), 0);
  EXPECT_EQ(NextNumber(*cases), 4.0);
  EXPECT_EQ(cases->Next(), 0);
}

TEST_F(TempFileDataStoreTest, SeeksFromItsPositionWhenThatIsNearest) {
  const auto store = Numbers(100'000);
  const Walk cases(store->MakeIterator(nullptr));
  for (int row = 0; row < 100; ++row) cases->Next();
  const ReadCount reads;
  EXPECT_NE(cases->Seek(110), 0);
  EXPECT_EQ(NextNumber(*cases), 110.0);
  EXPECT_EQ(reads.Count(), 0);
}

TEST_F(TempFileDataStoreTest, ReturnsRowsAddedAfterClose) {
  const auto store = Numbers(2);
  store->Close();
  AddNumber(*store, 2);
  store->Close();
  EXPECT_THAT(Column(*store, 0), ElementsAre(0, 1, 2));
}

// ---- Procedures ----

// A parent with a number and a text, and three cases. The store has an additional column C.
class TempFileDataStoreProcedureTest : public TempFileDataStoreTest {
 protected:
  TempFileDataStoreProcedureTest() {
    m_parent.AddNumber("A");
    m_parent.AddText("S", 12);
    for (const double number : {1.0, 2.0, 3.0}) m_parent.AddCase({number, "text " + std::to_string(int(number))});
    m_store = std::make_unique<TempFileDataStore>(&m_parent);
    m_store->MakeVariable(0, &m_column).SetName("C");
  }

  int Column() const { return static_cast<int>(m_column); }
  std::vector<double> Column(int column) const { return TempFileDataStoreTest::Column(*m_store, column); }
  void SetNew(ProcedureDataStorage& cases, double value) const { cases.SetColumnValue(Column(), value); }

  MemorySource m_parent;
  std::unique_ptr<TempFileDataStore> m_store;
  unsigned int m_column = 0;
};

using TempFileDataStoreProcedureDeathTest = TempFileDataStoreProcedureTest;

TEST_F(TempFileDataStoreProcedureTest, UpdateCaseStoresTheNewColumns) {
  Procedure cases(m_store->MakeIterator(1, nullptr));
  while (cases->Next() != 0) {
    SetNew(*cases, 10 * cases->GetNumericValue(0));
    cases->UpdateCase();
  }
  cases.reset();
  EXPECT_EQ(m_store->RowCount(), 3);
  EXPECT_THAT(Column(0), ElementsAre(1, 2, 3));
  EXPECT_THAT(Column(Column()), ElementsAre(10, 20, 30));
  const Walk stored(m_store->MakeIterator(nullptr));
  stored->Next();
  EXPECT_EQ(std::string(stored->GetStringValue(1), 12), "text 1      ");
}

TEST_F(TempFileDataStoreProcedureTest, UpdateCaseStoresTheOldColumnsAsRead) {
  Procedure cases(m_store->MakeIterator(1, nullptr));
  cases->Next();
  cases->SetColumnValue(0, 99.0);
  SetNew(*cases, 5);
  cases->UpdateCase();
  cases.reset();
  EXPECT_THAT(Column(0), ElementsAre(1));
  EXPECT_THAT(Column(Column()), ElementsAre(5));
}

TEST_F(TempFileDataStoreProcedureTest, InsertCaseStoresChangedOldColumns) {
  Procedure cases(m_store->MakeIterator(1, nullptr));
  while (cases->Next() != 0) {
    const double number = cases->GetNumericValue(0);
    for (int copy = 0; copy < 2; ++copy) {
      cases->SetColumnValue(0, number + 0.5 * copy);
      SetNew(*cases, copy);
      cases->InsertCase();
    }
  }
  cases.reset();
  EXPECT_THAT(Column(0), ElementsAre(1, 1.5, 2, 2.5, 3, 3.5));
  EXPECT_THAT(Column(Column()), ElementsAre(0, 1, 0, 1, 0, 1));
}

TEST_F(TempFileDataStoreProcedureTest, NextAndDestructorStoreUntouchedCases) {
  Procedure cases(m_store->MakeIterator(1, nullptr));
  for (int i = 0; i < 3; ++i) cases->Next();
  EXPECT_EQ(m_store->RowCount(), 2);
  cases.reset();
  EXPECT_EQ(m_store->RowCount(), 3);
  EXPECT_THAT(Column(0), ElementsAre(1, 2, 3));
  const double missing = QUAV_DataSource::SystemMissing();
  EXPECT_THAT(Column(Column()), ElementsAre(missing, missing, missing));
}

TEST_F(TempFileDataStoreProcedureTest, UntouchedCaseGetsTheNewColumnsOfTheLastStoredOne) {
  Procedure cases(m_store->MakeIterator(1, nullptr));
  cases->Next();
  SetNew(*cases, 7);
  cases->UpdateCase();
  cases->Next();
  SetNew(*cases, 8);
  while (cases->Next() != 0) continue;
  cases.reset();
  EXPECT_THAT(Column(Column()), ElementsAre(7, 7, 7));
}

TEST_F(TempFileDataStoreProcedureTest, StoresAnUpdatedCaseOnce) {
  Procedure cases(m_store->MakeIterator(1, nullptr));
  cases->Next();
  cases->UpdateCase();
  EXPECT_EQ(m_store->RowCount(), 1);
  cases->Next();
  EXPECT_EQ(m_store->RowCount(), 1);
  cases->UpdateCase();
  cases.reset();
  EXPECT_EQ(m_store->RowCount(), 2);
  EXPECT_THAT(Column(0), ElementsAre(1, 2));
}

TEST_F(TempFileDataStoreProcedureTest, TellReturnsTheNumberOfStoredCasesAndSeekFails) {
  const Procedure cases(m_store->MakeIterator(1, nullptr));
  EXPECT_EQ(cases->Tell(), 0);
  cases->Next();
  cases->UpdateCase();
  EXPECT_EQ(cases->Tell(), 1);
  EXPECT_EQ(cases->IsSeekOK(), 0);
  EXPECT_EQ(cases->Seek(0), 0);
}

TEST_F(TempFileDataStoreProcedureTest, DestructorClosesTheStoreAndRemovesItsParent) {
  Procedure cases(m_store->MakeIterator(1, nullptr));
  EXPECT_NE(cases->GetParent(), nullptr);
  EXPECT_FALSE(m_store->IsLoaded());
  cases.reset();
  EXPECT_TRUE(m_store->IsLoaded());
  EXPECT_EQ(m_store->GetParentSource(), nullptr);
}

TEST_F(TempFileDataStoreProcedureTest, StoreWithAParentMakesAProcedureIterator) {
  TempFileDataStore store(&m_parent);
  const QUAV_DataSource& source = store;
  Walk cases(source.MakeIterator(nullptr));
  EXPECT_NE(dynamic_cast<ProcedureDataStorage*>(cases.get()), nullptr);
  EXPECT_EQ(cases->IsSeekOK(), 0);
  while (cases->Next() != 0) continue;
  cases.reset();
  EXPECT_EQ(AllCells(store), AllCells(m_parent));
}

TEST_F(TempFileDataStoreProcedureTest, FillsTheCallersBuffer) {
  std::vector<OBS> cells(m_store->GetObsAreaSize());
  const Procedure cases(m_store->MakeIterator(1, cells.data()));
  cases->Next();
  EXPECT_EQ(CellNumber(cells[0]), 1.0);
}

TEST_F(TempFileDataStoreProcedureTest, InsertCaseFillsAStoreWithoutAParent) {
  TempFileDataStore store(nullptr);
  store.MakeVariable(0, nullptr).SetName("A");
  Procedure cases(store.MakeIterator(1, nullptr));
  EXPECT_EQ(cases->Next(), 0);
  cases->SetColumnValue(0, 4.0);
  cases->InsertCase();
  cases.reset();
  EXPECT_THAT(TempFileDataStoreTest::Column(store, 0), ElementsAre(4));
}

// Either every column is new, or none: one of the two parts of a case is empty.
TEST_F(TempFileDataStoreProcedureTest, AcceptsAnEmptyOldOrNewPart) {
  TempFileDataStore none(&m_parent);
  Procedure cases(none.MakeIterator(0, nullptr));
  while (cases->Next() != 0) cases->UpdateCase();
  cases.reset();
  EXPECT_EQ(AllCells(none), AllCells(m_parent));
  TempFileDataStore all(&m_parent);
  cases.reset(all.MakeIterator(2, nullptr));
  while (cases->Next() != 0) cases->UpdateCase();
  cases.reset();
  EXPECT_EQ(AllCells(all), AllCells(m_parent));
}

TEST_F(TempFileDataStoreProcedureTest, StoresLongTextsInANewColumn) {
  unsigned int column = 0;
  m_store->MakeVariable(100, &column).SetName("T");
  Procedure cases(m_store->MakeIterator(2, nullptr));
  while (cases->Next() != 0) {
    SetNew(*cases, -1);
    cases->SetColumnValue(static_cast<int>(column), std::string(100, 'q').c_str());
    cases->UpdateCase();
  }
  cases.reset();
  const Walk stored(m_store->MakeIterator(nullptr));
  for (int row = 0; row < 3; ++row) {
    stored->Next();
    EXPECT_EQ(std::string(stored->GetStringValue(static_cast<int>(column)), 100), std::string(100, 'q'));
    EXPECT_EQ(stored->GetNumericValue(0), row + 1.0);
  }
}

// ---- Assertions ----

TEST_F(TempFileDataStoreProcedureDeathTest, AssertsThatTheNewColumnsExist) {
  EXPECT_DEATH(m_store->MakeIterator(4, nullptr), "newColumns <= ColumnCount");
}

TEST_F(TempFileDataStoreProcedureDeathTest, AssertsThatTheCellsOfTheParentFit) {
  m_store->DeleteVariables(1, 1);
  EXPECT_DEATH(m_store->MakeIterator(1, nullptr), "parent->GetObsAreaSize\\(\\) <= GetObsAreaSize");
}

TEST_F(TempFileDataStoreDeathTest, AssertsThatTheCellsPerRowStayTheSame) {
  const auto store = Numbers(2);
  store->DeleteVariables(0, 0);
  EXPECT_DEATH(store->MakeIterator(nullptr), "cellsPerCase <= GetObsAreaSize");
  EXPECT_DEATH(store->MakeIterator(0, nullptr), "cellsPerCase == GetObsAreaSize");
}

// The index has rows that the file no longer has.
TEST_F(TempFileDataStoreDeathTest, AssertsThatTheFileHasTheRowsOfTheIndex) {
  const auto store = Numbers(10);
  store->Close();
  for (const char* directory : {"/0/x", "/1/x"})
    std::filesystem::resize_file(OpenFileIn(m_directories.Root() + directory), 0);
  const Walk cases(store->MakeIterator(nullptr));
  EXPECT_NE(cases->Seek(5), 0);
  EXPECT_DEATH(cases->Next(), "assertion failed: more");
}

}  // namespace
}  // namespace TempFileDataStore_test
