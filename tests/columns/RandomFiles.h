// System files with random cases, in every form, and what reading them in batches gives.

#ifndef TESTS_COLUMNS_RANDOMFILES_H
#define TESTS_COLUMNS_RANDOMFILES_H

#include <bit>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "tests/columns/BatchesAgainstRows.h"
#include "tests/support/Reading.h"

// ---- Files ----

struct Shape {
  int compression = 1;
  std::endian order = std::endian::native;
  int numbers = 5;
  int textWidth = 12;
  int cases = 100;
  std::size_t blockSize = 512;  // of codes, in zlib blocks
  std::int32_t count = -1;      // what the header says
  bool hasTable = true;
};

inline std::vector<FileCase> RandomCases(const Shape& shape, unsigned int seed) {
  std::mt19937 random(seed);
  std::vector<FileCase> rows(static_cast<std::size_t>(shape.cases));
  for (FileCase& row : rows) {
    for (int i = 0; i < shape.numbers; ++i) {
      const auto number = static_cast<double>(random() % 300);
      row.emplace_back(random() % 3 == 0 ? number + 0.5 : number);
    }
    row.emplace_back(FileText(std::to_string(random() % 1000), static_cast<std::size_t>(shape.textWidth)));
  }
  return rows;
}

inline SystemFileBuilder Dictionary(const Shape& shape) {
  SystemFileBuilder builder(shape.order);
  builder.Header({.compression = shape.compression, .cases = shape.count});
  for (int i = 0; i < shape.numbers; ++i) builder.Number("V" + std::to_string(i));
  builder.String("S", shape.textWidth);
  return builder.End();
}

inline std::string FileBytes(const Shape& shape, unsigned int seed = 1) {
  SystemFileBuilder builder = Dictionary(shape);
  const std::vector<FileCase> rows = RandomCases(shape, seed);
  if (shape.compression == 0) return builder.Cases(rows).Bytes();
  if (shape.compression == 1) return builder.CodedCases(rows).Bytes();
  return builder.ZlibCases(rows, shape.blockSize, shape.hasTable).Bytes();
}

// A file of groups that no writer makes: with codes for no cell, and ends of groups before codes of literals. It may end
// inside a case, which has one text after the numbers.
inline std::string FileOfOddGroups(int cells, unsigned int seed, int numbers = 3) {
  std::mt19937 random(seed);
  SystemFileBuilder builder = Dictionary({.numbers = numbers, .textWidth = 8});
  while (cells > 0) {
    std::string group;
    std::string literals;
    bool isEnded = false;
    for (int i = 0; i < 8; ++i) {
      const unsigned int kind = random() % 16;
      const int code = kind == 0 ? 0 : kind == 1 ? 252 : kind < 6 ? 253 : 100 + static_cast<int>(random() % 50);
      group += static_cast<char>(code);
      if (isEnded || code == 0) continue;
      isEnded = code == 252;
      if (isEnded) continue;
      if (code == 253) literals += "literal" + std::string(1, static_cast<char>('0' + random() % 10));
      --cells;
    }
    builder.Raw(group + literals);
  }
  return builder.Bytes();
}

// ---- Reading ----

// The rows read, and the number of the error that ended them.
struct Outcome {
  std::vector<BatchRow> rows;
  std::optional<int> error;

  bool operator==(const Outcome&) const = default;
};

inline void ReadInto(Outcome& outcome, const QUAV_DataSource& source, const ColumnReaderOptions& options) {
  ColumnReader reader(source, options);
  const auto error = ErrorOf([&] {
    while (const auto batch = reader.Next()) {
      for (long long row = 0; row < batch->rows; ++row) {
        BatchRow& values = outcome.rows.emplace_back();
        for (const BatchColumn& column : batch->columns) values.push_back(ValueIn(column, row));
      }
    }
  });
  if (error) outcome.error = error->Number();
}

#endif
