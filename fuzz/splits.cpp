// Opens the input as a system file and divides it: the splits have the cases of the whole, in order, and only the last has
// its fault.

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "SystemFileInput.h"
#include "datasrc/ColumnReader.h"
#include "datasrc/Splits.h"
#include "datasrc/datasrc.h"

namespace {

constexpr std::size_t kMaxCases = 2000;
constexpr unsigned int kMaxCells = 1 << 10;
constexpr std::size_t kOptionBytes = 8;  // at the end of the input

void Require(bool condition) {
  if (!condition) __builtin_trap();
}

struct Cases {
  std::vector<std::string> cases;  // the cells of each
  std::optional<int> fault;

  bool operator==(const Cases&) const = default;
};

void AppendCell(std::string& cells, const BatchColumn& column, long long row) {
  cells += column.HasValue(row) ? 'x' : '-';
  if (column.kind == BatchColumn::Kind::number) {
    const OBS cell = NumberCell(column.numbers[row]);
    cells.append(CellText(&cell), sizeof(cell));
  } else {
    cells.append(column.Text(row)).append(1, '\0');
  }
}

// Stops soon after kMaxCases.
void Read(Cases& all, const QUAV_DataSource& source, const ColumnReaderOptions& options) {
  ColumnReader reader(source, options);
  try {
    while (const auto batch = reader.Next()) {
      for (long long row = 0; row < batch->rows; ++row)
        for (std::string& cells = all.cases.emplace_back(); const BatchColumn& column : batch->columns)
          AppendCell(cells, column, row);
      if (all.cases.size() > kMaxCases) return;
    }
  } catch (const QuavServerError& error) {
    all.fault = error.Number();
  }
}

Cases ReadSplits(const std::vector<std::string>& tokens, const ColumnReaderOptions& options) {
  Cases all;
  for (const std::string& token : tokens) {
    Require(!all.fault);
    const Split split = OpenSplit(token);
    const std::size_t before = all.cases.size();
    Require(split.firstRow == static_cast<long long>(before));
    Read(all, *split.source, split.InSource(options));
    Require(split.rows == static_cast<long long>(all.cases.size() - before));
    Require(split.rows > 0 || tokens.size() == 1);
    Require(split.isLast == (&token == &tokens.back()));
  }
  return all;
}

void ReadWholeAndSplits(const SystemFileDataSource& source, FuzzedDataProvider& choices) {
  ColumnReaderOptions options;
  options.rowsPerBatch = choices.ConsumeIntegralInRange(0, 300);
  if (choices.ConsumeBool())
    options.columns = {{choices.ConsumeIntegralInRange(0, static_cast<int>(source.ColumnCount()) - 1)}};
  Cases whole;
  Read(whole, source, options);
  if (whole.cases.size() > kMaxCases) return;
  options.threads = choices.ConsumeIntegralInRange(1, 2);
  try {
    Require(whole == ReadSplits(MakeSplits(source, choices.ConsumeIntegralInRange(1, 20)), options));
  } catch (const SplitError&) {
    Require(false);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < kOptionBytes) return 0;
  FuzzedDataProvider choices(data + size - kOptionBytes, kOptionBytes);
  UseSystemFile(data, size - kOptionBytes, [&](const SystemFileDataSource& source) {
    if (HasCells(source, kMaxCells)) ReadWholeAndSplits(source, choices);
  });
  return 0;
}
