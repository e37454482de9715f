// Measures how fast a file becomes columns, in batches on one thread, beside its rows by Next. The file is in the page
// cache. The limit is a memory copy of the decoded bytes; copy, rows and batches are timed alternately. The user of the
// cells adds up each of them. "copies" is the time over that of the copy, "rows" the time over that of the rows.

#include <benchmark/benchmark.h>

#include <cstring>
#include <filesystem>
#include <memory>
#include <string>

#include "Measuring.h"
#include "Tables.h"
#include "datasrc/ColumnReader.h"
#include "datasrc/Splits.h"
#include "datasrc/datasrc.h"

namespace {

// Uses each cell: adds up its bits.
std::uint64_t SumOf(const OBS* cells, std::size_t count) {
  std::uint64_t sum = 0;
  for (std::size_t k = 0; k < count; ++k) sum += cells[k].bits;
  return sum;
}

std::uint64_t SumOfRows(const QUAV_DataSource& source) {
  const std::unique_ptr<QUAV_InputCaseIterator> cases(source.MakeIterator(nullptr));
  const OBS* const cells = cases->GetObsPointer(0);
  const std::size_t count = source.GetObsAreaSize();
  std::uint64_t sum = 0;
  while (cases->Next() != 0) sum += SumOf(cells, count);
  return sum;
}

std::uint64_t SumOfText(std::string_view text) {
  std::uint64_t sum = 0;
  for (; text.size() >= sizeof sum; text.remove_prefix(sizeof sum)) {
    std::uint64_t word;
    std::memcpy(&word, text.data(), sizeof word);
    sum += word;
  }
  return sum;
}

std::uint64_t SumOfBatches(const QUAV_DataSource& source, const ColumnReaderOptions& options, long long* rows) {
  ColumnReader reader(source, options);
  std::uint64_t sum = 0;
  *rows = 0;
  while (const auto batch = reader.Next()) {
    *rows += batch->rows;
    for (const BatchColumn& column : batch->columns) {
      if (column.kind == BatchColumn::Kind::number) {
        for (long long row = 0; row < batch->rows; ++row) sum += NumberCell(column.numbers[row]).bits;
      } else {
        sum += SumOfText({column.text, static_cast<std::size_t>(column.offsets[batch->rows])});
      }
    }
  }
  return sum;
}

void Columns(benchmark::State& state, Table (*make)(), bool byteCodes, bool few) {
  const Table table = make();
  const TableFile file(table, byteCodes);
  const SystemFileDataSource source(file.Path(), "", false);
  ColumnReaderOptions options;
  const int count = static_cast<int>(source.ColumnCount());
  if (few) options.columns = {1, count / 2, count - 1};
  long long rows = 0;
  SumOfBatches(source, options, &rows);
  if (static_cast<std::size_t>(rows) != table.cases) {
    state.SkipWithError("the batches do not have all rows");
    return;
  }

  std::vector<OBS> copy(table.cells.size());
  double batches = 0.0;
  double byRow = 0.0;
  double copying = 0.0;
  for (auto _ : state) {
    const auto start = Clock::now();
    benchmark::DoNotOptimize(SumOfBatches(source, options, &rows));
    const auto middle = Clock::now();
    benchmark::DoNotOptimize(SumOfRows(source));
    const auto later = Clock::now();
    std::memcpy(copy.data(), table.cells.data(), table.Bytes());
    benchmark::ClobberMemory();
    batches += Seconds(middle - start);
    byRow += Seconds(later - middle);
    copying += Seconds(Clock::now() - later);
    state.SetIterationTime(Seconds(middle - start));
  }
  const auto iterations = static_cast<double>(state.iterations());
  state.counters["copies"] = batches / copying;
  state.counters["rows"] = batches / byRow;
  state.counters["rows_ms"] = byRow / iterations * 1e3;
  state.counters["copy_ms"] = copying / iterations * 1e3;
}

// The cases of a table in zlib blocks.
class ZlibFile {
 public:
  explicit ZlibFile(const Table& table) {
    const TableFile file(table, true);
    const SystemFileDataSource source(file.Path(), "", false);
    SystemFileDataSource written;
    written.CopyDictionary(source);
    written.SetCompressionLevel(2);
    written.SetFileSpec((file.Path() + ".zlib").c_str());
    const std::unique_ptr<QUAV_InputCaseIterator> cases(source.MakeIterator(nullptr));
    while (cases->Next() != 0) written.AddRow(cases->GetObsPointer(0));
    written.Close();
    m_path = written.GetFileSpec();
  }
  ~ZlibFile() { std::filesystem::remove(m_path); }
  ZlibFile(const ZlibFile&) = delete;
  ZlibFile& operator=(const ZlibFile&) = delete;

  const std::string& Path() const { return m_path; }

