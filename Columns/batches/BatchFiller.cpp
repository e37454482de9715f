#include "Columns/batches/BatchFiller.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <string>

#include "Columns/dictionary/DictionaryFacts.h"
#include "Platform/Assert.h"

namespace {

constexpr int kUsualRows = 65536;
// The cells of a usual batch: more of them would leave a second-level cache before they are used. At the same time so many
// that the threads seldom wait for each other.
constexpr std::size_t kUsualBytes = std::size_t{768} << 10;
// Batches of wide cases have so many rows, as long as their cells take no more than this: each column costs some time in
// each batch, however few rows it has.
constexpr std::size_t kLeastRows = 128;
constexpr std::size_t kBytesOfLeastRows = std::size_t{16} << 20;
constexpr std::size_t kMostBytes = std::size_t{64} << 20;  // that are taken before their rows have come
// The cells of so many cases are read at once, but no more than so many bytes; a multiple of 8, for the validity bits.
constexpr int kBlockRows = 1024;
constexpr std::size_t kBlockBytes = std::size_t{2} << 20;
constexpr int kRowsOfByte = 8;  // of the validity bits
// The longest form in UTF-8 of a byte of another encoding.
constexpr std::size_t kMostGrowth = 3;

const quavmb::Encoding& EncodingOf(const QUAV_DataSource& source, const std::string& given) {
  const std::string name = given.empty() ? dstext::TextEncodingOf(source) : given;
  const quavmb::Encoding* const encoding = quavmb::Encoding::Find(name.c_str());
  return encoding != nullptr ? *encoding : quavmb::Encoding::Utf8();
}

std::vector<int> ColumnsOf(const QUAV_DataSource& source, const ColumnReaderOptions& options) {
  const int count = static_cast<int>(source.ColumnCount());
  std::vector<int> columns(static_cast<std::size_t>(count));
  std::iota(columns.begin(), columns.end(), 0);
  if (options.columns) columns = *options.columns;
  const bool exist = std::ranges::all_of(columns, [&](int column) { return 0 <= column && column < count; });
  QUAV_ASSERT(exist, "0 <= column < ColumnCount()");
  return columns;
}

// The bytes of so many cells of each case; at least those of one.
std::size_t BytesOf(std::size_t cells) { return std::max<std::size_t>(cells, 1) * sizeof(OBS); }

// A multiple of 8 where it is at least 8: fewer rows at the end of a batch would be moved one by one.
int RowsOf(std::size_t bytes, std::size_t caseBytes) {
  const std::size_t least = std::clamp<std::size_t>(kBytesOfLeastRows / caseBytes, 1, kLeastRows);
  const auto rows = static_cast<int>(std::clamp<std::size_t>(bytes / caseBytes, least, kUsualRows));
  return rows < kRowsOfByte ? rows : rows - rows % kRowsOfByte;
}

BatchColumn::Kind KindOf(int type, int rowsPerBatch) {
  if (type <= 0) return BatchColumn::Kind::number;
  const std::size_t mostText = FieldSize(type) * kMostGrowth * static_cast<std::size_t>(rowsPerBatch);
  return mostText > std::numeric_limits<std::int32_t>::max() ? BatchColumn::Kind::long_text : BatchColumn::Kind::text;
}

}  // namespace

BatchPlan::BatchPlan(const QUAV_DataSource& source, const ColumnReaderOptions& options)
    : columns(ColumnsOf(source, options)),
      rowsPerBatch(options.rowsPerBatch),
      dropUserMissing(options.dropUserMissing),
      knownRows(source.RowCount()),
      encoding(EncodingOf(source, options.encoding)) {
  for (const int column : columns) {
    const auto first = static_cast<std::size_t>(source.ObsIndex(column));
    for (std::size_t cell = 0; cell < CellCount(source.GetVariable(column).GetType()); ++cell)
      cells.push_back(first + cell);
  }
  const std::size_t caseBytes = BytesOf(cells.size());
  if (rowsPerBatch == 0) rowsPerBatch = RowsOf(kUsualBytes, caseBytes);
  blockRows = static_cast<int>(std::clamp<std::size_t>(kBlockBytes / caseBytes, kRowsOfByte, kBlockRows));
  blockRows -= blockRows % kRowsOfByte;
  for (const int column : columns) kinds.push_back(KindOf(source.GetVariable(column).GetType(), rowsPerBatch));
}

