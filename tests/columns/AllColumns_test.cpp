// All columns of a system file, whose cases are decoded many at a time.

#include <gtest/gtest.h>

#include <bit>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "tests/columns/CodedFile.h"

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
