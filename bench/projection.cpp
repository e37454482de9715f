// Measures how fast a projection delivers cases of T1 in byte codes: 3 of its 50 columns, and all 50 in another
// order. The limit is the iterator below the projection, over the same file; both are timed alternately. "ratio" is
// the time of that iterator divided by that of the projection. "allocations/case" counts the allocations of a pass
// over the projection minus those of a pass below it, per case.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <memory>
#include <new>
#include <numeric>
#include <random>
#include <vector>

#include "Measuring.h"
#include "Tables.h"
#include "datasrc/datasrc.h"

namespace {

std::atomic<std::size_t> allocations{0};

}  // namespace

// The allocations of the library also use these. They are not inlined, so that the compiler sees that they belong
// together.
[[gnu::noinline]] void* operator new(std::size_t size) {
  ++allocations;
  if (void* const memory = std::malloc(size)) return memory;
  throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace {

constexpr std::size_t kColumns = 50;

std::vector<unsigned int> Three() { return {41, 3, 17}; }

std::vector<unsigned int> Shuffled() {
  std::vector<unsigned int> columns(kColumns);
  std::iota(columns.begin(), columns.end(), 0U);
  std::ranges::shuffle(columns, std::mt19937_64(1));
  return columns;
}

std::size_t AllocationsOf(const QUAV_DataSource& source) {
  const std::size_t before = allocations;
  ReadAll(source, nullptr);
  return allocations - before;
}

std::uint64_t ChecksumOf(const Table& table, const std::vector<unsigned int>& columns) {
  std::uint64_t sum = 0;
  std::vector<OBS> row(columns.size());
  for (std::size_t i = 0; i < table.cases; ++i) {
    for (std::size_t k = 0; k < columns.size(); ++k) row[k] = table.cells[i * kColumns + columns[k]];
    sum = Checksum(sum, row.data(), row.size());
  }
  return sum;
}

void Project(benchmark::State& state, std::vector<unsigned int> (*choose)()) {
  const Table table = MakeT1();
  const TableFile file(table, true);
  const SystemFileDataSource source(file.Path(), "", false);
  const std::vector<unsigned int> columns = choose();
  const QUAV_CProjection projection(source, columns.data(), static_cast<unsigned int>(columns.size()));
  std::uint64_t sum = 0;
  if (ReadAll(projection, &sum) != table.cases || sum != ChecksumOf(table, columns)) {
    state.SkipWithError("the cases of the projection differ from the table");
    return;
  }
  const std::size_t below = AllocationsOf(source);
  const std::size_t above = AllocationsOf(projection);

  double projecting = 0.0;
  double reading = 0.0;
  for (auto _ : state) {
    const auto start = Clock::now();
    ReadAll(projection, nullptr);
    const auto middle = Clock::now();
    ReadAll(source, nullptr);
    projecting += Seconds(middle - start);
    reading += Seconds(Clock::now() - middle);
    state.SetIterationTime(Seconds(middle - start));
  }
  const auto cases = static_cast<double>(table.cases);
  const double passes = static_cast<double>(state.iterations());
  state.counters["ratio"] = reading / projecting;
  state.counters["Mcases/s"] = cases * passes / projecting / 1e6;
  state.counters["allocations/case"] = (static_cast<double>(above) - static_cast<double>(below)) / cases;
}

#define PROJECT(name, choose)              \
  BENCHMARK_CAPTURE(Project, name, choose) \
      ->UseManualTime()                    \
      ->Unit(benchmark::kMillisecond)      \
      ->Iterations(5)                      \
      ->Repetitions(3)                     \
      ->ReportAggregatesOnly()

PROJECT(T1_3_of_50, Three);
PROJECT(T1_50_shuffled, Shuffled);

}  // namespace
