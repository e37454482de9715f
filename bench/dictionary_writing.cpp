// Measures how the time to write a dictionary grows with its variables. They have labels and long names whose short
// forms collide. `wide` uses very long strings, whose segments need names too.

#include <benchmark/benchmark.h>

#include <filesystem>
#include <string>

#include "datasrc/datasrc.h"

namespace {

void WriteDictionary(benchmark::State& state, int type) {
  const auto variables = static_cast<int>(state.range(0));
  SystemFileDataSource dictionary;
  for (int i = 0; i < variables; ++i) {
    QUAV_Variable& variable = dictionary.MakeVariable(type, nullptr);
    variable.SetName(("a_long_name_of_variable_" + std::to_string(i)).c_str());
    variable.SetLabel(("the label of variable number " + std::to_string(i)).c_str());
  }
  const std::string path = (std::filesystem::temp_directory_path() / "datasrc_bench_dictionary").string();
  for (auto _ : state) {
    SystemFileDataSource file;
    file.CopyDictionary(dictionary);
    file.SetFileSpec(path.c_str());
    file.CommitDictionary();
    file.Close();
  }
  std::filesystem::remove(path);
  state.counters["us/variable"] =
      benchmark::Counter(static_cast<double>(variables) * static_cast<double>(state.iterations()) / 1e6,
                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
BENCHMARK_CAPTURE(WriteDictionary, numbers, 0)
    ->RangeMultiplier(10)
    ->Range(1'000, 100'000)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(WriteDictionary, wide, 300)
    ->RangeMultiplier(10)
    ->Range(1'000, 100'000)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

}  // namespace
