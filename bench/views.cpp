// Measures how fast a view in UTF-8 delivers the cases of a file in windows-1252: table T3, in which 2% of the text
// fields have a letter beyond ASCII. The limit is the iterator below the view, over the same file; both are timed
// alternately. "ratio" is the time of that iterator divided by that of the view.

#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "Measuring.h"
#include "Tables.h"
#include "datasrc/datasrc.h"

namespace {

constexpr char kEncoding[] = "windows-1252";
constexpr char kLetter = '\xE9';              // in windows-1252
constexpr char kLetterInUtf8[] = "\xC3\xA9";  // the same letter
constexpr int kGrowth = 3;                    // the factor by which strings grow in the view

// Returns T3 with a letter beyond ASCII in 2% of its text fields.
Table MakeText() {
  Table table = MakeT3();
  std::mt19937_64 random(3);
  OBS* cell = table.cells.data();
  for (std::size_t row = 0; row < table.cases; ++row) {
    for (const int type : table.types) {
      // Text fills at least half of a field.
      if (type != 0 && random() % 50 == 0) CellText(cell)[random() % static_cast<unsigned>(type / 2)] = kLetter;
      cell += CellCount(type);
    }
  }
  return table;
}

// Returns the cells that the view must deliver, computed in the simplest way.
std::vector<OBS> InUtf8(const Table& table) {
  std::vector<OBS> cells;
  const OBS* cell = table.cells.data();
  for (std::size_t row = 0; row < table.cases; ++row) {
    for (const int type : table.types) {
      if (type == 0) {
        cells.push_back(*cell);
      } else {
        std::string text;
        for (const char byte : std::string(CellText(cell), static_cast<std::size_t>(type)))
          byte == kLetter ? text += kLetterInUtf8 : text += byte;
        text.resize(CellCount(kGrowth * type) * sizeof(OBS), ' ');
        const std::size_t at = cells.size();
        cells.resize(at + text.size() / sizeof(OBS));
        std::memcpy(&cells[at], text.data(), text.size());
      }
      cell += CellCount(type);
    }
  }
  return cells;
}

void ReadInUtf8(benchmark::State& state, bool byteCodes) {
  const SystemFileDataSource::TemporaryCodePage utf8("", 1);
  const Table table = MakeText();
  const TableFile file(table, byteCodes);
  const SystemFileDataSource source(file.Path(), "", false);
  const UTF8DataSource view(source, kEncoding, nullptr);
  const std::vector<OBS> expected = InUtf8(table);
  std::uint64_t sum = 0;
  if (ReadAll(view, &sum) != table.cases || sum != Checksum(0, expected.data(), expected.size())) {
    state.SkipWithError("the cases of the view differ from the table");
    return;
  }

  double viewing = 0.0;
  double reading = 0.0;
  for (auto _ : state) {
    const auto start = Clock::now();
    ReadAll(view, nullptr);
    const auto middle = Clock::now();
    ReadAll(source, nullptr);
    viewing += Seconds(middle - start);
    reading += Seconds(Clock::now() - middle);
    state.SetIterationTime(Seconds(middle - start));
  }
  const auto cases = static_cast<double>(table.cases) * static_cast<double>(state.iterations());
  state.counters["ratio"] = reading / viewing;
  state.counters["Mcases/s"] = cases / viewing / 1e6;
  state.counters["source_Mcases/s"] = cases / reading / 1e6;
  state.counters["extra_ns/field"] = (viewing - reading) / cases / 5 * 1e9;
}

#define READ_IN_UTF8(kind, byteCodes)                 \
  BENCHMARK_CAPTURE(ReadInUtf8, T3_##kind, byteCodes) \
      ->UseManualTime()                               \
      ->Unit(benchmark::kMillisecond)                 \
      ->Iterations(5)                                 \
      ->Repetitions(3)                                \
      ->ReportAggregatesOnly()

READ_IN_UTF8(plain, false);
READ_IN_UTF8(bytecode, true);

}  // namespace
