// Measures how fast a file opens: dictionaries of numeric variables with labels. The time per variable shows whether
// opening is linear.

#include <benchmark/benchmark.h>

#include "Tables.h"
#include "datasrc/datasrc.h"

namespace {

void OpenFile(benchmark::State& state) {
  const auto variables = static_cast<int>(state.range(0));
  const TableFile file(variables);
  for (auto _ : state) {
    const SystemFileDataSource source(file.Path(), "", false);
    if (source.ColumnCount() != static_cast<std::size_t>(variables)) state.SkipWithError("variables are missing");
  }
  state.counters["us/variable"] =
      benchmark::Counter(static_cast<double>(variables) / 1e6,
                         benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

BENCHMARK(OpenFile)->Arg(1'000)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
