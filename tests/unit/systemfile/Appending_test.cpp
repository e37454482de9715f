// Appending to files that were opened, or written by the same source: where the rows go, what the file says about
// their number, and when an append is refused.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "datasrc/SystemFileDataSource.h"
#include "tests/support/AnotherUser.h"
#include "tests/support/EncryptedFile.h"
#include "tests/support/Reading.h"
#include "tests/support/RowName.h"
#include "tests/support/SpoolDirectories.h"

namespace Appending_test {
namespace {

constexpr std::size_t kHeaderCount = 80;

std::int32_t HeaderCount(const std::string& bytes) {
  std::int32_t count = 0;
  std::memcpy(&count, &bytes[kHeaderCount], sizeof(count));
  return count;
}

struct Level {
  const char* name;
  std::int32_t level;
};
constexpr Level kLevels[] = {{"Plain", 0}, {"Coded", 1}, {"Zlib", 2}};

// Numbers of one code each, so that eight of them share a group.
double ValueOf(int row) { return row % 100; }

std::vector<FileCase> FileRows(int count) {
  std::vector<FileCase> rows;
  for (int row = 0; row < count; ++row) rows.push_back({ValueOf(row)});
  return rows;
}

std::vector<std::vector<OBS>> Rows(int count) { return CellsOf(FileRows(count)); }

// A file that says it has `count` cases and has `rows`.
std::string FileOf(std::int32_t level, std::int32_t count, int rows, const std::string& records = "") {
  SystemFileBuilder file;
  file.Header({.magic = level == 2 ? "$FL3" : "$FL2", .compression = level, .cases = count});
  file.Number("A").Raw(records).End();
  if (level == 1) return file.CodedCases(FileRows(rows)).Bytes();
  if (level == 2) return file.ZlibCases(FileRows(rows), 100).Bytes();
  return file.Cases(FileRows(rows)).Bytes();
}

void Add(SystemFileDataSource& file, int first, int count) {
  for (int row = first; row < first + count; ++row) {
    const OBS cell = NumberCell(ValueOf(row));
    file.AddRow(&cell);
  }
}

void Append(const std::string& name, int first, int count) {
  SystemFileDataSource file(name, "", false);
  Add(file, first, count);
  file.Close();
}

std::vector<std::vector<OBS>> RowsIn(const std::string& name) {
  return AllCells(SystemFileDataSource(name, "", false));
}

// The parameter is the compression.
class Appending : public testing::TestWithParam<Level> {
 protected:
  std::int32_t level() const { return GetParam().level; }
};
INSTANTIATE_TEST_SUITE_P(Levels, Appending, testing::ValuesIn(kLevels), kRowName);

// ---- Counts ----

TEST_P(Appending, TwiceToAnUnknownCountKeepsAllRows) {
  for (const int old : {0, 3, 8}) {
    const TempFile onDisk(FileOf(level(), -1, old));
    SystemFileDataSource file(onDisk.Name(), "", false);
    Add(file, old, 2);
    file.Close();
    Add(file, old + 2, 2);
    file.Close();
    EXPECT_EQ(Rows(old + 4), RowsIn(onDisk.Name()));
    EXPECT_EQ(-1, HeaderCount(onDisk.Bytes()));
    EXPECT_EQ(Rows(old + 4), AllCells(file));
    // The number is known now.
    Add(file, old + 4, 1);
    file.Close();
    EXPECT_EQ(Rows(old + 5), RowsIn(onDisk.Name()));
  }
}

TEST_P(Appending, ToFewerCasesThanTheFileCountsDeliversNoRowTwice) {
  const TempFile onDisk(FileOf(level(), 5, 0));
  SystemFileDataSource file(onDisk.Name(), "", false);
  Add(file, 0, 1);
  file.Close();
  const std::unique_ptr<QUAV_InputCaseIterator> cases(file.MakeIterator(nullptr));
  for (const int row : {5, 4, 1}) {
    cases->Seek(row);
    EXPECT_FALSE(cases->Next()) << row;
  }
  cases->Seek(0);
  ASSERT_TRUE(cases->Next());
  EXPECT_EQ(Rows(1)[0], PresentCells(*cases));
  EXPECT_EQ(Rows(1), RowsIn(onDisk.Name()));
}

TEST_P(Appending, AgainToFewerCasesThanTheFileCountsKeepsAllRows) {
  const TempFile onDisk(FileOf(level(), 100, 3));
  SystemFileDataSource file(onDisk.Name(), "", false);
  for (int row = 3; row < 30; ++row) {
    Add(file, row, 1);
    file.Close();
  }
  EXPECT_EQ(Rows(30), AllCells(file));
  EXPECT_EQ(Rows(30), RowsIn(onDisk.Name()));
}

TEST_P(Appending, MakesAStoredCountUnknownWhenTheCallerSaysSo) {
  const TempFile onDisk(FileOf(level(), 3, 3));
  SystemFileDataSource file(onDisk.Name(), "", false);
  file.RowCount(-1);
  Add(file, 3, 1);
  file.Close();
  EXPECT_EQ(-1, HeaderCount(onDisk.Bytes()));
  Append(onDisk.Name(), 4, 1);
  EXPECT_EQ(Rows(5), RowsIn(onDisk.Name()));
}

TEST_P(Appending, StoresACountThatTheCallerDeclaredMeanwhile) {
  const TempFile onDisk(FileOf(level(), 3, 3));
  SystemFileDataSource file(onDisk.Name(), "", false);
  Add(file, 3, 1);
  file.RowCount(4);
  file.Close();
  EXPECT_EQ(4, HeaderCount(onDisk.Bytes()));
}

// Choice: the rows from the declared number on are replaced, none is left after the new ones.
TEST(CodedAppending, ToADeclaredCountThatIsTooLowLeavesNoRowAfterTheNewOnes) {
  const TempFile onDisk(FileOf(1, 50, 50));
  SystemFileDataSource file(onDisk.Name(), "", false);
  file.RowCount(3);
  Add(file, 3, 2);
  file.Close();
  EXPECT_EQ(Rows(5), RowsIn(onDisk.Name()));
}

// ---- Record 16 ----

TEST_P(Appending, StoresTheCountInARecord16OfOneUnit) {
  const std::string record = SystemFileBuilder().Extension(16, 8, 1, std::string("\3\0\0\0\0\0\0\0", 8)).Bytes();
  const std::string next = SystemFileBuilder().Extension(99, 1, 4, "next").Bytes();
  const TempFile onDisk(FileOf(level(), 3, 3, record + next));
  Append(onDisk.Name(), 3, 2);
  const std::string expected =
      SystemFileBuilder().Extension(16, 8, 1, std::string("\5\0\0\0\0\0\0\0", 8)).Bytes() + next;
  EXPECT_THAT(onDisk.Bytes(), testing::HasSubstr(expected));
  const SystemFileDataSource file(onDisk.Name(), "", false);
  EXPECT_EQ(5, file.RowCount());
  EXPECT_EQ(Rows(5), AllCells(file));
}

TEST_P(Appending, StoresTheCountInTheByteOrderOfRecord16) {
  const std::string one("\0\0\0\0\0\0\0\1", 8);
  const std::string record = SystemFileBuilder().Extension(16, 8, 2, one + std::string("\0\0\0\0\0\0\0\3", 8)).Bytes();
  const TempFile onDisk(FileOf(level(), -1, 3, record));
  Append(onDisk.Name(), 3, 2);
  EXPECT_THAT(onDisk.Bytes(), testing::HasSubstr(one + std::string("\0\0\0\0\0\0\0\5", 8)));
  EXPECT_EQ(5, SystemFileDataSource(onDisk.Name(), "", false).RowCount());
  EXPECT_EQ(Rows(5), RowsIn(onDisk.Name()));
}

// ---- Compression and password ----

TEST(AppendingToAnUnknownCompression, IsRefusedAndLeavesTheFile) {
  for (const std::int32_t level : {3, -1, 255}) {
    const TempFile onDisk(FileOf(level, 3, 3));
    const std::string before = onDisk.Bytes();
    SystemFileDataSource file(onDisk.Name(), "", false);
    EXPECT_EQ(1206, ErrorOf([&] { Add(file, 3, 1); })->Number()) << level;
    file.Close();
    EXPECT_EQ(before, onDisk.Bytes()) << level;
    EXPECT_EQ(1206, ErrorOf([&] { AllCells(file); })->Number()) << "the state is the one before";
  }
}

TEST_P(Appending, KeepsTheCompressionOfTheFileWhateverIsSet) {
  for (const int wanted : {0, 1, 2}) {
    const TempFile onDisk(FileOf(level(), 3, 3));
    SystemFileDataSource file(onDisk.Name(), "", false);
    file.SetCompressionLevel(wanted);
    EXPECT_EQ(wanted, file.GetCompressionLevel());
    EXPECT_EQ(Rows(3), AllCells(file));
    Add(file, 3, 2);
    file.SetCompression(wanted == 0);
    file.Close();
    EXPECT_EQ(Rows(5), AllCells(file));
    EXPECT_EQ(Rows(5), RowsIn(onDisk.Name()));
    EXPECT_EQ(level(), SystemFileDataSource(onDisk.Name(), "", false).GetCompressionLevel());
  }
}

TEST_P(Appending, PasswordSetOnAFileWithoutOneThrows1213AndKeepsTheFile) {
  const TempFile onDisk(FileOf(level(), 3, 3));
  const std::string before = onDisk.Bytes();
  SystemFileDataSource file(onDisk.Name(), "", false);
  file.SetPassword(ExtNameStr("secret"));
  EXPECT_TRUE(file.IsEncrypted());
  EXPECT_EQ(Rows(3), AllCells(file));
  EXPECT_EQ(1213, ErrorOf([&] { Add(file, 3, 2); })->Number());
  EXPECT_EQ(before, onDisk.Bytes());
  EXPECT_EQ(Rows(3), AllCells(file)) << "it can still be read";
  file.SetPassword(ExtNameStr(""));
  Add(file, 3, 2);
  file.Close();
  EXPECT_EQ(Rows(5), RowsIn(onDisk.Name()));
}

// ---- Files that someone else has changed ----

TEST_P(Appending, IsRefusedAfterTheAppendOfAnotherSource) {
  for (const int count : {-1, 3}) {
    const TempFile onDisk(FileOf(level(), count, 3));
    SystemFileDataSource stale(onDisk.Name(), "", false);
    // At level 1 the new row only fills up the last group: the file keeps its length.
    Append(onDisk.Name(), 3, 1);
    const std::string before = onDisk.Bytes();
    EXPECT_EQ(1209, ErrorOf([&] { Add(stale, 90, 1); })->Number());
    stale.Close();
    EXPECT_EQ(before, onDisk.Bytes());
    EXPECT_EQ(Rows(4), RowsIn(onDisk.Name()));
    const auto rows = AllCells(stale);
    EXPECT_THAT(rows.size(), testing::AnyOf(3, 4)) << "it can still be read";
    EXPECT_EQ(Rows(static_cast<int>(rows.size())), rows);
  }
}

TEST_P(Appending, IsRefusedAfterAnotherSourceChangedWhatThisOneWrote) {
  const TempFile onDisk("");
  SystemFileDataSource file;
  file.MakeVariable(0, nullptr).SetName("A");
  file.SetCompressionLevel(level());
  file.SetFileSpec(onDisk.Name().c_str());
  Add(file, 0, 3);
  file.Close();
  Append(onDisk.Name(), 3, 1);
  EXPECT_EQ(1209, ErrorOf([&] { Add(file, 90, 1); })->Number());
  // Reading does not make it fresh: its number of cases is the old one.
  AllCells(file);
  EXPECT_EQ(1209, ErrorOf([&] { Add(file, 90, 1); })->Number());
  EXPECT_EQ(Rows(4), RowsIn(onDisk.Name()));
}

TEST_P(Appending, IsRefusedForAnotherFileOfTheSameNameAndLength) {
  const TempFile onDisk(FileOf(level(), 3, 3));
  SystemFileDataSource file(onDisk.Name(), "", false);
  const std::string other = onDisk.Directory() + "/other";
  std::filesystem::copy_file(onDisk.Name(), other);
  std::filesystem::rename(other, onDisk.Name());
  const std::string before = onDisk.Bytes();
  EXPECT_EQ(1209, ErrorOf([&] { Add(file, 3, 1); })->Number());
  EXPECT_EQ(before, onDisk.Bytes());
  EXPECT_EQ(Rows(3), AllCells(file));
}

TEST_P(Appending, GoesOnAfterTheAppendsOfTheSameSource) {
  const TempFile onDisk(FileOf(level(), 3, 3));
  SystemFileDataSource file(onDisk.Name(), "", false);
  for (int row = 3; row < 20; ++row) {
    Add(file, row, 1);
    if (row % 3 == 0) {
      EXPECT_EQ(Rows(row + 1), AllCells(file));
    } else {
      file.Close();
    }
  }
  file.Close();
  EXPECT_EQ(Rows(20), RowsIn(onDisk.Name()));
}

TEST(EncryptedAppending, IsRefusedAfterTheAppendOfAnotherSource) {
  const SpoolDirectories spool(1);
  const CheapKeys cheap;
  for (const int level : {0, 1}) {
    const TempFile onDisk(EncryptedFile(FileOf(level, 3, 3), "secret"));
    SystemFileDataSource stale(onDisk.Name(), "secret", false);
    {
      SystemFileDataSource other(onDisk.Name(), "secret", false);
      Add(other, 3, 1);
      other.Close();
      Add(other, 4, 1);
      other.Close();
    }
    const std::string before = onDisk.Bytes();
    EXPECT_EQ(1209, ErrorOf([&] { Add(stale, 90, 1); })->Number());
    stale.Close();
    EXPECT_EQ(before, onDisk.Bytes());
    EXPECT_EQ(Rows(5), AllCells(SystemFileDataSource(onDisk.Name(), "secret", false)));
    EXPECT_EQ(Rows(3), AllCells(stale));
  }
}

// ---- Appends that cannot begin ----

TEST_P(Appending, IsRefusedWhenTheNameIsGoneAndMakesNoFile) {
  const TempFile onDisk(FileOf(level(), 3, 3));
  SystemFileDataSource file(onDisk.Name(), "", false);
  std::filesystem::remove(onDisk.Name());
  const auto error = ErrorOf([&] { Add(file, 3, 1); });
  ASSERT_TRUE(error);
  EXPECT_EQ(1201, error->Number());
  EXPECT_EQ(onDisk.Name(), error->File());
  EXPECT_FALSE(std::filesystem::exists(onDisk.Name()));
  EXPECT_EQ(Rows(3), AllCells(file));
}

using AppendingDeathTest = Appending;
INSTANTIATE_TEST_SUITE_P(Levels, AppendingDeathTest, testing::ValuesIn(kLevels), kRowName);

TEST_P(AppendingDeathTest, ToAFileThatCannotBeWrittenLeavesASourceThatCanBeRead) {
  const TempFile onDisk(FileOf(level(), 3, 3));
  GiveAway({onDisk.Directory(), onDisk.Name()});
  std::filesystem::permissions(onDisk.Name(), std::filesystem::perms::owner_read);
  const auto work = [&] {
    SystemFileDataSource file(onDisk.Name(), "", false);
    for (int i = 0; i < 2; ++i) {
      EXPECT_EQ(1201, ErrorOf([&] { Add(file, 3, 1); })->Number());
      EXPECT_EQ(Rows(3), AllCells(file));
    }
  };
  EXPECT_EXIT(WorkAsNobody(work), testing::ExitedWithCode(0), "");
}

// All rows after a part of a case would be read from the wrong place.
TEST(PlainAppending, IsRefusedAfterAPartOfACase) {
  const TempFile onDisk(FileOf(0, 3, 3) + "part");
  const std::string before = onDisk.Bytes();
  SystemFileDataSource file(onDisk.Name(), "", false);
  EXPECT_EQ(1205, ErrorOf([&] { Add(file, 3, 1); })->Number());
  EXPECT_EQ(before, onDisk.Bytes());
  const std::unique_ptr<QUAV_InputCaseIterator> cases(file.MakeIterator(nullptr));
  EXPECT_TRUE(cases->Next());
}

// ---- Iterators beside the append of another source ----

// How many rows the iterator still delivers, up to an end or an error. All of them must be those of the file.
int TakeRows(QUAV_InputCaseIterator& cases, int next) {
  for (;; ++next) {
    bool isThere = false;
    if (ErrorOf([&] { isThere = cases.Next() != 0; }) || !isThere) return next;
    EXPECT_EQ(Rows(next + 1).back(), PresentCells(cases)) << next;
  }
}

TEST_P(Appending, ByAnotherSourceGivesAnIteratorNoWrongCells) {
  for (int old = 1; old <= 9; ++old)
    for (int read = 0; read <= old; ++read)
      for (const int added : {1, 7, 20}) {
        SCOPED_TRACE(testing::Message() << old << " rows, " << read << " of them read, " << added << " added");
        const TempFile onDisk(FileOf(level(), old, old));
        const SystemFileDataSource file(onDisk.Name(), "", false);
        const std::unique_ptr<QUAV_InputCaseIterator> cases(file.MakeIterator(nullptr));
        for (int row = 0; row < read; ++row) ASSERT_TRUE(cases->Next());
        Append(onDisk.Name(), old, added);
        EXPECT_LE(old, TakeRows(*cases, read));
        // It has not put wrong positions into the index of the source.
        const auto rows = AllCells(file);
        ASSERT_LE(static_cast<std::size_t>(old), rows.size());
        EXPECT_EQ(Rows(static_cast<int>(rows.size())), rows);
        for (int row = static_cast<int>(rows.size()) - 1; row >= 0; --row) {
          cases->Seek(row);
          bool isThere = false;
          if (!ErrorOf([&] { isThere = cases->Next() != 0; }) && isThere) {
            ASSERT_EQ(Rows(row + 1).back(), PresentCells(*cases)) << row;
          } else {
            ASSERT_LE(old, row);
          }
        }
      }
}

}  // namespace
}  // namespace Appending_test
