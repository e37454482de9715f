#include "datasrc/ColumnReader.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <utility>

#include "Columns/batches/BatchBuffers.h"
#include "Columns/batches/CellSource.h"
#include "Columns/batches/ColumnFiller.h"
#include "Columns/dictionary/DictionaryFacts.h"
#include "Platform/Assert.h"
#include "Platform/text/Encoding.h"

namespace {

constexpr int kUsualRows = 65536;
constexpr std::size_t kMostBytes = std::size_t{64} << 20;  // the cells of a usual batch
// The cells of so many cases are read at once; a multiple of 8, for the validity bits. So many bytes of them stay in a
// second-level cache until they are taken.
constexpr int kBlockRows = 1024;
constexpr std::size_t kBlockBytes = std::size_t{512} << 10;
constexpr int kBitsOfValidity = 8;
// The longest form in UTF-8 of a byte of another encoding.
constexpr std::size_t kMostGrowth = 3;

const quavmb::Encoding& EncodingOf(const QUAV_DataSource& source, const std::string& given) {
  const std::string name = given.empty() ? dstext::TextEncodingOf(source) : given;
  const quavmb::Encoding* const encoding = quavmb::Encoding::Find(name.c_str());
  return encoding != nullptr ? *encoding : quavmb::Encoding::Utf8();
}

}  // namespace

struct ColumnReader::Data {
  Data(const QUAV_DataSource& source, ColumnReaderOptions&& options);

  std::vector<std::size_t> CellsOf(const QUAV_DataSource& source) const;
  std::size_t ProbableRows(int most) const;
  int ReadBlock(int most);

  std::vector<int> columns;
  long long knownRows;  // of the source; negative when it does not know them
  long long nextRow;
  long long rowsLeft;
  std::size_t cellsPerCase = 0;  // of the chosen columns
  int rowsPerBatch;
  int blockRows;
  std::shared_ptr<BatchPool> pool = std::make_shared<BatchPool>();
  std::vector<std::unique_ptr<ColumnFiller>> fillers;  // one for each column
  std::vector<BatchColumn::Kind> kinds;
  std::vector<OBS*> targets;  // one for each cell
  std::unique_ptr<CellSource> cells;
};

ColumnReader::Data::Data(const QUAV_DataSource& source, ColumnReaderOptions&& options)
    : knownRows(source.RowCount()),
      nextRow(options.firstRow),
      rowsLeft(options.rows),
      rowsPerBatch(options.rowsPerBatch) {
  QUAV_ASSERT(options.firstRow >= 0 && options.rows >= 0 && options.rowsPerBatch >= 0, "no number is negative");
  const int count = static_cast<int>(source.ColumnCount());
  if (options.columns) {
    columns = *std::move(options.columns);
  } else {
    columns.resize(static_cast<std::size_t>(count));
    std::iota(columns.begin(), columns.end(), 0);
  }
  const bool exist = std::ranges::all_of(columns, [&](int column) { return 0 <= column && column < count; });
  QUAV_ASSERT(exist, "0 <= column < ColumnCount()");

  std::vector<std::size_t> chosen = CellsOf(source);
  cellsPerCase = chosen.size();
  const std::size_t caseBytes = std::max<std::size_t>(cellsPerCase, 1) * sizeof(OBS);
  if (rowsPerBatch == 0)
    rowsPerBatch = static_cast<int>(std::clamp<std::size_t>(kMostBytes / caseBytes, 1, kUsualRows));
  blockRows = static_cast<int>(std::clamp<std::size_t>(kBlockBytes / caseBytes, kBitsOfValidity, kBlockRows));
  blockRows -= blockRows % kBitsOfValidity;

  const quavmb::Encoding& encoding = EncodingOf(source, options.encoding);
  for (const int column : columns) {
    const QUAV_Variable& variable = source.GetVariable(column);
    const int type = variable.GetType();
    const std::size_t mostText = FieldSize(type) * kMostGrowth * static_cast<std::size_t>(rowsPerBatch);
    const bool isLong = type > 0 && mostText > std::numeric_limits<std::int32_t>::max();
    kinds.push_back(type <= 0 ? BatchColumn::Kind::number
                    : isLong  ? BatchColumn::Kind::long_text
                              : BatchColumn::Kind::text);
    if (type <= 0)
      fillers.push_back(std::make_unique<NumberFiller>(variable, options.dropUserMissing, blockRows));
    else
      fillers.push_back(std::make_unique<TextFiller>(variable, options.dropUserMissing, encoding, blockRows, isLong));
  }
  cells = MakeCellSource(source, std::move(chosen));
  if (nextRow != 0) cells->Seek(nextRow);
}