int UsualRows(const QUAV_DataSource& source, const ColumnReaderOptions& options, std::size_t bytes) {
  std::size_t cells = 0;
  for (const int column : ColumnsOf(source, options)) cells += CellCount(source.GetVariable(column).GetType());
  return RowsOf(bytes, BytesOf(cells));
}

BatchFiller::BatchFiller(const QUAV_DataSource& source, const BatchPlan& plan)
    : m_blockRows(plan.blockRows), m_cellsPerCase(plan.cells.size()), m_knownRows(plan.knownRows) {
  for (std::size_t k = 0; k < plan.columns.size(); ++k) {
    const QUAV_Variable& variable = source.GetVariable(plan.columns[k]);
    if (plan.kinds[k] == BatchColumn::Kind::number)
      m_fillers.push_back(std::make_unique<NumberFiller>(variable, plan.dropUserMissing, m_blockRows));
    else
      m_fillers.push_back(std::make_unique<TextFiller>(variable, plan.dropUserMissing, plan.encoding, m_blockRows,
                                                       plan.kinds[k] == BatchColumn::Kind::long_text));
  }
}

// Returns how many of the next `most` rows there will be. The memory for them is bounded, as they may not exist.
std::size_t BatchFiller::ProbableRows(long long firstRow, int most) const {
  const std::size_t bound =
      std::max<std::size_t>(kMostBytes / sizeof(OBS) / std::max<std::size_t>(m_cellsPerCase, 1), 1);
  const std::size_t rows = std::min(static_cast<std::size_t>(most), bound);
  return m_knownRows < 0 ? rows : std::min(rows, static_cast<std::size_t>(std::max(m_knownRows - firstRow, 0LL)));
}

// Reads up to `most` cases, but no more than a block, into the columns. Returns their number.
int BatchFiller::ReadBlock(CellSource& cells, int most) {
  m_targets.clear();
  for (const auto& filler : m_fillers)
    for (std::size_t cell = 0; cell < filler->Cells(); ++cell) m_targets.push_back(filler->Target(cell));
  const int count = cells.Read(m_targets.data(), std::min(most, m_blockRows));
  for (const auto& filler : m_fillers) filler->Add(static_cast<std::size_t>(count));
  return count;
}

int BatchFiller::Fill(FilledBatch& filled, CellSource& cells, int most) {
  const std::size_t probable = ProbableRows(filled.batch.firstRow, most);
  for (std::size_t k = 0; k < m_fillers.size(); ++k) m_fillers[k]->Begin(filled.buffers[k], probable);
  int rows = 0;
  while (rows < most) {
    const int wanted = std::min(most - rows, m_blockRows);
    const int count = ReadBlock(cells, wanted);
    rows += count;
    if (count < wanted) break;
  }
  filled.batch.rows = rows;
  for (std::size_t k = 0; k < m_fillers.size(); ++k) m_fillers[k]->End(filled.batch.columns[k]);
  return rows;
}

std::unique_ptr<FilledBatch> BatchFiller::Prepare(long long firstRow, int rows) {
  auto batch = std::make_unique<FilledBatch>();
  batch->buffers.resize(m_fillers.size());
  const std::size_t probable = ProbableRows(firstRow, rows);
  for (std::size_t k = 0; k < m_fillers.size(); ++k) m_fillers[k]->Begin(batch->buffers[k], probable);
  return batch;
}
