#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "datasrc/SystemFileDataSource.h"
#include "tests/support/Reading.h"
#include "tests/support/RowName.h"

namespace SystemFileWriting_test {
namespace {

constexpr std::size_t kHeaderCount = 80;

std::int32_t HeaderCount(const std::string& bytes) {
  std::int32_t count = 0;
  std::memcpy(&count, &bytes[kHeaderCount], sizeof(count));
  return count;
}

// Returns the number of cases in record 16.
std::int64_t RecordCount(const std::string& bytes) {
  const std::string head = SystemFileBuilder().I32(7).I32(16).I32(8).I32(2).Bytes();
  std::int64_t count = 0;
  std::memcpy(&count, &bytes[bytes.find(head) + head.size() + 8], sizeof(count));
  return count;
}

class SystemFileWriting : public testing::Test {
 protected:
  SystemFileWriting() { Prepare(m_file); }

  void Prepare(SystemFileDataSource& file) const {
    file.MakeVariable(0, nullptr).SetName("A");
    file.SetFileSpec(m_onDisk.Name().c_str());
  }

  static void Add(SystemFileDataSource& file, int rows) {
    for (int i = 0; i < rows; ++i) {
      const OBS row = NumberCell(i + 0.5);
      file.AddRow(&row);
    }
  }
  void Add(int rows) { Add(m_file, rows); }