 private:
  std::string m_path;
};

// Measures batches on two threads beside those on one. "ones" is the time over that of one.
template <class File>
void OnTwoThreads(benchmark::State& state, const File& file, bool few) {
  const SystemFileDataSource source(file.Path(), "", false);
  ColumnReaderOptions one;
  const int count = static_cast<int>(source.ColumnCount());
  if (few) one.columns = {1, count / 2, count - 1};
  ColumnReaderOptions two = one;
  two.threads = 2;
  long long rows = 0;
  if (SumOfBatches(source, one, &rows) != SumOfBatches(source, two, &rows)) {
    state.SkipWithError("two threads read something else");
    return;
  }
  double ones = 0.0;
  double twos = 0.0;
  for (auto _ : state) {
    const auto start = Clock::now();
    benchmark::DoNotOptimize(SumOfBatches(source, two, &rows));
    const auto middle = Clock::now();
    benchmark::DoNotOptimize(SumOfBatches(source, one, &rows));
    twos += Seconds(middle - start);
    ones += Seconds(Clock::now() - middle);
    state.SetIterationTime(Seconds(middle - start));
  }
  state.counters["ones"] = twos / ones;
  state.counters["one_ms"] = ones / static_cast<double>(state.iterations()) * 1e3;
}

void TwoThreads(benchmark::State& state, Table (*make)(), bool byteCodes, bool few) {
  OnTwoThreads(state, TableFile(make(), byteCodes), few);
}

void TwoThreadsZlib(benchmark::State& state, Table (*make)(), bool few) { OnTwoThreads(state, ZlibFile(make()), few); }

#define TWO_THREADS(function, table, kind, ...)                         \
  BENCHMARK_CAPTURE(function, table##_##kind, Make##table, __VA_ARGS__) \
      ->UseManualTime()                                                 \
      ->Unit(benchmark::kMillisecond)                                   \
      ->Iterations(5)                                                   \
      ->Repetitions(3)                                                  \
      ->ReportAggregatesOnly()

// Measures the walk that finds splits, beside a scan of all columns. "scans" is its time over that of the scan.
void FindSplits(benchmark::State& state, Table (*make)(), bool byteCodes) {
  const Table table = make();
  const TableFile file(table, byteCodes);
  const SystemFileDataSource source(file.Path(), "", false);
  if (MakeSplits(source, 16).size() != 16) {
    state.SkipWithError("there are not 16 splits");
    return;
  }
  long long rows = 0;
  double splits = 0.0;
  double scans = 0.0;
  for (auto _ : state) {
    const auto start = Clock::now();
    benchmark::DoNotOptimize(MakeSplits(source, 16));
    const auto middle = Clock::now();
    benchmark::DoNotOptimize(SumOfBatches(source, {}, &rows));
    splits += Seconds(middle - start);
    scans += Seconds(Clock::now() - middle);
    state.SetIterationTime(Seconds(middle - start));
  }
  state.counters["scans"] = splits / scans;
}

#define SPLITS(table, kind, byteCodes)                                  \
  BENCHMARK_CAPTURE(FindSplits, table##_##kind, Make##table, byteCodes) \
      ->UseManualTime()                                                 \
      ->Unit(benchmark::kMillisecond)                                   \
      ->Iterations(5)                                                   \
      ->Repetitions(3)                                                  \
      ->ReportAggregatesOnly()

#define COLUMNS(table, kind, byteCodes, few)                              \
  BENCHMARK_CAPTURE(Columns, table##_##kind, Make##table, byteCodes, few) \
      ->UseManualTime()                                                   \
      ->Unit(benchmark::kMillisecond)                                     \
      ->Iterations(5)                                                     \
      ->Repetitions(3)                                                    \
      ->ReportAggregatesOnly()

COLUMNS(T1, plain_all, false, false);
COLUMNS(T2, plain_all, false, false);
COLUMNS(T3, plain_all, false, false);
COLUMNS(T1, bytecode_all, true, false);
COLUMNS(T2, bytecode_all, true, false);
COLUMNS(T3, bytecode_all, true, false);
COLUMNS(T1, bytecode_three, true, true);
COLUMNS(T2, bytecode_three, true, true);
COLUMNS(T3, bytecode_three, true, true);
SPLITS(T1, bytecode, true);
SPLITS(T2, bytecode, true);
SPLITS(T3, bytecode, true);
TWO_THREADS(TwoThreads, T1, plain_all, false, false);
TWO_THREADS(TwoThreads, T1, bytecode_all, true, false);
TWO_THREADS(TwoThreads, T2, bytecode_all, true, false);
TWO_THREADS(TwoThreads, T3, bytecode_all, true, false);
TWO_THREADS(TwoThreads, T1, bytecode_three, true, true);
TWO_THREADS(TwoThreads, T2, bytecode_three, true, true);
TWO_THREADS(TwoThreads, T3, bytecode_three, true, true);
TWO_THREADS(TwoThreadsZlib, T1, zlib_all, false);
TWO_THREADS(TwoThreadsZlib, T2, zlib_all, false);
TWO_THREADS(TwoThreadsZlib, T3, zlib_all, false);

}  // namespace
