// Few columns of a system file, whose other cells are not decoded.

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "datasrc/ColumnReader.h"
#include "tests/columns/BatchesAgainstRows.h"
#include "tests/support/Reading.h"

namespace {

constexpr int kNumbers = 30;

// Returns a file of 30 numbers and two texts of two cells, in byte codes. `literals` percent of the numbers have no
// code.
std::string FileBytes(int cases, int literals, unsigned int seed) {
  std::mt19937 random(seed);
  SystemFileBuilder builder;
  builder.Header({.compression = 1});
  for (int i = 0; i < kNumbers; ++i) builder.Number("V" + std::to_string(i));
  builder.String("S", 16);
  builder.String("T", 16);
  builder.End();
  std::vector<FileCase> rows(static_cast<std::size_t>(cases));
  for (FileCase& row : rows) {
    for (int i = 0; i < kNumbers; ++i) {
      const bool isLiteral = static_cast<int>(random() % 100) < literals;
      row.push_back(isLiteral ? 0.5 + static_cast<double>(random() % 1000) : static_cast<double>(random() % 200));
    }
    row.push_back(FileText(std::to_string(random() % 1000), 16));
    row.push_back(FileText("", 16));
  }
  return builder.CodedCases(rows).Bytes();
}

// The rows read, and the number of the error that ended them.
using Outcome = std::pair<std::vector<BatchRow>, std::optional<int>>;

Outcome ByBatches(const QUAV_DataSource& source, const ColumnReaderOptions& options) {
  Outcome outcome;
  ColumnReader reader(source, options);
  const auto error = ErrorOf([&] {
    while (const auto batch = reader.Next()) {
      for (long long row = 0; row < batch->rows; ++row) {
        BatchRow& values = outcome.first.emplace_back();
        for (const BatchColumn& column : batch->columns) values.push_back(ValueIn(column, row));
      }
    }
  });
  if (error) outcome.second = error->Number();
  return outcome;
}

Outcome ByRows(const QUAV_DataSource& source, const std::vector<int>& columns) {
  Outcome outcome;
  const std::unique_ptr<QUAV_InputCaseIterator> cases(source.MakeIterator(nullptr));
  const auto error = ErrorOf([&] {
    while (cases->Next() != 0) {
      BatchRow& values = outcome.first.emplace_back();
      for (const int column : columns) values.push_back(cases->GetObsPointer(0)[source.ObsIndex(column)].bits);
    }
  });
  if (error) outcome.second = error->Number();
  return outcome;
}

TEST(FewColumns, HaveTheCellsOfTheRows) {
  for (const int literals : {0, 10, 50, 100}) {
    const TempFile file(FileBytes(1500, literals, 7));
    const SystemFileDataSource source(file.Name(), "", false);
    for (const auto& columns : std::vector<std::vector<int>>{{0}, {29, 3}, {7, 7, 0}, {31}, {30, 1}, {}}) {
      for (const long long first : {0, 1, 777, 1499}) {
        ColumnReaderOptions options;
        options.columns = columns;
        options.firstRow = first;
        options.rowsPerBatch = 400;
        ColumnReader reader(source, options);
        ASSERT_EQ(RowsOfIterator(source, options), RowsOfBatches(reader, options)) << literals << ' ' << first;
      }
    }
  }
}

TEST(FewColumns, OfAFileCutAtAnyByteComeBeforeItsFault) {
  const std::string bytes = FileBytes(300, 20, 3);
  const std::vector<int> columns = {2, 28};
  ColumnReaderOptions options;
  options.columns = columns;
  options.rowsPerBatch = 50;
  // Near the end the cut changes from byte to byte; before, it moves by a prime.
  for (std::size_t cut = 0; cut < bytes.size() - 6000; cut += cut < 300 ? 1 : 991) {
    const TempFile file(bytes.substr(0, bytes.size() - cut));
    const SystemFileDataSource source(file.Name(), "", false);
    ASSERT_EQ(ByRows(source, columns), ByBatches(source, options)) << cut;
  }
}

TEST(FewColumns, LearnTheNumberOfCases) {
  const TempFile file(FileBytes(100, 20, 3));
  const SystemFileDataSource source(file.Name(), "", false);
  ColumnReaderOptions options;
  options.columns = std::vector<int>{5};
  EXPECT_EQ(100u, ByBatches(source, options).first.size());
  EXPECT_EQ(100, source.RowCount());
}

TEST(FewColumns, OfEveryCompressionAreTheSame) {
  const TempFile coded(FileBytes(2000, 30, 11));
  const SystemFileDataSource source(coded.Name(), "", false);
  ColumnReaderOptions options;
  options.columns = std::vector<int>{28, 3, 30};
  const Outcome expected = ByBatches(source, options);
  EXPECT_EQ(2000u, expected.first.size());
  for (const int level : {0, 1, 2}) {
    const TempFile file("");
    SystemFileDataSource written;
    written.CopyDictionary(source);
    written.SetCompressionLevel(level);
    written.SetFileSpec(file.Name().c_str());
    written.CommitDictionary();
    const std::unique_ptr<QUAV_InputCaseIterator> cases(source.MakeIterator(nullptr));
    while (cases->Next() != 0) written.AddRow(cases->GetObsPointer(0));
    written.Close();
    const SystemFileDataSource read(file.Name(), "", false);
    EXPECT_EQ(expected, ByBatches(read, options)) << level;
  }
}

}  // namespace
