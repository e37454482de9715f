// All columns of a system file, whose cases are decoded many at a time.

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "tests/columns/CodedFile.h"

namespace AllColumns_test {
namespace {

// So many columns that whole cases are decoded.
const std::vector<int> kMany = {0, 1, 5, 6, 7, 12, 20, 29};

TEST(AllColumns, HaveTheCellsOfTheRows) {
  for (const int compression : {0, 1, 2}) {
    for (const std::endian order : {std::endian::native, kReversedOrder}) {
      for (const int literals : {0, 10, 100}) {
        const TempFile file(FileBytes(600, literals, 5, compression, order));
        const SystemFileDataSource source(file.Name(), "", false);
        for (const long long first : {0, 1, 599, 600})
          for (const int rows : {400, 65536}) ExpectSameRows(source, {.firstRow = first, .rowsPerBatch = rows});
        if (HasFatalFailure()) FAIL() << "compression " << compression << ", literals " << literals;
      }
    }
  }
}

TEST(AllColumns, AreFoundInCasesOfAnySize) {
  std::mt19937 random(9);
  for (int size = 1; size <= 40; ++size) {
    for (const int compression : {0, 1}) {
      SystemFileBuilder builder;
      builder.Header({.compression = compression});
      for (int i = 0; i < size; ++i) builder.Number("V" + std::to_string(i));
      builder.End();
      std::vector<FileCase> rows(100 + random() % 20);
      for (FileCase& row : rows)
        for (int i = 0; i < size; ++i) row.push_back(static_cast<double>(random() % 1000) / 4);
      const TempFile file((compression == 0 ? builder.Cases(rows) : builder.CodedCases(rows)).Bytes());
      const SystemFileDataSource source(file.Name(), "", false);
      std::vector<int> backwards(static_cast<std::size_t>(size));
      std::iota(backwards.rbegin(), backwards.rend(), 0);
      ExpectSameRows(source, {});
      ExpectSameRows(source, {.columns = backwards});
      if (HasFatalFailure()) FAIL() << size << " columns, compression " << compression;
    }
  }
}

// A case may be longer than all that is decoded, or held, at once.
TEST(AllColumns, AreFoundInLongCases) {
  for (const int compression : {0, 1}) {
    SystemFileBuilder builder;
    builder.Header({.compression = compression});
    for (int i = 0; i < 9000; ++i) builder.Number("V" + std::to_string(i));
    builder.End();
    std::vector<FileCase> rows(11);
    double number = 0;
    for (FileCase& row : rows)
      for (int i = 0; i < 9000; ++i) row.push_back(number += 0.5);
    const TempFile file((compression == 0 ? builder.Cases(rows) : builder.CodedCases(rows)).Bytes());
    const SystemFileDataSource source(file.Name(), "", false);
    ExpectSameRows(source, {.rowsPerBatch = 9});
  }
}

TEST(AllColumns, OfAFileCutAtAnyByteComeBeforeItsFault) {
  for (const int compression : {0, 1}) {
    const std::string bytes = FileBytes(150, 20, 3, compression);
    ColumnReaderOptions options;
    options.columns = kMany;
    options.rowsPerBatch = 50;
    // Near the end the cut changes from byte to byte; before, it moves by a prime.
    for (std::size_t cut = 0; cut < bytes.size() - 6000; cut += cut < 250 ? 1 : 1999) {
      const TempFile file(bytes.substr(0, bytes.size() - cut));
      const SystemFileDataSource source(file.Name(), "", false);
      ASSERT_EQ(ByRows(source, kMany), ByBatches(source, options)) << compression << ' ' << cut;
    }
  }
}

// Appends a group of random codes: now and then one of them is none, or ends the group.
void AddGroup(SystemFileBuilder& builder, std::mt19937& random) {
  std::string codes;
  int literals = 0;
  bool hasEnded = false;
  for (int i = 0; i < 8; ++i) {
    const auto kind = random() % 400;
    const int other = kind < 120 ? 254 + static_cast<int>(random() % 2) : 1 + static_cast<int>(random() % 251);
    const int code = kind == 0 ? 0 : kind == 1 ? 252 : kind < 100 ? 253 : other;
    codes += static_cast<char>(code);
    hasEnded = hasEnded || code == 252;
    if (code == 253 && !hasEnded) ++literals;
  }
  builder.Raw(codes);
  for (int i = 0; i < literals; ++i) builder.F64(static_cast<double>(random()) / 3);
}

TEST(AllColumns, OfGroupsThatAreNotPlainHaveTheCellsOfTheRows) {
  std::mt19937 random(21);
  for (int size = 1; size <= 24; ++size) {
    SystemFileBuilder builder;
    builder.Header({.compression = 1});
    for (int i = 0; i < size; ++i) builder.Number("V" + std::to_string(i));
    builder.End();
    for (int group = 0; group < 1500; ++group) AddGroup(builder, random);
    const TempFile file(builder.Bytes());
    const SystemFileDataSource source(file.Name(), "", false);
    std::vector<int> all(static_cast<std::size_t>(size));
    std::iota(all.begin(), all.end(), 0);
    Outcome rows = ByRows(source, all);
    for (BatchRow& row : rows.first) std::ranges::replace(row, BatchValue(kSystemMissingCell.bits), BatchValue());
    ColumnReaderOptions options;
    options.rowsPerBatch = 300;
    ASSERT_EQ(rows, ByBatches(source, options)) << size << " columns";
  }
}

TEST(AllColumns, LearnTheNumberOfCases) {
  for (const int compression : {0, 1}) {
    const TempFile file(FileBytes(100, 20, 3, compression));
    const SystemFileDataSource source(file.Name(), "", false);
    ColumnReaderOptions options;
    options.columns = kMany;
    EXPECT_EQ(100u, ByBatches(source, options).first.size());
    EXPECT_EQ(100, source.RowCount());
  }
}

// Rows that were read are found again without a walk from the start.
TEST(AllColumns, FillTheIndexOfTheFile) {
  const TempFile file(FileBytes(3000, 20, 3));
  const SystemFileDataSource source(file.Name(), "", false);
  ExpectSameRows(source, {});
  for (const long long first : {2999, 1, 2047, 2048, 100}) ExpectSameRows(source, {.firstRow = first, .rows = 3});
}

}  // namespace
}  // namespace AllColumns_test
