// Opens the input as a system file and reads it in batches of columns with options that the input chooses: the batches
// have the cells that an iterator has.

#include <fuzzer/FuzzedDataProvider.h>

#include <cstring>
#include <memory>
#include <optional>
#include <vector>

#include "SystemFileInput.h"
#include "datasrc/ColumnReader.h"
#include "datasrc/datasrc.h"

namespace {

constexpr long long kMaxCases = 2000;
constexpr unsigned int kMaxCells = 1 << 12;
constexpr std::size_t kOptionBytes = 16;  // at the end of the input

void Require(bool condition) {
  if (!condition) __builtin_trap();
}

ColumnReaderOptions Options(FuzzedDataProvider& choices, int columns) {
  ColumnReaderOptions options{.columns = std::vector<int>()};
  for (int count = choices.ConsumeIntegralInRange(0, 5); count > 0; --count)
    options.columns->push_back(choices.ConsumeIntegralInRange(0, columns - 1));
  if (choices.ConsumeBool()) options.columns.reset();
  options.firstRow = choices.ConsumeIntegralInRange(0, 50);
  options.rows = choices.ConsumeIntegralInRange<long long>(0, kMaxCases);
  options.rowsPerBatch = choices.ConsumeIntegralInRange(0, 300);
  options.dropUserMissing = choices.ConsumeBool();
  options.threads = choices.ConsumeIntegralInRange(1, 2);
  return options;
}

// Reads the same rows case by case, beside the batches.
class Rows {
 public:
  Rows(const QUAV_DataSource& source, long long first) : m_source(source), m_cases(source.MakeIterator(nullptr)) {
    m_atStart = m_cases->Seek(first) != 0;
  }

  void RequireNext(const ColumnBatch& batch, long long row, const std::vector<int>& columns) {
    Require(m_atStart && m_cases->Next() != 0);
    for (std::size_t k = 0; k < columns.size(); ++k) {
      if (batch.columns[k].kind != BatchColumn::Kind::number) continue;
      const OBS cell = m_cases->GetObsPointer(0)[m_source.ObsIndex(columns[k])];
      Require(NumberCell(batch.columns[k].numbers[row]) == cell || !batch.columns[k].HasValue(row));
    }
  }

 private:
  const QUAV_DataSource& m_source;
  std::unique_ptr<QUAV_InputCaseIterator> m_cases;
  bool m_atStart;
};

void ReadInBatches(const QUAV_DataSource& source, const ColumnReaderOptions& options) {
  ColumnReader reader(source, options);
  Rows rows(source, options.firstRow);
  long long count = 0;
  while (const auto batch = reader.Next()) {
    Require(batch->rows > 0 && batch->firstRow == options.firstRow + count);
    for (long long row = 0; row < batch->rows; ++row) rows.RequireNext(*batch, row, reader.Columns());
    count += batch->rows;
    if (count >= kMaxCases) return;
  }
  Require(count <= options.rows);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < kOptionBytes) return 0;
  FuzzedDataProvider choices(data + size - kOptionBytes, kOptionBytes);
  UseSystemFile(data, size - kOptionBytes, [&](const SystemFileDataSource& source) {
    if (HasCells(source, kMaxCells)) ReadInBatches(source, Options(choices, static_cast<int>(source.ColumnCount())));
  });
  return 0;
}
