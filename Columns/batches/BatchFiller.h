// Makes batches of cells: what all batches of a reader have in common, and what fills one of them.
//
// Threads: a plan never changes; a filler is for one thread at a time.

#ifndef COLUMNS_BATCHES_BATCHFILLER_H
#define COLUMNS_BATCHES_BATCHFILLER_H

#include <cstddef>
#include <memory>
#include <vector>

#include "Columns/batches/BatchBuffers.h"
#include "Columns/batches/CellSource.h"
#include "Columns/batches/ColumnFiller.h"
#include "datasrc/ColumnReader.h"

struct BatchPlan {
  // Asserts that the columns exist.
  BatchPlan(const QUAV_DataSource& source, const ColumnReaderOptions& options);

  std::vector<int> columns;
  std::vector<BatchColumn::Kind> kinds;
  std::vector<std::size_t> cells;  // of the chosen columns, in the source's case
  int rowsPerBatch;
  int blockRows;  // so many cases are read at once
  bool dropUserMissing;
  long long knownRows;  // of the source; negative when it does not know them
  const quavmb::Encoding& encoding;
};

// Returns how many rows a batch has whose cells of the chosen columns take about so many bytes: at least one, at most
// 65,536. Asserts that the columns exist.
int UsualRows(const QUAV_DataSource& source, const ColumnReaderOptions& options, std::size_t bytes);

class BatchFiller {
 public:
  // Copies the variables of the source.
  BatchFiller(const QUAV_DataSource& source, const BatchPlan& plan);

  // Fills the batch, whose first row is set, with the next cases of `cells`, at most `most`. Returns their number, which
  // is less only at the end of the cases.
  int Fill(FilledBatch& filled, CellSource& cells, int most);

  // Returns an empty batch whose buffers have room for so many rows from `firstRow` on.
  std::unique_ptr<FilledBatch> Prepare(long long firstRow, int rows);

 private:
  std::size_t ProbableRows(long long firstRow, int most) const;
  int ReadBlock(CellSource& cells, int most);

  std::vector<std::unique_ptr<ColumnFiller>> m_fillers;  // one for each column
  std::vector<CellTarget> m_targets;                     // one for each cell
  int m_blockRows;
  std::size_t m_cellsPerCase;  // of the chosen columns
  long long m_knownRows;
};

#endif
