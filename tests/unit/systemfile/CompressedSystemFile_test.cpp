#include "systemfile/CompressedSystemFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "storage/sparsefileindex.h"
#include "systemfile/SystemFileException.h"
#include "systemfile/SystemFileOptions.h"
#include "tests/support/Reading.h"

namespace CompressedSystemFile_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

std::string Group(const std::vector<int>& codes, const FileCase& literals = {},
                  std::endian order = std::endian::native) {
  SystemFileBuilder group(order);
  for (const int code : codes) group.Raw(std::string(1, static_cast<char>(code)));
  return group.Case(literals).Bytes();
}

OBS Number(double number) { return CellsOf(FileValue(number))[0]; }
OBS TextCell(const char* text) { return CellsOf(FileValue(text))[0]; }

// A CompressedSystemFile over a stream in memory.
struct Coded {
  SystemFileOptions options;
  QUAV_SparseFileIndex index{1};
  FaultyStream stream;
  std::optional<CompressedSystemFile> file;

  explicit Coded(int cellsPerCase, const std::string& bytes, long row0 = 0) : stream(bytes) {
    options.layout = SystemFileLayout(cellsPerCase);
    file.emplace(options, stream, index, row0);
  }

  // Returns the cells of the next case, or no cells at the end.
  std::vector<OBS> Next(const bool* numericMap = nullptr) {
    std::vector<OBS> cells(static_cast<std::size_t>(options.layout.NominalCaseSize()));
    const int count = file->Read(cells.data(), numericMap);
    EXPECT_TRUE(count == 0 || count == options.layout.NominalCaseSize()) << count;
    cells.resize(static_cast<std::size_t>(count));
    return cells;
  }

  std::optional<SystemFileException> Fault() {
    try {
      Next();
    } catch (const SystemFileException& fault) {
      return fault;
    }
    return std::nullopt;
  }

  void Write(const FileCase& values) { file->Write(CellsOf(values).data()); }

  // Returns the position of a row. Uses its own file object.
  static long PositionOf(int cellsPerCase, const std::string& bytes, long long row, long row0 = 0) {
    Coded coded(cellsPerCase, bytes, row0);
    coded.file->Seek(row);
    return coded.file->FilePosition();
  }
};

// ---- Reading ----

TEST(CompressedSystemFile, ReadsEveryCode) {
  std::string bytes;
  for (int code = 1; code <= 256; code += 8) {
    std::vector<int> codes;
    for (int i = code; i < code + 8; ++i) codes.push_back(i == 252 || i == 253 || i > 255 ? 100 : i);
    bytes += Group(codes);
  }
  Coded coded(1, bytes);
  for (int code = 1; code <= 251; ++code) EXPECT_THAT(coded.Next(), ElementsAre(Number(code - 100))) << code;
  coded.Next();
  coded.Next();
  EXPECT_THAT(coded.Next(), ElementsAre(TextCell("        ")));
  EXPECT_THAT(coded.Next(), ElementsAre(OBS{0xFFEFFFFFFFFFFFFF}));
}

TEST(CompressedSystemFile, SkipsCode0AfterTheLastCase) {
  Coded coded(1, Group({100, 253, 0, 0, 0, 0, 0, 0}, {"literal!"}));
  EXPECT_THAT(coded.Next(), ElementsAre(Number(0)));
  EXPECT_THAT(coded.Next(), ElementsAre(TextCell("literal!")));
  EXPECT_THAT(coded.Next(), ElementsAre());
}

TEST(CompressedSystemFile, SkipsCode0InsideACase) {
  Coded coded(3, Group({0, 101, 0, 0, 253, 0, 0, 0}, {0.5}) + Group({0, 0, 0, 0, 0, 0, 0, 0}) +
                     Group({0, 0, 0, 0, 0, 0, 0, 102}));
  EXPECT_THAT(coded.Next(), ElementsAre(Number(1), Number(0.5), Number(2)));
  EXPECT_THAT(coded.Next(), ElementsAre());
}

