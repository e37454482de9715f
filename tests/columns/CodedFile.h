// A file of case codes for the tests of columns, and what reading it comes to.

#ifndef TESTS_COLUMNS_CODEDFILE_H
#define TESTS_COLUMNS_CODEDFILE_H

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

inline constexpr int kNumbers = 30;

// Returns a file of 30 numbers and two texts of two cells. `literals` percent of the numbers have no code.
inline std::string FileBytes(int cases, int literals, unsigned int seed, int compression = 1,
                             std::endian order = std::endian::native) {
  std::mt19937 random(seed);
  SystemFileBuilder builder(order);
  builder.Header({.magic = compression == 2 ? "$FL3" : "$FL2", .compression = compression});
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
  if (compression == 2) return builder.ZlibCases(rows, 4000).Bytes();
  return (compression == 0 ? builder.Cases(rows) : builder.CodedCases(rows)).Bytes();
}

// The rows read, and the number of the error that ended them.
using Outcome = std::pair<std::vector<BatchRow>, std::optional<int>>;

inline Outcome ByBatches(const QUAV_DataSource& source, const ColumnReaderOptions& options) {
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

inline Outcome ByRows(const QUAV_DataSource& source, const std::vector<int>& columns) {
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

#endif
