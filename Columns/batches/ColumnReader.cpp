#include "datasrc/ColumnReader.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "Columns/batches/BatchBuffers.h"
#include "Columns/batches/BatchFiller.h"
#include "Columns/batches/BatchWorkers.h"
#include "Columns/batches/CellSource.h"
#include "Platform/Assert.h"

namespace {

constexpr long long kMostRows = std::numeric_limits<long long>::max();

}  // namespace

struct ColumnReader::Data {
  Data(const QUAV_DataSource& source, const ColumnReaderOptions& options);

  std::shared_ptr<const ColumnBatch> Next();

  BatchPlan plan;
  long long nextRow;
  long long rowsLeft;
  std::unique_ptr<BatchWorkers> workers;  // null when this thread does all; the other members are for that
  std::shared_ptr<BatchPool> pool;
  std::unique_ptr<BatchFiller> filler;
  std::unique_ptr<CellSource> cells;
};

ColumnReader::Data::Data(const QUAV_DataSource& source, const ColumnReaderOptions& options)
    : plan(source, options), nextRow(options.firstRow), rowsLeft(std::min(options.rows, kMostRows - options.firstRow)) {
  if (options.threads > 1)
    workers = BatchWorkers::Make(source, plan, nextRow, rowsLeft, std::min(options.threads, kMostColumnThreads));
  if (workers) return;
  pool = std::make_shared<BatchPool>();
  filler = std::make_unique<BatchFiller>(source, plan);
  cells = MakeCellSource(source, plan.cells);
  if (nextRow != 0) cells->Seek(nextRow);
}

std::shared_ptr<const ColumnBatch> ColumnReader::Data::Next() {
  const int most = static_cast<int>(std::min<long long>(plan.rowsPerBatch, rowsLeft));
  if (most == 0) return nullptr;
  if (cells->Fault()) std::rethrow_exception(cells->Fault());
  std::unique_ptr<FilledBatch> filled = pool->Take(plan.columns.size());
  filled->batch.firstRow = nextRow;
  const int rows = filler->Fill(*filled, *cells, most);
  if (rows == 0) {
    if (cells->Fault()) std::rethrow_exception(cells->Fault());
    rowsLeft = 0;
    return nullptr;
  }
  nextRow += rows;
  rowsLeft -= rows;
  return pool->Share(std::move(filled));
}

namespace {

ColumnReaderOptions Checked(ColumnReaderOptions options) {
  QUAV_ASSERT(options.firstRow >= 0 && options.rows >= 0 && options.rowsPerBatch >= 0, "no number is negative");
  QUAV_ASSERT(options.threads >= 1, "threads >= 1");
  return options;
}

}  // namespace

ColumnReader::ColumnReader(const QUAV_DataSource& source, ColumnReaderOptions options)
    : m_(std::make_unique<Data>(source, Checked(std::move(options)))) {}

ColumnReader::~ColumnReader() = default;

const std::vector<int>& ColumnReader::Columns() const { return m_->plan.columns; }

BatchColumn::Kind ColumnReader::KindOf(int column) const { return m_->plan.kinds.at(static_cast<std::size_t>(column)); }

std::shared_ptr<const ColumnBatch> ColumnReader::Next() { return m_->workers ? m_->workers->Next() : m_->Next(); }