TEST(CompressedSystemFile, Code252EndsAGroup) {
  Coded coded(1, Group({101, 253, 252, 253, 253, 7, 7, 7}, {0.5}) + Group({102, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_THAT(coded.Next(), ElementsAre(Number(1)));
  EXPECT_THAT(coded.Next(), ElementsAre(Number(0.5)));
  EXPECT_THAT(coded.Next(), ElementsAre(Number(2)));
  EXPECT_THAT(coded.Next(), ElementsAre());
}

TEST(CompressedSystemFile, Code252EndsAGroupInsideACase) {
  Coded coded(3, Group({101, 252, 1, 1, 1, 1, 1, 1}) + Group({252, 253, 253, 1, 1, 1, 1, 1}) +
                     Group({253, 103, 252, 1, 1, 1, 1, 1}, {"text"}));
  EXPECT_THAT(coded.Next(), ElementsAre(Number(1), TextCell("text"), Number(3)));
  EXPECT_THAT(coded.Next(), ElementsAre());
}

TEST(CompressedSystemFile, ReadsCasesAcrossGroupBorders) {
  Coded coded(
      3, Group({101, 102, 103, 104, 253, 106, 107, 253}, {5.5, 8.5}) + Group({253, 0, 0, 0, 0, 0, 0, 0}, {"after"}));
  EXPECT_THAT(coded.Next(), ElementsAre(Number(1), Number(2), Number(3)));
  EXPECT_THAT(coded.Next(), ElementsAre(Number(4), Number(5.5), Number(6)));
  EXPECT_THAT(coded.Next(), ElementsAre(Number(7), Number(8.5), TextCell("after")));
  EXPECT_THAT(coded.Next(), ElementsAre());
}

TEST(CompressedSystemFile, StartsAtRow0) {
  Coded coded(1,
              "a header"
              "of 13" +
                  Group({101, 253, 0, 0, 0, 0, 0, 0}, {0.5}),
              13);
  EXPECT_THAT(coded.Next(), ElementsAre(Number(1)));
  EXPECT_THAT(coded.Next(), ElementsAre(Number(0.5)));
  EXPECT_THAT(coded.Next(), ElementsAre());
}

TEST(CompressedSystemFile, IgnoresTheBias) {
  Coded coded(1, Group({101, 0, 0, 0, 0, 0, 0, 0}));
  coded.options.bias = 50.0;
  EXPECT_THAT(coded.Next(), ElementsAre(Number(1)));
}

TEST(CompressedSystemFile, ByteSwapsTheLiteralsOfNumericCells) {
  const bool numeric[] = {true, false, true};
  for (const bool plainGroup : {true, false}) {
    const int last = plainGroup ? 105 : 0;
    Coded coded(3, Group({253, 253, 103, 253, 254, 253, 255, last}, {0.5, "text", 4.5, 6.5}, kReversedOrder) +
                       Group({101, 254, 253, 0, 0, 0, 0, 0}, {2.25}, kReversedOrder));
    EXPECT_THAT(coded.Next(numeric), ElementsAre(Number(0.5), TextCell("text"), Number(3)));
    EXPECT_THAT(coded.Next(numeric), ElementsAre(Number(4.5), TextCell("        "), Number(6.5)));
    EXPECT_EQ(OBS{0xFFEFFFFFFFFFFFFF}, coded.Next(numeric)[0]);
  }
}

TEST(CompressedSystemFile, ReadReturns0AgainAfterTheEnd) {
  Coded coded(2, Group({101, 102, 0, 0, 0, 0, 0, 0}));
  EXPECT_THAT(coded.Next(), ElementsAre(Number(1), Number(2)));
  EXPECT_THAT(coded.Next(), ElementsAre());
  EXPECT_THAT(coded.Next(), ElementsAre());
}

TEST(CompressedSystemFile, EndsCleanlyAfterAFullGroup) {
  Coded coded(4, Group({101, 102, 103, 104, 105, 106, 107, 108}));
  coded.Next();
  coded.Next();
  EXPECT_THAT(coded.Next(), ElementsAre());
}

TEST(CompressedSystemFile, EmptyStreamEndsAtOnce) {
  Coded coded(2, "");
  EXPECT_THAT(coded.Next(), ElementsAre());
}

TEST(CompressedSystemFile, ReadReturns0WhenACaseHasNoCells) {
  Coded coded(0, Group({101, 102, 0, 0, 0, 0, 0, 0}));
  EXPECT_THAT(coded.Next(), ElementsAre());
  EXPECT_THAT(coded.Next(), ElementsAre());
}

// ---- Truncated data ----

TEST(CompressedSystemFile, DataThatEndsInsideACaseThrows1205) {
  Coded coded(3, Group({101, 102, 103, 104, 0, 0, 0, 0}));
  coded.Next();
  EXPECT_THAT(coded.Fault(), IsFault(1205, "iCell == 0"));
}

TEST(CompressedSystemFile, DataThatEndsInsideACaseAfterAFullGroupThrows1205) {
  Coded coded(3, Group({101, 102, 103, 104, 105, 106, 107, 108}));
  coded.Next();
  coded.Next();
  EXPECT_THAT(coded.Fault(), IsFault(1205, "iCell == 0"));
}

TEST(CompressedSystemFile, DataThatEndsInsideTheCodesOfAGroupThrows1205) {
  const std::string codes = Group({101, 102, 103, 104, 105, 106, 107, 108});
  for (std::size_t size = 1; size < 8; ++size) {
    Coded first(1, codes.substr(0, size));
    EXPECT_THAT(first.Fault(), IsFault(1205, "nRead == 0")) << size;
    Coded second(8, codes + codes.substr(0, size));
    second.Next();
    EXPECT_THAT(second.Fault(), IsFault(1205, "nRead == 0")) << size;
  }
}

TEST(CompressedSystemFile, DataThatEndsInsideTheLiteralsOfAGroupThrows1205) {
  const std::string group = Group({253, 102, 253, 104, 105, 106, 107, 108}, {0.5, 1.5});
  for (std::size_t size = 8; size < group.size(); ++size) {
    Coded coded(1, group.substr(0, size));
    EXPECT_THAT(coded.Fault(), IsFault(1205, "nRead == nu*sizeof(OBS)")) << size;
  }
}

TEST(CompressedSystemFile, DataThatEndsInsideASkippedCaseThrows1205) {
  for (const long long row : {2, 3, 1000}) {
    Coded coded(3, Group({101, 102, 103, 104, 0, 0, 0, 0}));
    coded.file->Seek(row);
    EXPECT_THAT(coded.Fault(), IsFault(1205, "iCell == 0")) << row;
  }
}

TEST(CompressedSystemFile, TruncatedDataIsNotASystemError) {
  Coded coded(3, Group({101, 102, 103, 104, 0, 0, 0, 0}));
  coded.Next();
  const auto fault = coded.Fault();
  ASSERT_TRUE(fault);
  EXPECT_FALSE(fault->System());
}

// ---- Positions ----

TEST(CompressedSystemFile, FilePositionIsTheGroupOffsetPlusTheCodeIndex) {
  // Groups at 0, 8 and 24.
  const std::string bytes = Group({101, 102, 103, 104, 105, 106, 107, 108}) +
                            Group({101, 253, 103, 104, 105, 106, 107, 253}, {0.5, 1.5}) +
                            Group({101, 102, 103, 104, 0, 0, 0, 0});
  for (long row = 0; row < 8; ++row) EXPECT_EQ(row, Coded::PositionOf(1, bytes, row)) << row;
  for (long row = 8; row < 16; ++row) EXPECT_EQ(8 + row - 8, Coded::PositionOf(1, bytes, row)) << row;
  for (long row = 16; row < 20; ++row) EXPECT_EQ(8 + 24 + row - 16, Coded::PositionOf(1, bytes, row)) << row;
}

TEST(CompressedSystemFile, FilePositionCountsFromRow0) {
  const std::string bytes =
      "five!" + Group({101, 102, 103, 104, 105, 106, 107, 108}) + Group({101, 102, 0, 0, 0, 0, 0, 0});
  EXPECT_EQ(0, Coded::PositionOf(3, bytes, 0, 5));
  EXPECT_EQ(3, Coded::PositionOf(3, bytes, 1, 5));
  EXPECT_EQ(6, Coded::PositionOf(3, bytes, 2, 5));
}

TEST(CompressedSystemFile, FilePositionFollowsReading) {
  Coded coded(3, Group({101, 102, 103, 253, 105, 106, 107, 108}, {0.5}) + Group({101, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(0, coded.file->FilePosition());
  coded.Next();
  EXPECT_EQ(3, coded.file->FilePosition());
  coded.Next();
  EXPECT_EQ(6, coded.file->FilePosition());
  coded.Next();
  EXPECT_EQ(16 + 1, coded.file->FilePosition());
}

TEST(CompressedSystemFile, FilePositionAfterAGroupIsThatOfTheNext) {
  Coded coded(4, Group({101, 102, 103, 253, 105, 106, 107, 108}, {0.5}) + Group({101, 1, 1, 1, 0, 0, 0, 0}));
  coded.Next();
  coded.Next();
  EXPECT_EQ(16, coded.file->FilePosition());
}

TEST(CompressedSystemFileDeathTest, FilePositionInAMisalignedStreamAsserts) {
  Coded coded(1, Group({101, 102, 103, 104, 105, 106, 107, 108}));
  coded.stream.Seek(3, kSeekFromStart);
  EXPECT_DEATH(coded.file->FilePosition(), HasSubstr("assertion failed: (filepos-_row0pos)%sizeof(OBS) == 0"));
}

// ---- Seeking ----

TEST(CompressedSystemFile, SeekOnlyStoresTheRow) {
  Coded coded(1, Group({101, 102, 103, 0, 0, 0, 0, 0}));
  const int before = coded.stream.Operations();
  coded.file->Seek(2);
  EXPECT_EQ(2, coded.file->Tell());
  EXPECT_EQ(before, coded.stream.Operations());
  EXPECT_THAT(coded.Next(), ElementsAre(Number(3)));
  EXPECT_EQ(3, coded.file->Tell());
}

TEST(CompressedSystemFile, SeeksFromAnyRowToAnyRow) {
  std::vector<FileCase> cases;
  for (int row = 0; row < 12; ++row)
    cases.push_back({row + 0.5, static_cast<double>(row), row % 3 == 0 ? FileValue("") : FileValue("text")});
  const std::string bytes = SystemFileBuilder().CodedCases(cases).Bytes();
  for (long long from = 0; from <= 12; ++from) {
    for (long long to = 0; to < 12; ++to) {
      Coded coded(3, bytes);
      coded.file->Seek(from);
      coded.Next();
      coded.file->Seek(to);
      ASSERT_EQ(CellsOf(cases[static_cast<std::size_t>(to)]), coded.Next()) << "from " << from << " to " << to;
    }
  }
}

TEST(CompressedSystemFile, SeekPastTheEndStopsAfterTheLastRow) {
  Coded coded(1, Group({101, 102, 103, 0, 0, 0, 0, 0}));
  coded.file->Seek(100);
  coded.file->FilePosition();
  EXPECT_EQ(3, coded.file->Tell());
  EXPECT_THAT(coded.Next(), ElementsAre());
}

TEST(CompressedSystemFile, SeeksBackAfterTheEnd) {
  Coded coded(1, Group({101, 102, 103, 0, 0, 0, 0, 0}));
  while (!coded.Next().empty()) continue;
  for (const long long row : {2, 0, 1}) {
    coded.file->Seek(row);
    EXPECT_THAT(coded.Next(), ElementsAre(Number(static_cast<double>(row) + 1)));
  }
}

TEST(CompressedSystemFile, ReadingFillsTheIndex) {
  std::vector<FileCase> cases(3000, FileCase{0.5});
  const std::string bytes = SystemFileBuilder().CodedCases(cases).Bytes();
  Coded coded(1, bytes);
  while (!coded.Next().empty()) continue;
  // A case takes 9 bytes; the index has an item for each 4096 bytes.
  EXPECT_EQ((bytes.size() + 4095) / 4096, coded.index.Size());
}

TEST(CompressedSystemFile, SkippingFillsTheIndex) {
  std::vector<FileCase> cases(3000, FileCase{0.5});
  Coded coded(1, SystemFileBuilder().CodedCases(cases).Bytes());
  coded.file->Seek(2999);
  coded.file->FilePosition();
  EXPECT_EQ(7u, coded.index.Size());
}

TEST(CompressedSystemFile, SeekStartsAtTheNearestIndexItem) {
  std::vector<FileCase> cases;
  for (int row = 0; row < 20'000; ++row) cases.push_back({row + 0.5});
  Coded coded(1, SystemFileBuilder().CodedCases(cases).Bytes());
  while (!coded.Next().empty()) continue;
  coded.file->Seek(10'000);
  const int before = coded.stream.Operations();
  EXPECT_THAT(coded.Next(), ElementsAre(Number(10'000.5)));
  // 4096 bytes hold 57 groups, and the reader requests each group once.
  EXPECT_GE(before + 70, coded.stream.Operations());
}

// ---- Writing ----

TEST(CompressedSystemFile, WritesAFullGroup) {
  Coded coded(4, "");
  coded.Write({1.0, 0.5, kFileSystemMissing, ""});
  coded.Write({-99.0, "text", 151.0, 152.0});
  coded.file->Flush();
  EXPECT_EQ(Group({101, 253, 255, 254, 1, 253, 251, 253}, {0.5, "text", 152.0}), coded.stream.Bytes());
}

TEST(CompressedSystemFile, WritesWholeGroupsBeforeAFlush) {
  Coded coded(8, "");
  for (int row = 0; row < 1000; ++row) coded.Write({0.5, 1.5, 2.5, 3.5, 4.5, 5.5, 6.5, 7.5});
  EXPECT_LT(50'000u, coded.stream.Bytes().size()) << "of 72,000";
  EXPECT_EQ(0u, coded.stream.Bytes().size() % 72) << "whole groups";
}

TEST(CompressedSystemFile, PadsTheLastGroupWithCode0) {
  Coded coded(3, "");
  coded.Write({1.0, 0.5, 2.0});
  coded.file->Flush();
  EXPECT_EQ(Group({101, 253, 102, 0, 0, 0, 0, 0}, {0.5}), coded.stream.Bytes());
}

TEST(CompressedSystemFile, SecondFlushWritesNothing) {
  Coded coded(3, "");
  coded.Write({1.0, 0.5, 2.0});
  coded.file->Flush();
  const std::string flushed = coded.stream.Bytes();
  coded.file->Flush();
  EXPECT_EQ(flushed, coded.stream.Bytes());
}

TEST(CompressedSystemFile, FlushAfterReadingWritesNothing) {
  Coded coded(3, Group({101, 102, 103, 104, 105, 106, 107, 108}));
  coded.Next();
  const std::string before = coded.stream.Bytes();
  coded.file->Flush();
  coded.file.reset();
  EXPECT_EQ(before, coded.stream.Bytes());
}

TEST(CompressedSystemFile, DestructorFlushes) {
  Coded coded(1, "");
  coded.Write({1.0});
  coded.file.reset();
  EXPECT_EQ(Group({101, 0, 0, 0, 0, 0, 0, 0}), coded.stream.Bytes());
}

class CountingStream : public FaultyStream {
 public:
  CountingStream() : FaultyStream("") {}
  int Flush() override {
    ++flushes;
    return 0;
  }
  int flushes = 0;
};

TEST(CompressedSystemFile, FlushFlushesTheStreamAfterAWrite) {
  SystemFileOptions options;
  options.layout = SystemFileLayout(1);
  QUAV_SparseFileIndex index(1);
  CountingStream stream;
  CompressedSystemFile file(options, stream, index, 0);
  file.Flush();
  EXPECT_EQ(0, stream.flushes);
  file.Write(CellsOf(FileCase{1.0}).data());
  file.Flush();
  EXPECT_EQ(1, stream.flushes);
}

TEST(CompressedSystemFile, StartsANewGroupAfterAFlush) {
  Coded coded(1, "");
  coded.Write({1.0});
  coded.file->Flush();
  coded.Write({2.0});
  coded.file->Flush();
  EXPECT_EQ(Group({101, 0, 0, 0, 0, 0, 0, 0}) + Group({102, 0, 0, 0, 0, 0, 0, 0}), coded.stream.Bytes());
  Coded read(1, coded.stream.Bytes());
  EXPECT_THAT(read.Next(), ElementsAre(Number(1)));
  EXPECT_THAT(read.Next(), ElementsAre(Number(2)));
  EXPECT_THAT(read.Next(), ElementsAre());
}

TEST(CompressedSystemFile, WritesFromAnyRow0) {
  for (long row0 = 0; row0 < 17; ++row0) {
    const std::string header(static_cast<std::size_t>(row0), 'h');
    Coded coded(3, header, row0);
    for (int row = 0; row < 5; ++row) coded.Write({row + 0.5, 1.0, 2.0});
    coded.file->Flush();
    EXPECT_EQ(header, coded.stream.Bytes().substr(0, header.size()));
    Coded read(3, coded.stream.Bytes(), row0);
    for (int row = 0; row < 5; ++row)
      EXPECT_THAT(read.Next(), ElementsAre(Number(row + 0.5), Number(1), Number(2))) << row0;
    EXPECT_THAT(read.Next(), ElementsAre()) << row0;
  }
}

TEST(CompressedSystemFile, TellReturnsTheNumberOfWrittenCases) {
  Coded coded(1, "");
  for (int row = 0; row < 3; ++row) {
    EXPECT_EQ(row, coded.file->Tell());
    coded.Write({1.0});
  }
  EXPECT_EQ(3, coded.file->Tell());
}

TEST(CompressedSystemFile, WritingFillsTheIndex) {
  Coded coded(1, "");
  for (int row = 0; row < 3000; ++row) coded.Write({0.5});
  EXPECT_EQ(7u, coded.index.Size());
  long long row = -1;
  long position = -1;
  coded.index.GetPos(2000, row, position);
  coded.file->Flush();
  EXPECT_EQ(position, Coded::PositionOf(1, coded.stream.Bytes(), row));
}

// ---- Appending ----

std::vector<FileCase> AppendedCases(int count) {
  std::vector<FileCase> cases;
  for (int row = 0; row < count; ++row)
    cases.push_back({row % 2 == 0 ? row + 0.5 : row * 1.0, row % 3 == 0 ? FileValue("text") : FileValue("")});
  return cases;
}

TEST(CompressedSystemFile, AppendContinuesTheGroupAtThePosition) {
  Coded coded(1, Group({101, 253, 0, 0, 0, 0, 0, 0}, {0.5}));
  coded.file->BeginAppend(2, false);
  coded.Write({0.25});
  coded.Write({4.0});
  coded.file->Flush();
  EXPECT_EQ(Group({101, 253, 253, 104, 0, 0, 0, 0}, {0.5, 0.25}), coded.stream.Bytes());
}

// Another writer may have stored a small number as a literal, and may have left a code 0 between two cases.
TEST(CompressedSystemFile, AppendKeepsTheCodesBeforeThePosition) {
  Coded coded(1, Group({253, 0, 101, 0, 0, 0, 0, 0}, {5.0}));
  coded.file->BeginAppend(2, false);
  for (const double number : {2.0, 0.5, 3.0, 4.0, 6.0, 7.0}) coded.Write({number});
  coded.file->Flush();
  EXPECT_EQ(Group({253, 0, 101, 102, 253, 103, 104, 106}, {5.0, 0.5}) + Group({107, 0, 0, 0, 0, 0, 0, 0}),
            coded.stream.Bytes());
}

TEST(CompressedSystemFile, AppendStartsANewGroupAfterAFullOne) {
  const std::string full = Group({101, 102, 103, 104, 105, 106, 107, 108});
  Coded coded(4, full);
  coded.file->BeginAppend(2, false);
  coded.Write({1.0, 2.0, 3.0, 4.0});
  coded.file->Flush();
  EXPECT_EQ(full + Group({101, 102, 103, 104, 0, 0, 0, 0}), coded.stream.Bytes());
}

TEST(CompressedSystemFile, EmptyAppendChangesNothing) {
  const std::string before = SystemFileBuilder().CodedCases(AppendedCases(5)).Bytes();
  Coded coded(2, before);
  coded.file->BeginAppend(5, false);
  coded.file.reset();
  EXPECT_EQ(before, coded.stream.Bytes());
}

TEST(CompressedSystemFile, AppendAfterAnyNumberOfCasesEqualsOneWrite) {
  for (const long row0 : {0L, 5L, 176L}) {
    const std::string header(static_cast<std::size_t>(row0), 'h');
    const auto all = AppendedCases(24);
    const std::string whole = header + SystemFileBuilder().CodedCases(all).Bytes();
    for (std::size_t before = 0; before <= all.size(); ++before) {
      const std::vector<FileCase> first(all.begin(), all.begin() + static_cast<long>(before));
      Coded coded(2, header + SystemFileBuilder().CodedCases(first).Bytes(), row0);
      coded.file->BeginAppend(static_cast<long long>(before), false);
      for (std::size_t row = before; row < all.size(); ++row) coded.Write(all[row]);
      coded.file.reset();
      ASSERT_EQ(whole, coded.stream.Bytes()) << "after " << before << " cases at byte " << row0;
    }
  }
}

TEST(CompressedSystemFile, AppendWorksAfterReading) {
  const auto all = AppendedCases(24);
  for (long long read = 0; read <= 10; ++read) {
    Coded coded(2, SystemFileBuilder().CodedCases({all.begin(), all.begin() + 10}).Bytes());
    for (long long row = 0; row < read; ++row) coded.Next();
    coded.file->BeginAppend(10, false);
    for (std::size_t row = 10; row < all.size(); ++row) coded.Write(all[row]);
    coded.file.reset();
    ASSERT_EQ(SystemFileBuilder().CodedCases(all).Bytes(), coded.stream.Bytes()) << "after reading " << read;
  }
}

TEST(CompressedSystemFile, AppendReopensTheFileForWriting) {
  const auto all = AppendedCases(24);
  const std::string header = "a header";
  for (std::size_t before = 0; before <= 20; ++before) {
    const TempFile file(header +
                        SystemFileBuilder().CodedCases({all.begin(), all.begin() + static_cast<long>(before)}).Bytes());
    SystemFileOptions options;
    options.layout = SystemFileLayout(2);
    QUAV_SparseFileIndex index(1);
    QUAV_FileStream stream;
    ASSERT_TRUE(stream.Open(file.Name().c_str(), "rb"));
    {
      CompressedSystemFile coded(options, stream, index, static_cast<long>(header.size()));
      coded.BeginAppend(static_cast<long long>(before), true);
      for (std::size_t row = before; row < all.size(); ++row) coded.Write(CellsOf(all[row]).data());
    }
    stream.Close();
    ASSERT_EQ(header + SystemFileBuilder().CodedCases(all).Bytes(), file.Bytes()) << "after " << before;
  }
}

TEST(CompressedSystemFile, AppendThrows1201WhenTheFileCannotBeReopened) {
  const TempFile file(SystemFileBuilder().CodedCases(AppendedCases(5)).Bytes());
  SystemFileOptions options;
  options.layout = SystemFileLayout(2);
  QUAV_SparseFileIndex index(1);
  QUAV_FileStream stream;
  ASSERT_TRUE(stream.Open(file.Name().c_str(), "rb"));
  CompressedSystemFile coded(options, stream, index, 0);
  std::filesystem::remove(file.Name());
  try {
    coded.BeginAppend(5, true);
    FAIL() << "nothing was thrown";
  } catch (const SystemFileException& fault) {
    EXPECT_EQ(1201, fault.Number());
    EXPECT_EQ("m_->_file.Open(m_->_file.GetNameStr(), m_->_options._password, \"r+b\")", fault.Expression());
    EXPECT_TRUE(fault.System());
    EXPECT_EQ(ENOENT, fault.Errno());
  }
}

}  // namespace
}  // namespace CompressedSystemFile_test