// Returns the cells of the chosen columns in the source's case.
std::vector<std::size_t> ColumnReader::Data::CellsOf(const QUAV_DataSource& source) const {
  std::vector<std::size_t> chosen;
  for (const int column : columns) {
    const auto first = static_cast<std::size_t>(source.ObsIndex(column));
    for (std::size_t cell = 0; cell < CellCount(source.GetVariable(column).GetType()); ++cell)
      chosen.push_back(first + cell);
  }
  return chosen;
}

// Returns how many of the next `most` rows there will be. The memory for them is bounded, as they may not exist.
std::size_t ColumnReader::Data::ProbableRows(int most) const {
  const std::size_t bound = std::max<std::size_t>(kMostBytes / sizeof(OBS) / std::max<std::size_t>(cellsPerCase, 1), 1);
  const std::size_t rows = std::min(static_cast<std::size_t>(most), bound);
  return knownRows < 0 ? rows : std::min(rows, static_cast<std::size_t>(std::max(knownRows - nextRow, 0LL)));
}

// Reads up to `most` cases, but no more than a block, into the columns. Returns their number.
int ColumnReader::Data::ReadBlock(int most) {
  targets.clear();
  for (const auto& filler : fillers)
    for (std::size_t cell = 0; cell < filler->Cells(); ++cell) targets.push_back(filler->Target(cell));
  const int count = cells->Read(targets.data(), std::min(most, blockRows));
  for (const auto& filler : fillers) filler->Add(count);
  return count;
}

ColumnReader::ColumnReader(const QUAV_DataSource& source, ColumnReaderOptions options)
    : m_(std::make_unique<Data>(source, std::move(options))) {}

ColumnReader::~ColumnReader() = default;

const std::vector<int>& ColumnReader::Columns() const { return m_->columns; }

BatchColumn::Kind ColumnReader::KindOf(int column) const { return m_->kinds.at(static_cast<std::size_t>(column)); }

std::shared_ptr<const ColumnBatch> ColumnReader::Next() {
  Data& d = *m_;
  const int most = static_cast<int>(std::min<long long>(d.rowsPerBatch, d.rowsLeft));
  if (most == 0) return nullptr;
  if (d.cells->Fault()) std::rethrow_exception(d.cells->Fault());
  std::unique_ptr<FilledBatch> filled = d.pool->Take(d.columns.size());
  const std::size_t probable = d.ProbableRows(most);
  for (std::size_t k = 0; k < d.fillers.size(); ++k) d.fillers[k]->Begin(filled->buffers[k], probable);

  int rows = 0;
  while (rows < most) {
    const int wanted = std::min(most - rows, d.blockRows);
    const int count = d.ReadBlock(wanted);
    rows += count;
    if (count < wanted) break;
  }
  if (rows == 0) {
    if (d.cells->Fault()) std::rethrow_exception(d.cells->Fault());
    d.rowsLeft = 0;
    return nullptr;
  }
  filled->batch.firstRow = d.nextRow;
  filled->batch.rows = rows;
  for (std::size_t k = 0; k < d.fillers.size(); ++k) d.fillers[k]->End(filled->batch.columns[k]);
  d.nextRow += rows;
  d.rowsLeft -= rows;
  return d.pool->Share(std::move(filled));
}
