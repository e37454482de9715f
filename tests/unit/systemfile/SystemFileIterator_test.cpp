#include "systemfile/SystemFileIterator.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "datasrc/Settings.h"
#include "systemfile/SystemFileExtensionRecord.h"
#include "tests/support/Reading.h"

namespace SystemFileIterator_test {
namespace {

using IteratorPointer = std::unique_ptr<QUAV_InputCaseIterator>;

FileCase Row(double a, const std::string& s, double b) { return {a, FileText(s, 20), b}; }

const std::vector<FileCase> kCases = {
    Row(1.0, "first text", 2.5),
    Row(kFileSystemMissing, "", -99.0),
    Row(151.0, "twenty bytes of text", 152.0),
    Row(1e-300, "x", -0.0),
    Row(0.0, "        eight blanks", 100.0),
    Row(-1.0, "second to last", 3.25),
    Row(7.0, "last", kFileSystemMissing),
};
const auto kRowsOfCases = static_cast<long long>(kCases.size());

struct Layout {
  std::endian order;
  std::int32_t compression;
};

std::string LayoutName(const testing::TestParamInfo<Layout>& row) {
  return std::string(row.param.order == std::endian::little ? "LittleEndian" : "BigEndian") +
         (row.param.compression == 0 ? "Plain" : "ByteCodes");
}

// The variables A, S of 20 bytes and B. The caller adds the cases.
SystemFileBuilder Dictionary(const Layout& layout, std::int32_t cases) {
  SystemFileBuilder file(layout.order);
  file.Header({.compression = layout.compression, .cases = cases}).Number("A").String("S", 20).Number("B").End();
  return file;
}

std::string FileOf(const Layout& layout, std::int32_t cases = -1) {
  SystemFileBuilder file = Dictionary(layout, cases);
  return (layout.compression == 0 ? file.Cases(kCases) : file.CodedCases(kCases)).Bytes();
}

// A source opened on a file. The object deletes the file.
struct Opened {
  TempFile file;
  SystemFileDataSource source;
  explicit Opened(const std::string& bytes) : file(bytes), source(file.Name(), "", false) {}
  IteratorPointer Iterator() const { return IteratorPointer(source.MakeIterator(nullptr)); }
};

// Expects the next case to be that of the row.
void ExpectNext(QUAV_InputCaseIterator& iterator, long long row) {
  ASSERT_TRUE(iterator.Next()) << "row " << row;
  EXPECT_EQ(CellsOf(kCases[static_cast<std::size_t>(row)]), PresentCells(iterator)) << "row " << row;
}

class SystemFileIteratorInEveryLayout : public testing::TestWithParam<Layout> {};
INSTANTIATE_TEST_SUITE_P(Layouts, SystemFileIteratorInEveryLayout,
                         testing::Values(Layout{std::endian::little, 0}, Layout{std::endian::big, 0},
                                         Layout{std::endian::little, 1}, Layout{std::endian::big, 1}),
                         LayoutName);

// ---- In sequence ----

TEST_P(SystemFileIteratorInEveryLayout, DeliversTheCasesInOrder) {
  const Opened opened(FileOf(GetParam()));
  EXPECT_EQ(CellsOf(kCases), AllCells(opened.source));
}

TEST_P(SystemFileIteratorInEveryLayout, SecondIteratorDeliversTheSameCases) {
  const Opened opened(FileOf(GetParam()));
  AllCells(opened.source);
  EXPECT_EQ(CellsOf(kCases), AllCells(opened.source));
}

TEST_P(SystemFileIteratorInEveryLayout, NextReturns0AgainAfterTheEnd) {
  const Opened opened(FileOf(GetParam()));
  const auto iterator = opened.Iterator();
  while (iterator->Next()) continue;
  EXPECT_FALSE(iterator->Next());
  EXPECT_FALSE(iterator->Next());
  EXPECT_EQ(kRowsOfCases, iterator->Tell());
}

TEST_P(SystemFileIteratorInEveryLayout, TellReturnsTheNextRow) {
  const Opened opened(FileOf(GetParam()));
  const auto iterator = opened.Iterator();
  EXPECT_EQ(0, iterator->Tell());
  iterator->Next();
  EXPECT_EQ(1, iterator->Tell());
  iterator->Seek(5);
  EXPECT_EQ(5, iterator->Tell());
  iterator->Next();
  EXPECT_EQ(6, iterator->Tell());
}

TEST_P(SystemFileIteratorInEveryLayout, FillsTheCallersCells) {
  const Opened opened(FileOf(GetParam()));
  std::vector<OBS> cells(5, OBS{42});
  const IteratorPointer iterator(opened.source.MakeIterator(cells.data()));
  EXPECT_EQ(std::vector<OBS>(5, OBS{42}), cells);
  iterator->Next();
  EXPECT_EQ(CellsOf(kCases[0]), cells);
  EXPECT_EQ(cells.data(), iterator->GetObsPointer(0));
}

TEST_P(SystemFileIteratorInEveryLayout, IsIndependentOfOtherIterators) {
  const Opened opened(FileOf(GetParam()));
  const auto first = opened.Iterator();
  ExpectNext(*first, 0);
  ExpectNext(*first, 1);
  const auto second = opened.Iterator();
  for (long long row = 0; row < 5; ++row) {
    ExpectNext(*second, row);
    ExpectNext(*first, row + 2);
  }
}

TEST_P(SystemFileIteratorInEveryLayout, ReadsWithAndWithoutReadAhead) {
  const int before = getasynchreading_();
  for (int setting : {0, 1}) {
    setasynchreading_(&setting);
    const Opened opened(FileOf(GetParam()));
    EXPECT_EQ(CellsOf(kCases), AllCells(opened.source)) << "setting " << setting;
  }
  int back = before;
  setasynchreading_(&back);
}

// ---- Seeking ----

TEST_P(SystemFileIteratorInEveryLayout, SeeksFromAnyRowToAnyRow) {
  const Opened opened(FileOf(GetParam()));
  EXPECT_EQ(1, opened.Iterator()->IsSeekOK());
  for (long long from = 0; from < kRowsOfCases; ++from) {
    for (long long to = 0; to < kRowsOfCases; ++to) {
      const auto iterator = opened.Iterator();
      EXPECT_EQ(1, iterator->Seek(from));
      ExpectNext(*iterator, from);
      iterator->Seek(to);
      ExpectNext(*iterator, to);
      if (to + 1 < kRowsOfCases) ExpectNext(*iterator, to + 1);
    }
  }
}

TEST_P(SystemFileIteratorInEveryLayout, SeeksBackFromTheEnd) {
  const Opened opened(FileOf(GetParam()));
  for (long long row = kRowsOfCases - 1; row >= 0; --row) {
    const auto iterator = opened.Iterator();
    while (iterator->Next()) continue;
    iterator->Seek(row);
    ExpectNext(*iterator, row);
  }
}

TEST_P(SystemFileIteratorInEveryLayout, SeeksBackFromPastTheEnd) {
  const Opened opened(FileOf(GetParam()));
  for (long long row = kRowsOfCases - 1; row >= 0; --row) {
    const auto iterator = opened.Iterator();
    iterator->Seek(1000);
    EXPECT_FALSE(iterator->Next());
    iterator->Seek(row);
    ExpectNext(*iterator, row);
  }
}

TEST_P(SystemFileIteratorInEveryLayout, SeeksBackRowByRowFromPastTheEnd) {
  for (long long pastTheEnd = 0; pastTheEnd <= 3; ++pastTheEnd) {
    const Opened opened(FileOf(GetParam(), static_cast<std::int32_t>(kRowsOfCases)));
    const auto iterator = opened.Iterator();
    while (iterator->Next()) continue;
    for (long long row = kRowsOfCases + pastTheEnd; row >= kRowsOfCases; --row) {
      iterator->Seek(row);
      EXPECT_FALSE(iterator->Next());
    }
    for (long long row = kRowsOfCases - 1; row >= 0; --row) {
      SCOPED_TRACE(pastTheEnd);
      iterator->Seek(row);
      ExpectNext(*iterator, row);
    }
    EXPECT_EQ(kRowsOfCases, opened.source.RowCount());
  }
}

TEST_P(SystemFileIteratorInEveryLayout, SeekTakesEffectAtTheNextCase) {
  const Opened opened(FileOf(GetParam()));
  const auto iterator = opened.Iterator();
  iterator->Seek(1000);
  iterator->Seek(3);
  ExpectNext(*iterator, 3);
}

TEST_P(SystemFileIteratorInEveryLayout, NegativeRowFindsNothingAndKeepsTheRowCount) {
  const Opened opened(FileOf(GetParam()));
  const auto iterator = opened.Iterator();
  for (const long long row : {-1LL, -2LL, std::numeric_limits<long long>::min()}) {
    iterator->Seek(row);
    EXPECT_FALSE(iterator->Next());
    EXPECT_EQ(row, iterator->Tell());
    EXPECT_EQ(-1, opened.source.RowCount());
  }
  iterator->Seek(0);
  ExpectNext(*iterator, 0);
}

TEST_P(SystemFileIteratorInEveryLayout, LargestRowsFindNothing) {
  // 40 bytes per case times this row, plus the offset of the first case, exceeds 64 bits.
  for (const long long row : {std::numeric_limits<long long>::max(), std::numeric_limits<long long>::max() - 1,
                              std::numeric_limits<long long>::max() / 40 + 1, 1LL << 62}) {
    const Opened opened(FileOf(GetParam()));
    const auto iterator = opened.Iterator();
    iterator->Seek(row);
    EXPECT_FALSE(iterator->Next()) << row;
    iterator->Seek(2);
    ExpectNext(*iterator, 2);
  }
}

// ---- The number of cases ----

TEST_P(SystemFileIteratorInEveryLayout, SetsTheRowCountAtTheEnd) {
  const Opened opened(FileOf(GetParam()));
  const auto iterator = opened.Iterator();
  for (long long row = 0; row < kRowsOfCases; ++row) ExpectNext(*iterator, row);
  EXPECT_EQ(-1, opened.source.RowCount());
  EXPECT_FALSE(iterator->Next());
  EXPECT_EQ(kRowsOfCases, opened.source.RowCount());
}

TEST_P(SystemFileIteratorInEveryLayout, CorrectsARowCountThatIsTooHigh) {
  const Opened opened(FileOf(GetParam(), 10));
  EXPECT_EQ(10, opened.source.RowCount());
  AllCells(opened.source);
  EXPECT_EQ(kRowsOfCases, opened.source.RowCount());
}

TEST_P(SystemFileIteratorInEveryLayout, KeepsARowCountThatIsTooLowAndDeliversAllCases) {
  const Opened opened(FileOf(GetParam(), 3));
  EXPECT_EQ(CellsOf(kCases), AllCells(opened.source));
  EXPECT_EQ(3, opened.source.RowCount());
}

TEST_P(SystemFileIteratorInEveryLayout, LowersTheRowCountToTheSoughtRow) {
  const Opened opened(FileOf(GetParam(), 10));
  const auto iterator = opened.Iterator();
  iterator->Seek(8);
  EXPECT_FALSE(iterator->Next());
  EXPECT_EQ(8, opened.source.RowCount());
}

TEST_P(SystemFileIteratorInEveryLayout, KeepsTheRowCountWhenTheSoughtRowIsHigher) {
  const Opened opened(FileOf(GetParam(), 10));
  const auto iterator = opened.Iterator();
  iterator->Seek(20);
  EXPECT_FALSE(iterator->Next());
  EXPECT_EQ(10, opened.source.RowCount());
}

TEST_P(SystemFileIteratorInEveryLayout, UnknownRowCountBecomesTheSoughtRow) {
  const Opened opened(FileOf(GetParam()));
  const auto iterator = opened.Iterator();
  iterator->Seek(20);
  EXPECT_FALSE(iterator->Next());
  EXPECT_EQ(20, opened.source.RowCount());
}

TEST_P(SystemFileIteratorInEveryLayout, EndsAtOnceWithoutCases) {
  const Opened opened(Dictionary(GetParam(), -1).Bytes());
  EXPECT_FALSE(opened.Iterator()->Next());
  EXPECT_EQ(0, opened.source.RowCount());
}

TEST_P(SystemFileIteratorInEveryLayout, NeverEndsWhenACaseHasNoCells) {
  const Opened opened(
      SystemFileBuilder(GetParam().order).Header({.compression = GetParam().compression, .cases = -1}).End().Bytes());
  const auto iterator = opened.Iterator();
  for (int i = 0; i < 5; ++i) EXPECT_TRUE(iterator->Next());
  EXPECT_EQ(0, iterator->Tell());
  EXPECT_EQ(0, opened.source.RowCount());
}

// ---- Truncated files ----

TEST_P(SystemFileIteratorInEveryLayout, TruncatedCaseThrows1205) {
  std::string bytes = FileOf(GetParam());
  bytes.resize(bytes.size() - 5);
  const Opened opened(bytes);
  const auto iterator = opened.Iterator();
  for (long long row = 0; row + 1 < kRowsOfCases; ++row) ExpectNext(*iterator, row);
  const auto error = ErrorOf([&] { iterator->Next(); });
  ASSERT_TRUE(error);
  EXPECT_EQ(1205, error->Number());
  EXPECT_EQ(opened.file.Name(), error->File());
  EXPECT_EQ(-1, opened.source.RowCount());
}

TEST_P(SystemFileIteratorInEveryLayout, ReadsWholeCasesAfterATruncatedOne) {
  for (const std::size_t cut : {1u, 5u, 12u}) {
    std::string bytes = FileOf(GetParam());
    bytes.resize(bytes.size() - cut);
    // In byte codes, the truncated group may also hold cells of the case before the last one.
    constexpr long long whole = 4;
    for (long long before = 0; before < whole; ++before) {
      const Opened opened(bytes);
      const auto iterator = opened.Iterator();
      for (long long row = 0; row < before; ++row) ExpectNext(*iterator, row);
      iterator->Seek(kRowsOfCases - 1);
      EXPECT_TRUE(ErrorOf([&] { iterator->Next(); }));
      for (long long row = 0; row < whole; ++row) {
        iterator->Seek((before + row) % whole);
        ExpectNext(*iterator, (before + row) % whole);
      }
      EXPECT_EQ(-1, opened.source.RowCount());
    }
  }
}

TEST(SystemFileIterator, PlainCaseCutAtAnyByteThrows1205) {
  const std::string whole = FileOf({std::endian::native, 0});
  for (std::size_t cut = 1; cut < 40; ++cut) {
    const Opened opened(whole.substr(0, whole.size() - cut));
    const auto iterator = opened.Iterator();
    for (long long row = 0; row + 1 < kRowsOfCases; ++row) ASSERT_TRUE(iterator->Next());
    const auto error = ErrorOf([&] { iterator->Next(); });
    ASSERT_TRUE(error) << cut;
    EXPECT_EQ(1205, error->Number()) << cut;
  }
}

TEST(SystemFileIterator, EndsCleanlyWhenAPlainFileEndsBetweenTwoCases) {
  const std::string whole = FileOf({std::endian::native, 0}, 7);
  const Opened opened(whole.substr(0, whole.size() - 40));
  EXPECT_EQ(6u, AllCells(opened.source).size());
  EXPECT_EQ(6, opened.source.RowCount());
}

// ---- Many cases: the sparse index has items ----

std::vector<FileCase> ManyCases(int count) {
  std::vector<FileCase> cases;
  for (int i = 0; i < count; ++i) cases.push_back(Row(i + 0.5, "text of row " + std::to_string(i), i % 200));
  return cases;
}

TEST_P(SystemFileIteratorInEveryLayout, SeeksFarInALongFile) {
  const auto cases = ManyCases(5000);
  SystemFileBuilder file = Dictionary(GetParam(), -1);
  const Opened opened((GetParam().compression == 0 ? file.Cases(cases) : file.CodedCases(cases)).Bytes());
  const auto iterator = opened.Iterator();
  for (const long long row : {4999, 0, 2500, 2499, 2501, 1, 4998, 4999, 1234, 1233, 3000}) {
    iterator->Seek(row);
    ASSERT_TRUE(iterator->Next());
    EXPECT_EQ(CellsOf(cases[static_cast<std::size_t>(row)]), PresentCells(*iterator)) << "row " << row;
  }
  EXPECT_EQ(CellsOf(cases), AllCells(opened.source));
}

TEST(SystemFileIterator, SeeksBackFromAnEndThatIsInTheIndex) {
  // A case takes more bytes than a step of the index. So every row has an item; the end has one too after it was read.
  FileCase values;
  SystemFileBuilder file;
  file.Header({.compression = 1});
  for (int column = 0; column < 520; ++column) {
    file.Number("V" + std::to_string(column));
    values.push_back(0.25);
  }
  std::vector<FileCase> cases(4, values);
  for (std::size_t row = 0; row < cases.size(); ++row) cases[row][0] = 0.5 + static_cast<double>(row);
  const Opened opened(file.End().CodedCases(cases).Bytes());
  ASSERT_EQ(4u, AllCells(opened.source).size());

  const auto iterator = opened.Iterator();
  ASSERT_TRUE(iterator->Next());
  iterator->Seek(4);
  EXPECT_FALSE(iterator->Next());
  iterator->Seek(3);
  ASSERT_TRUE(iterator->Next());
  EXPECT_EQ(3.5, CellNumber(*iterator->GetObsPointer(0)));
}

// ---- Very long strings ----

// Joins the first three columns to a string of 600 bytes, as the record of very long strings does.
class JoiningHandler : public SystemFileExtensionHandler {
 public:
  static constexpr int kSubtype = 78;  // no other test uses it

