// Measures how fast cases are read: each table, plain and in byte codes, through MakeIterator and Next on one thread.
// The file is in the page cache. The limit is a memory copy of the same decoded bytes; copy and reading are timed
// alternately. "ratio" is the time of the copy divided by that of the reading.

#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>

#include "Measuring.h"
#include "Tables.h"
#include "datasrc/datasrc.h"

namespace {

// Compares the cases with the table, then times the reading.
void ReadCases(benchmark::State& state, Table (*make)(), bool byteCodes) {
  const Table table = make();
  const TableFile file(table, byteCodes);
  const SystemFileDataSource source(file.Path(), "", false);
  const std::uint64_t expected = Checksum(0, table.cells.data(), table.cells.size());
  std::uint64_t sum = 0;
  if (ReadAll(source, &sum) != table.cases || sum != expected) {
    state.SkipWithError("the cases read differ from the table");
    return;
  }

  std::vector<OBS> copy(table.cells.size());
  double reading = 0.0;
  double copying = 0.0;
  for (auto _ : state) {
    const auto start = Clock::now();
    ReadAll(source, nullptr);
    const auto middle = Clock::now();
    std::memcpy(copy.data(), table.cells.data(), table.Bytes());
    benchmark::ClobberMemory();
    reading += Seconds(middle - start);
    copying += Seconds(Clock::now() - middle);
    state.SetIterationTime(Seconds(middle - start));
  }
  const auto bytes = static_cast<double>(table.Bytes()) * static_cast<double>(state.iterations());
  state.counters["ratio"] = copying / reading;
  state.counters["MB/s"] = bytes / reading / 1e6;
  state.counters["copy_MB/s"] = bytes / copying / 1e6;
  state.counters["Mcases/s"] =
      static_cast<double>(table.cases) * static_cast<double>(state.iterations()) / reading / 1e6;
}

#define READ_CASES(table, kind, byteCodes)                             \
  BENCHMARK_CAPTURE(ReadCases, table##_##kind, Make##table, byteCodes) \
      ->UseManualTime()                                                \
      ->Unit(benchmark::kMillisecond)                                  \
      ->Iterations(5)                                                  \
      ->Repetitions(3)                                                 \
      ->ReportAggregatesOnly()

READ_CASES(T1, plain, false);
READ_CASES(T2, plain, false);
READ_CASES(T3, plain, false);
READ_CASES(T1, bytecode, true);
READ_CASES(T2, bytecode, true);
READ_CASES(T3, bytecode, true);

}  // namespace
