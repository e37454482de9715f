// Compares the batches of a reader with the rows of an iterator.

#ifndef TESTS_COLUMNS_BATCHESAGAINSTROWS_H
#define TESTS_COLUMNS_BATCHESAGAINSTROWS_H

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "datasrc/ColumnReader.h"
#include "datasrc/QUAV_InputCaseIterator.h"

// A cell of a batch: nothing, the bits of a number, or a text.
using BatchValue = std::optional<std::variant<std::uint64_t, std::string>>;
using BatchRow = std::vector<BatchValue>;

inline BatchValue ValueIn(const BatchColumn& column, long long row) {
  if (!column.HasValue(row)) return std::nullopt;
  if (column.kind == BatchColumn::Kind::number) return NumberCell(column.numbers[row]).bits;
  return std::string(column.Text(row));
}

// Reads all batches, and checks what holds for each of them.
inline std::vector<BatchRow> RowsOfBatches(ColumnReader& reader, const ColumnReaderOptions& options) {
  std::vector<BatchRow> rows;
  bool isLast = false;
  while (const auto batch = reader.Next()) {
    EXPECT_FALSE(isLast) << "a batch after one that is not full";
    EXPECT_EQ(options.firstRow + static_cast<long long>(rows.size()), batch->firstRow);
    EXPECT_GT(batch->rows, 0);
    if (options.rowsPerBatch != 0) {
      EXPECT_LE(batch->rows, options.rowsPerBatch);
      isLast = batch->rows < options.rowsPerBatch;
    }
    EXPECT_EQ(reader.Columns().size(), batch->columns.size());
    for (const BatchColumn& column : batch->columns) {
      long long missing = 0;
      for (long long row = 0; row < batch->rows; ++row) missing += column.HasValue(row) ? 0 : 1;
      EXPECT_EQ(missing, column.missing);
      EXPECT_EQ(missing == 0, column.validity == nullptr);
    }
    for (long long row = 0; row < batch->rows; ++row) {
      BatchRow& values = rows.emplace_back();
      for (const BatchColumn& column : batch->columns) values.push_back(ValueIn(column, row));
    }
  }
  EXPECT_EQ(nullptr, reader.Next()) << "the end is the end";
  return rows;
}

// Reads the same rows through an iterator. The text of the source must be UTF-8.
inline std::vector<BatchRow> RowsOfIterator(const QUAV_DataSource& source, const ColumnReaderOptions& options) {
  std::vector<int> columns;
  for (int column = 0; column < static_cast<int>(source.ColumnCount()); ++column) columns.push_back(column);
  if (options.columns) columns = *options.columns;
  std::vector<BatchRow> rows;
  const std::unique_ptr<QUAV_InputCaseIterator> cases(source.MakeIterator(nullptr));
  for (long long row = 0; row - options.firstRow < options.rows && cases->Next() != 0; ++row) {
    if (row < options.firstRow) continue;
    BatchRow& values = rows.emplace_back();
    for (const int column : columns) {
      const QUAV_Variable& variable = source.GetVariable(column);
      const OBS* const cell = cases->GetObsPointer(column);
      const bool isMissing = variable.GetType() == 0 && *cell == kSystemMissingCell;
      if (isMissing || (options.dropUserMissing && variable.IsMissing(cell) != 0)) {
        values.emplace_back();
      } else if (variable.GetType() == 0) {
        values.emplace_back(cell->bits);
      } else {
        const std::string field(CellText(cell), static_cast<std::size_t>(variable.GetType()));
        values.emplace_back(field.substr(0, field.find_last_not_of(' ') + 1));
      }
    }
  }
  return rows;
}

inline void ExpectSameRows(const QUAV_DataSource& source, const ColumnReaderOptions& options) {
  ColumnReader reader(source, options);
  const std::vector<BatchRow> batches = RowsOfBatches(reader, options);
  const std::vector<BatchRow> rows = RowsOfIterator(source, options);
  ASSERT_EQ(rows.size(), batches.size());
  for (std::size_t row = 0; row < rows.size(); ++row) ASSERT_EQ(rows[row], batches[row]) << "row " << row;
}

#endif
