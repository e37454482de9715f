// Measures how the time to form and parse the record of variable attributes grows with the variables. Each variable
// has five attributes. Every file is made or opened twice, with and without the attributes; the difference is the
// time for the attributes. "ns/attribute" shows over all sizes whether it is linear. The limit is a memory copy of
// the attributes' text; "ratio" is the time of the copy divided by the difference.

#include <benchmark/benchmark.h>

#include <cstring>
#include <filesystem>
#include <string>

#include "Measuring.h"
#include "datasrc/datasrc.h"

namespace {

constexpr int kAttributesOfVariable = 5;

DatasourceAttributes AttributesOf(int variable) {
  DatasourceAttributes attributes;
  for (int k = 0; k < kAttributesOfVariable; ++k)
    attributes.Define("attribute_" + std::to_string(k), {"value of variable " + std::to_string(variable), "it's"});
  return attributes;
}

// A dictionary, and the file that it is written to.
class Dictionary {
 public:
  Dictionary(int variables, bool hasAttributes)
      : m_path(
            (std::filesystem::temp_directory_path() / (hasAttributes ? "datasrc_bench_with" : "datasrc_bench_without"))
                .string()) {
    for (int i = 0; i < variables; ++i) {
      QUAV_Variable& variable = m_dictionary.MakeVariable(0, nullptr);
      variable.SetName(("a_long_name_of_variable_" + std::to_string(i)).c_str());
      if (hasAttributes) variable.SetAttributes(AttributesOf(i));
    }
    Write();
  }
  ~Dictionary() { std::filesystem::remove(m_path); }
  Dictionary(const Dictionary&) = delete;
  Dictionary& operator=(const Dictionary&) = delete;

  void Write() const {
    SystemFileDataSource file;
    file.CopyDictionary(m_dictionary);
    file.SetFileSpec(m_path.c_str());
    file.CommitDictionary();
    file.Close();
  }
  void Read() const {
    const SystemFileDataSource file(m_path, "", false);
    benchmark::DoNotOptimize(file.ColumnCount());
  }
  bool IsReadAsWritten() const {
    const SystemFileDataSource file(m_path, "", false);
    if (file.ColumnCount() != m_dictionary.ColumnCount()) return false;
    for (int column = 0; column < static_cast<int>(file.ColumnCount()); ++column)
      if (!(file.GetVariable(column).GetAttributes() == m_dictionary.GetVariable(column).GetAttributes())) return false;
    return true;
  }
  std::string Text() const {
    std::string text;
    for (int column = 0; column < static_cast<int>(m_dictionary.ColumnCount()); ++column)
      text += m_dictionary.GetVariable(column).GetAttributes().MakeString();
    return text;
  }

 private:
  std::string m_path;
  SystemFileDataSource m_dictionary;
};

double TimeOf(const Dictionary& dictionary, void (Dictionary::*work)() const) {
  const auto start = Clock::now();
  (dictionary.*work)();
  return Seconds(Clock::now() - start);
}

void AttributesOfVariables(benchmark::State& state, void (Dictionary::*work)() const) {
  const auto variables = static_cast<int>(state.range(0));
  const Dictionary with(variables, true);
  const Dictionary without(variables, false);
  if (!with.IsReadAsWritten() || !without.IsReadAsWritten()) {
    state.SkipWithError("the attributes read differ from those written");
    return;
  }
  const std::string text = with.Text();
  std::string copy(text.size(), '\0');
  double ofAttributes = 0.0;
  double copying = 0.0;
  for (auto _ : state) {
    const double time = TimeOf(with, work);
    ofAttributes += time - TimeOf(without, work);
    const auto start = Clock::now();
    std::memcpy(copy.data(), text.data(), text.size());
    benchmark::ClobberMemory();
    copying += Seconds(Clock::now() - start);
    state.SetIterationTime(time);
  }
  const double attributes =
      static_cast<double>(variables) * kAttributesOfVariable * static_cast<double>(state.iterations());
  state.counters["ns/attribute"] = ofAttributes / attributes * 1e9;
  state.counters["MB/s"] =
      static_cast<double>(text.size()) * static_cast<double>(state.iterations()) / ofAttributes / 1e6;
  state.counters["ratio"] = copying / ofAttributes;
}

BENCHMARK_CAPTURE(AttributesOfVariables, form, &Dictionary::Write)
    ->Arg(1'000)
    ->Arg(10'000)
    ->Arg(40'000)
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime();
BENCHMARK_CAPTURE(AttributesOfVariables, parse, &Dictionary::Read)
    ->Arg(1'000)
    ->Arg(10'000)
    ->Arg(40'000)
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime();

}  // namespace