  const TempFile m_onDisk{""};
  SystemFileDataSource m_file;
};

// ---- States ----

TEST_F(SystemFileWriting, CloseOfANewSourceWritesNothing) {
  m_file.Close();
  EXPECT_EQ("", m_onDisk.Bytes());
}

TEST_F(SystemFileWriting, SecondCloseDoesNothing) {
  Add(2);
  m_file.Close();
  const std::string bytes = m_onDisk.Bytes();
  m_file.Close();
  EXPECT_EQ(bytes, m_onDisk.Bytes());
}

TEST_F(SystemFileWriting, FirstRowCommitsTheDictionary) {
  Add(1);
  m_file.Close();
  EXPECT_EQ(1u, AllCells(SystemFileDataSource(m_onDisk.Name(), "", false)).size());
}

TEST_F(SystemFileWriting, SecondCommitThrows1209) {
  m_file.CommitDictionary();
  EXPECT_EQ(1209, ErrorOf([&] { m_file.CommitDictionary(); })->Number());
  m_file.Close();
  EXPECT_EQ(1209, ErrorOf([&] { m_file.CommitDictionary(); })->Number());
}

TEST_F(SystemFileWriting, AddRowThrows1209WhileAnIteratorExists) {
  Add(1);
  m_file.Close();
  std::unique_ptr<QUAV_InputCaseIterator> cases(m_file.MakeIterator(nullptr));
  EXPECT_EQ(1209, ErrorOf([&] { Add(1); })->Number());
  cases.reset();
  Add(1);
  m_file.Close();
  EXPECT_EQ(2u, AllCells(SystemFileDataSource(m_onDisk.Name(), "", false)).size());
}

TEST_F(SystemFileWriting, DestructorFinishesTheFile) {
  {
    SystemFileDataSource file;
    Prepare(file);
    Add(file, 3);
  }
  EXPECT_EQ(3, HeaderCount(m_onDisk.Bytes()));
}

TEST_F(SystemFileWriting, MakeIteratorFinishesTheFile) {
  Add(3);
  EXPECT_EQ(3u, AllCells(m_file).size());
  EXPECT_EQ(3, HeaderCount(m_onDisk.Bytes()));
}

TEST_F(SystemFileWriting, CommitThrows1201WhenTheFileCannotBeCreated) {
  m_file.SetFileSpec((m_onDisk.Directory() + "/no such folder/file").c_str());
  const auto error = ErrorOf([&] { m_file.CommitDictionary(); });
  ASSERT_TRUE(error);
  EXPECT_EQ(1201, error->Number());
}

TEST_F(SystemFileWriting, CommitCanBeRepeatedAfterAFailure) {
  m_file.MakeVariable(0, nullptr).SetName("a");
  const auto error = ErrorOf([&] { m_file.CommitDictionary(); });
  ASSERT_TRUE(error);
  EXPECT_EQ(1505, error->Number());
  EXPECT_EQ("", m_onDisk.Bytes()) << "names that differ only by case: nothing is written";
  m_file.GetVariable(1).SetName("b");
  const std::vector<OBS> row{NumberCell(1), NumberCell(2)};
  m_file.AddRow(row.data());
  m_file.Close();
  EXPECT_EQ(row, AllCells(SystemFileDataSource(m_onDisk.Name(), "", false)).at(0));
}

// ---- Files that cannot be appended to ----

TEST_F(SystemFileWriting, AppendToAReversedFileThrows1210) {
  const std::string bytes =
      SystemFileBuilder(kReversedOrder).Header({.cases = 1}).Number("A").End().Case({1.0}).Bytes();
  m_onDisk.SetBytes(bytes);
  SystemFileDataSource file(m_onDisk.Name(), "", false);
  EXPECT_EQ(1210, ErrorOf([&] { Add(file, 1); })->Number());
  EXPECT_EQ(1u, AllCells(file).size());
  EXPECT_EQ(bytes, m_onDisk.Bytes());
}

// ---- Compression levels ----

TEST_F(SystemFileWriting, PasswordLowersZlibToByteCodesInEitherCallOrder) {
  m_file.SetCompressionLevel(2);
  m_file.SetPassword(ExtNameStr("secret"));
  EXPECT_EQ(1, m_file.GetCompressionLevel());
  SystemFileDataSource other;
  other.SetPassword(ExtNameStr("secret"));
  other.SetCompressionLevel(2);
  EXPECT_EQ(1, other.GetCompressionLevel());
}

TEST_F(SystemFileWriting, UnknownLevelMeansByteCodes) {
  m_file.SetCompressionLevel(7);
  EXPECT_EQ(1, m_file.GetCompressionLevel());
}

// ---- The count ----

TEST_F(SystemFileWriting, WritesCount0ForAFileWithoutRows) {
  m_file.CommitDictionary();
  EXPECT_EQ(-1, m_file.RowCount());
  m_file.Close();
  EXPECT_EQ(0, HeaderCount(m_onDisk.Bytes()));
  EXPECT_EQ(0, RecordCount(m_onDisk.Bytes()));
}

TEST_F(SystemFileWriting, DoesNotPatchTheHeaderWhenTheDeclaredCountIsMet) {
  m_file.RowCount(2);
  Add(2);
  m_file.Close();
  EXPECT_EQ(-1, HeaderCount(m_onDisk.Bytes()));
  EXPECT_EQ(2, RecordCount(m_onDisk.Bytes()));
  EXPECT_EQ(2, SystemFileDataSource(m_onDisk.Name(), "", false).RowCount());
}

TEST_F(SystemFileWriting, WritesTheTrueCountWhenTheDeclaredOneIsNotMet) {
  m_file.RowCount(5);
  Add(2);
  m_file.Close();
  EXPECT_EQ(2, HeaderCount(m_onDisk.Bytes()));
  EXPECT_EQ(2, RecordCount(m_onDisk.Bytes()));
}

TEST_F(SystemFileWriting, UpdatesTheCountAfterEachAppend) {
  Add(2);
  m_file.Close();
  Add(3);
  m_file.Close();
  EXPECT_EQ(5, HeaderCount(m_onDisk.Bytes()));
  EXPECT_EQ(5, RecordCount(m_onDisk.Bytes()));
  EXPECT_EQ(5, m_file.RowCount());
}

struct Kind {
  const char* name;
  std::int32_t compression;
};
class SystemFileWritingAppend : public testing::TestWithParam<Kind> {};
INSTANTIATE_TEST_SUITE_P(Kinds, SystemFileWritingAppend, testing::Values(Kind{"Plain", 0}, Kind{"Coded", 1}), kRowName);

SystemFileBuilder FileOf(std::int32_t compression, std::int32_t cases) {
  SystemFileBuilder file;
  file.Header({.compression = compression, .cases = cases}).Number("A").End();
  const std::vector<FileCase> rows{{1.0}, {2.5}, {3.0}};
  return compression == 0 ? file.Cases(rows) : file.CodedCases(rows);
}

TEST_P(SystemFileWritingAppend, AddsRowsAfterTheLastCaseAndKeepsAnUnknownCount) {
  const TempFile onDisk(FileOf(GetParam().compression, -1).Bytes());
  SystemFileDataSource file(onDisk.Name(), "", false);
  const OBS row = NumberCell(4.5);
  file.AddRow(&row);
  file.Close();
  EXPECT_EQ(-1, HeaderCount(onDisk.Bytes()));
  const auto cells = AllCells(SystemFileDataSource(onDisk.Name(), "", false));
  ASSERT_EQ(4u, cells.size());
  EXPECT_EQ(row, cells[3][0]);
}

TEST_P(SystemFileWritingAppend, PatchesOnlyTheHeaderWithoutRecord16) {
  const TempFile onDisk(FileOf(GetParam().compression, 3).Bytes());
  const std::string before = onDisk.Bytes();
  SystemFileDataSource file(onDisk.Name(), "", false);
  const OBS row = NumberCell(4.5);
  file.AddRow(&row);
  file.Close();
  const std::string after = onDisk.Bytes();
  EXPECT_EQ(4, HeaderCount(after));
  EXPECT_EQ(before.substr(0, kHeaderCount), after.substr(0, kHeaderCount));
  const std::size_t row0 = FileOf(GetParam().compression, 3).Size() - (GetParam().compression == 0 ? 24 : 16);
  EXPECT_EQ(before.substr(kHeaderCount + 4, row0 - kHeaderCount - 4),
            after.substr(kHeaderCount + 4, row0 - kHeaderCount - 4));
}

TEST_P(SystemFileWritingAppend, AddsRowsToASourceThatWasRead) {
  const TempFile onDisk(FileOf(GetParam().compression, 3).Bytes());
  SystemFileDataSource file(onDisk.Name(), "", false);
  EXPECT_EQ(3u, AllCells(file).size());
  const OBS row = NumberCell(4.5);
  file.AddRow(&row);
  const auto cells = AllCells(file);
  ASSERT_EQ(4u, cells.size());
  EXPECT_EQ(row, cells[3][0]);
}

TEST_P(SystemFileWritingAppend, CloseWithoutRowsKeepsTheFile) {
  const TempFile onDisk(FileOf(GetParam().compression, 3).Bytes());
  const std::string before = onDisk.Bytes();
  SystemFileDataSource(onDisk.Name(), "", false).Close();
  EXPECT_EQ(before, onDisk.Bytes());
}

TEST(SystemFileWritingAppend, ContinuesTheLastGroupOfCodes) {
  const TempFile onDisk(FileOf(1, 3).Bytes());
  const std::size_t size = onDisk.Bytes().size();
  SystemFileDataSource file(onDisk.Name(), "", false);
  for (const double number : {4.0, 5.0, 6.0, 7.0, 8.0}) {
    const OBS row = NumberCell(number);
    file.AddRow(&row);
  }
  file.Close();
  EXPECT_EQ(size, onDisk.Bytes().size()) << "eight codes fit in one group";
  EXPECT_EQ(8u, AllCells(SystemFileDataSource(onDisk.Name(), "", false)).size());
}

// ---- The written dictionary ----

TEST_F(SystemFileWriting, StoresTheEncodingInRecord3) {
  m_file.CharacterEncoding("windows-1252");
  m_file.CommitDictionary();
  m_file.Close();
  EXPECT_EQ("windows-1252", SystemFileDataSource(m_onDisk.Name(), "", false).CharacterEncoding());
}

TEST_F(SystemFileWriting, CommitKeepsTheCallersDictionary) {
  m_file.MakeVariable(1000, nullptr).SetName("A_very_long_string");
  m_file.CommitDictionary();
  EXPECT_EQ(2u, m_file.ColumnCount());
  EXPECT_STREQ("A_very_long_string", m_file.GetVariable(1).GetName());
  EXPECT_EQ(1000, m_file.GetVariable(1).GetType());
}

TEST(SystemFileWritingDeathTest, CommitWithoutVariablesAsserts) {
  const TempFile onDisk("");
  SystemFileDataSource file;
  file.SetFileSpec(onDisk.Name().c_str());
  EXPECT_DEATH(file.CommitDictionary(), "assertion failed: m_nUnits && m_unitSize");
}

TEST_F(SystemFileWriting, WritesStoredRecordsInSubtypeOrder) {
  m_file.SetExtension(150, 1, 3, "abc");
  m_file.SetExtension(12, 1, 3, "def");
  m_file.CommitDictionary();
  m_file.Close();
  const std::string bytes = m_onDisk.Bytes();
  const std::size_t first = bytes.find(SystemFileBuilder().Extension(12, 1, 3, "def").Bytes());
  const std::size_t second = bytes.find(SystemFileBuilder().Extension(150, 1, 3, "abc").Bytes());
  ASSERT_NE(std::string::npos, first);
  ASSERT_NE(std::string::npos, second);
  EXPECT_LT(first, second);
}

}  // namespace
}  // namespace SystemFileWriting_test