  JoiningHandler() { Register(kSubtype, this); }
  ~JoiningHandler() override { Register(kSubtype, nullptr); }
  void Write(SystemFileDataSource::SaveDS&, SystemFileExtensionRecord&) override {}
  void Read(SystemFileDataSource& source, SystemFileOptions& options, const SystemFileExtensionRecord&) override {
    options.layout = SystemFileLayout(source, {{0, 600}}, options.Order());
    source.DeleteVariables(1, 2);
    QUAV_Variable joined = source.GetVariable(0);
    joined.SetType(600);
    source.SetVariable(0, joined);
  }
};

TEST_P(SystemFileIteratorInEveryLayout, JoinsVeryLongStrings) {
  const JoiningHandler handler;
  SystemFileBuilder file(GetParam().order);
  file.Header({.compression = GetParam().compression});
  file.String("S", 255).String("S1", 255).String("S2", 96).Number("N").Extension(JoiningHandler::kSubtype, 1, 1, "x");
  file.End();
  std::vector<FileCase> inFile, expected;
  for (const char letter : {'a', 'b', 'c'}) {
    std::string text(600, letter);
    for (std::size_t i = 0; i < text.size(); i += 7) text[i] = static_cast<char>('0' + i % 10);
    inFile.push_back({text.substr(0, 255), text.substr(255, 255), FileText(text.substr(510), 96), letter + 0.5});
    expected.push_back({text, letter + 0.5});
  }
  const Opened opened((GetParam().compression == 0 ? file.Cases(inFile) : file.CodedCases(inFile)).Bytes());
  EXPECT_EQ(76u, opened.source.GetObsAreaSize());
  EXPECT_EQ(CellsOf(expected), AllCells(opened.source));
}

// ---- Places ----

SystemFileDataSource::Iterator& OfFile(const IteratorPointer& cases) {
  return dynamic_cast<SystemFileDataSource::Iterator&>(*cases);
}

TEST_P(SystemFileIteratorInEveryLayout, FindsPlacesWhereAnotherSourceBegins) {
  const std::string bytes = FileOf(GetParam());
  const Opened opened(bytes);
  const auto cells = AllCells(opened.source);
  for (const long stretches : {1L, 2L, 3L, 1000L}) {
    const CasePlaces places = OfFile(opened.Iterator()).FindPlaces(stretches);
    EXPECT_EQ(kRowsOfCases, places.rows);
    ASSERT_FALSE(places.some.empty());
    EXPECT_EQ(0, places.some.front().row);
    EXPECT_EQ(0, places.some.front().position);
    for (const CasePlace& place : places.some) {
      const Opened other(bytes);
      const IteratorPointer cases = other.Iterator();
      ASSERT_TRUE(OfFile(cases).TakePlace(place));
      cases->Seek(place.row);
      ASSERT_TRUE(cases->Next());
      EXPECT_EQ(cells[static_cast<std::size_t>(place.row)], PresentCells(*cases));
    }
  }
}

TEST_P(SystemFileIteratorInEveryLayout, TakesNoPlaceOutsideOfTheData) {
  const Opened opened(FileOf(GetParam()));
  const IteratorPointer cases = opened.Iterator();
  const long length = OfFile(cases).FindPlaces(1).length;
  EXPECT_FALSE(OfFile(cases).TakePlace({-1, 0}));
  EXPECT_FALSE(OfFile(cases).TakePlace({1, -1}));
  EXPECT_FALSE(OfFile(cases).TakePlace({0, 8}));
  EXPECT_FALSE(OfFile(cases).TakePlace({1, length + 1}));
  EXPECT_EQ(GetParam().compression != 0, OfFile(cases).TakePlace({kRowsOfCases, length - 1}));
}

// ---- A dictionary that lost columns ----

TEST_P(SystemFileIteratorInEveryLayout, DeliversTheCellsThatTheDictionaryStillHas) {
  SystemFileBuilder file(GetParam().order);
  file.Header({.compression = GetParam().compression}).Number("A").String("S", 20).Number("B").End();
  const std::vector<FileCase> cases{{1.0, FileText("one", 20), -1.5}, {2.0, FileText("two", 20), -2.5}};
  Opened opened((GetParam().compression == 0 ? file.Cases(cases) : file.CodedCases(cases)).Bytes());
  opened.source.DeleteVariables(1, 2);
  EXPECT_EQ(CellsOf(std::vector<FileCase>{{1.0}, {2.0}}), AllCells(opened.source));
}

}  // namespace
}  // namespace SystemFileIterator_test
