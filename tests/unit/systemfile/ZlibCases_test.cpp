// A system file source reads and writes cases in zlib blocks. The blocks that the tests read are built by hand.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "datasrc/Settings.h"
#include "tests/support/Reading.h"

namespace ZlibCases_test {
namespace {

std::vector<FileCase> SomeCases(int count) {
  std::vector<FileCase> cases;
  for (int row = 0; row < count; ++row)
    cases.push_back({row % 100 + 0.0, row + 0.5, FileText(row % 3 == 0 ? "" : "text of a case", 14)});
  return cases;
}

SystemFileBuilder Dictionary(const FileHeader& header, std::endian order = std::endian::native) {
  SystemFileBuilder file(order);
  file.Header(header).Number("A").Number("B").String("S", 14).End();
  return file;
}

// A source opened on a file. The object deletes the file.
struct Opened {
  TempFile file;
  SystemFileDataSource source;
  explicit Opened(const std::string& bytes) : file(bytes), source(file.Name(), "", false) {}
};

// ---- Reading ----

class ZlibCasesInEitherOrder : public testing::TestWithParam<std::endian> {};
INSTANTIATE_TEST_SUITE_P(Orders, ZlibCasesInEitherOrder, testing::Values(std::endian::little, std::endian::big),
                         OrderName);

TEST_P(ZlibCasesInEitherOrder, ReadsBlocksOfAnySize) {
  const auto cases = SomeCases(50);
  for (const std::size_t blockSize : {7UL, 64UL, 100'000UL}) {
    const Opened opened(
        Dictionary({.magic = "$FL3", .compression = 2, .cases = 50}, GetParam()).ZlibCases(cases, blockSize).Bytes());
    EXPECT_EQ(2, opened.source.GetCompressionLevel());
    EXPECT_EQ(CellsOf(cases), AllCells(opened.source)) << blockSize;
  }
}

TEST_P(ZlibCasesInEitherOrder, HeaderCompressionOverridesTheMagic) {
  const auto cases = SomeCases(50);
  const Opened opened(
      Dictionary({.magic = "$FL2", .compression = 2, .cases = 50}, GetParam()).ZlibCases(cases, 100).Bytes());
  EXPECT_EQ(2, opened.source.GetCompressionLevel());
  EXPECT_EQ(CellsOf(cases), AllCells(opened.source));
}

TEST_P(ZlibCasesInEitherOrder, FileWithoutATableIsReadUpToItsCount) {
  const auto cases = SomeCases(50);
  const auto bytes = [&](int count) {
    return Dictionary({.magic = "$FL3", .compression = 2, .cases = count}, GetParam())
        .ZlibCases(cases, 100, false)
        .Bytes();
  };
  EXPECT_EQ(CellsOf(cases), AllCells(Opened(bytes(50)).source));
  EXPECT_EQ(CellsOf(SomeCases(40)), AllCells(Opened(bytes(40)).source)) << "an append that was never finished";
}

TEST_P(ZlibCasesInEitherOrder, FileWithoutATableAndWithoutATrueCountEndsWith1205) {
  const auto cases = SomeCases(50);
  for (const int count : {-1, 51}) {
    const Opened opened(Dictionary({.magic = "$FL3", .compression = 2, .cases = count}, GetParam())
                            .ZlibCases(cases, 100, false)
                            .Bytes());
    const std::unique_ptr<QUAV_InputCaseIterator> iterator(opened.source.MakeIterator(nullptr));
    for (const FileCase& one : cases) {
      ASSERT_TRUE(iterator->Next());
      EXPECT_EQ(CellsOf(one), PresentCells(*iterator));
    }
    const auto error = ErrorOf([&] { iterator->Next(); });
    ASSERT_TRUE(error);
    EXPECT_EQ(1205, error->Number());
    EXPECT_EQ(opened.file.Name(), error->File());
  }
}

TEST(ZlibCases, CountThatIsTooHighIsNoError) {
  const Opened opened(
      Dictionary({.magic = "$FL3", .compression = 2, .cases = 10}).ZlibCases(SomeCases(7), 100).Bytes());
  EXPECT_EQ(7u, AllCells(opened.source).size());
  EXPECT_EQ(7, opened.source.RowCount());
}

TEST(ZlibCases, ReadsAFileWithoutCases) {
  const Opened opened(Dictionary({.magic = "$FL3", .compression = 2, .cases = 0}).ZlibCases({}, 100).Bytes());
  EXPECT_TRUE(AllCells(opened.source).empty());
}

TEST(ZlibCases, FileThatEndsAfterItsDictionaryThrows1205) {
  const Opened opened(Dictionary({.magic = "$FL3", .compression = 2, .cases = -1}).Bytes());
  EXPECT_EQ(1205, ErrorOf([&] { AllCells(opened.source); })->Number());
}

TEST(ZlibCases, StreamThatEndsInsideACaseThrows1205) {
  const Opened opened(Dictionary({.magic = "$FL3", .compression = 2, .cases = 2})
                          .ZlibCases({SomeCases(1)[0], {1.0, 2.0}}, 100)
                          .Bytes());
  EXPECT_EQ(1205, ErrorOf([&] { AllCells(opened.source); })->Number());
}

TEST(ZlibCases, SeeksInAnyOrderWithTwoIterators) {
  const auto cases = SomeCases(2'000);
  const auto cells = CellsOf(cases);
  const Opened opened(Dictionary({.magic = "$FL3", .compression = 2, .cases = 2'000}).ZlibCases(cases, 1'000).Bytes());
  const std::unique_ptr<QUAV_InputCaseIterator> one(opened.source.MakeIterator(nullptr));
  const std::unique_ptr<QUAV_InputCaseIterator> other(opened.source.MakeIterator(nullptr));
  std::mt19937 random(5);
  for (int i = 0; i < 300; ++i) {
    const auto row = static_cast<int>(random() % cells.size());
    one->Seek(row);
    ASSERT_TRUE(one->Next());
    ASSERT_EQ(cells[static_cast<std::size_t>(row)], PresentCells(*one)) << row;
    ASSERT_TRUE(other->Next());
    ASSERT_EQ(cells[static_cast<std::size_t>(i)], PresentCells(*other)) << i;
  }
}

TEST(ZlibCases, SeeksBackAfterAnError) {
  const auto cases = SomeCases(50);
  std::string bytes = Dictionary({.magic = "$FL3", .compression = 2, .cases = 50}).ZlibCases(cases, 200).Bytes();
  const std::size_t second = bytes.find("ZBLK", bytes.find("ZBLK") + 1);
  bytes[second + 40] = static_cast<char>(bytes[second + 40] ^ 1);
  const Opened opened(bytes);
  const std::unique_ptr<QUAV_InputCaseIterator> iterator(opened.source.MakeIterator(nullptr));
  EXPECT_EQ(1205, ErrorOf([&] {
                    while (iterator->Next() != 0) {
                    }
                  })->Number());
  iterator->Seek(0);
  ASSERT_TRUE(iterator->Next());
  EXPECT_EQ(CellsOf(cases[0]), PresentCells(*iterator));
}

TEST(ZlibCases, ReadsTheSameWithoutReadAhead) {
  const auto cases = SomeCases(1'000);
  const Opened opened(Dictionary({.magic = "$FL3", .compression = 2, .cases = 1'000}).ZlibCases(cases, 1'000).Bytes());
  int off = 0;
  int on = 1;
  setasynchreading_(&off);
  const auto alone = AllCells(opened.source);
  setasynchreading_(&on);
  EXPECT_EQ(CellsOf(cases), alone);
  EXPECT_EQ(alone, AllCells(opened.source));
}

// ---- Writing ----

class ZlibCasesWriting : public testing::Test {
 protected:
  ZlibCasesWriting() {
    m_file.MakeVariable(0, nullptr).SetName("A");
    m_file.SetFileSpec(m_onDisk.Name().c_str());
    m_file.SetCompressionLevel(2);
  }
  static void Add(SystemFileDataSource& file, int first, int count) {
    for (int row = first; row < first + count; ++row) {
      const OBS cell = NumberCell(row + 0.5);
      file.AddRow(&cell);
    }
  }
  void ExpectRows(int count) const {
    const SystemFileDataSource file(m_onDisk.Name(), "", false);
    EXPECT_EQ(count, file.RowCount());
    const auto cells = AllCells(file);
    ASSERT_EQ(static_cast<std::size_t>(count), cells.size());
    for (int row = 0; row < count; ++row) ASSERT_EQ(NumberCell(row + 0.5), cells[static_cast<std::size_t>(row)][0]);
  }

  const TempFile m_onDisk{""};
  SystemFileDataSource m_file;
};

TEST_F(ZlibCasesWriting, SetsMagicAndCompressionInTheHeader) {
  Add(m_file, 0, 3);
  m_file.Close();
  EXPECT_EQ("$FL3", m_onDisk.Bytes().substr(0, 4));
  EXPECT_EQ(SystemFileBuilder().I32(2).Bytes(), m_onDisk.Bytes().substr(72, 4));
  EXPECT_EQ(2, SystemFileDataSource(m_onDisk.Name(), "", false).GetCompressionLevel());
  ExpectRows(3);
}

TEST_F(ZlibCasesWriting, WritesAFileWithoutRowsAndAppendsToIt) {
  m_file.CommitDictionary();
  m_file.Close();
  ExpectRows(0);
  SystemFileDataSource file(m_onDisk.Name(), "", false);
  Add(file, 0, 2);
  file.Close();
  ExpectRows(2);
}

TEST_F(ZlibCasesWriting, RoundTripsManyBlocks) {
  Add(m_file, 0, 60'000);
  m_file.Close();
  ExpectRows(60'000);
}

TEST_F(ZlibCasesWriting, WritingSourceReadsItsRows) {
  Add(m_file, 0, 5);
  EXPECT_EQ(5u, AllCells(m_file).size());
  Add(m_file, 5, 5);
  EXPECT_EQ(10u, AllCells(m_file).size());
  ExpectRows(10);
}

TEST_F(ZlibCasesWriting, AppendsRepeatedly) {
  Add(m_file, 0, 3);
  m_file.Close();
  int rows = 3;
  for (const int count : {1, 8, 20'000, 7, 30'000, 1}) {
    SystemFileDataSource file(m_onDisk.Name(), "", false);
    Add(file, rows, count);
    file.Close();
    ExpectRows(rows += count);
  }
}

TEST_F(ZlibCasesWriting, AppendAfterADamagedBlockThrows1205) {
  Add(m_file, 0, 100);
  m_file.Close();
  std::string bytes = m_onDisk.Bytes();
  const std::size_t place = bytes.find("ZBLK") + 40;
  bytes[place] = static_cast<char>(bytes[place] ^ 1);
  m_onDisk.SetBytes(bytes);
  SystemFileDataSource file(m_onDisk.Name(), "", false);
  EXPECT_EQ(1205, ErrorOf([&] { Add(file, 100, 1); })->Number());
  EXPECT_EQ(bytes, m_onDisk.Bytes());
}

}  // namespace
}  // namespace ZlibCases_test
