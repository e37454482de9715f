// Measures how fast cases are written: each table, plain and in byte codes, through CommitDictionary, AddRow and
// Close on one thread, to a new file. The limit is a write of the same file from memory in pieces of 256 KiB; both
// are timed alternately. "ratio" is the time of the limit divided by that of the writing. "copies" is the extra time
// of the writing over the limit, divided by the time of a memory copy of the table's cells.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "Measuring.h"
#include "Tables.h"
#include "datasrc/datasrc.h"

namespace {

void WriteTable(const Table& table, bool byteCodes, const std::string& path) {
  SystemFileDataSource file;
  int number = 0;
  for (const int type : table.types) file.MakeVariable(type, nullptr).SetName(("V" + std::to_string(++number)).c_str());
  file.SetCompression(byteCodes);
  file.SetFileSpec(path.c_str());
  file.CommitDictionary();
  for (std::size_t row = 0; row < table.cases; ++row) file.AddRow(&table.cells[row * table.cellsPerCase]);
  file.Close();
}

bool HoldsTable(const Table& table, const std::string& path) {
  std::uint64_t sum = 0;
  const std::size_t rows = ReadAll(SystemFileDataSource(path, "", false), &sum);
  return rows == table.cases && sum == Checksum(0, table.cells.data(), table.cells.size());
}

std::vector<char> Contents(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void WriteBytes(const std::vector<char>& bytes, const std::string& path) {
  constexpr std::size_t kPiece = 256UL * 1024;
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  for (std::size_t done = 0; done < bytes.size(); done += kPiece) {
    const std::size_t size = std::min(kPiece, bytes.size() - done);
    if (write(file, &bytes[done], size) != static_cast<ssize_t>(size)) throw std::runtime_error("cannot write " + path);
  }
  close(file);
}

void WriteCases(benchmark::State& state, Table (*make)(), bool byteCodes) {
  const Table table = make();
  const std::string path = (std::filesystem::temp_directory_path() / ("datasrc_bench_" + table.name)).string();
  WriteTable(table, byteCodes, path);
  if (!HoldsTable(table, path)) {
    state.SkipWithError("the file does not hold the table");
    return;
  }
  const std::vector<char> bytes = Contents(path);
  std::vector<OBS> copy(table.cells.size());
  double writing = 0.0;
  double limit = 0.0;
  double copying = 0.0;
  for (auto _ : state) {
    std::filesystem::remove(path);
    const auto start = Clock::now();
    WriteTable(table, byteCodes, path);
    const auto written = Clock::now();
    std::filesystem::remove(path);
    const auto limitStart = Clock::now();
    WriteBytes(bytes, path);
    const auto limitEnd = Clock::now();
    std::memcpy(copy.data(), table.cells.data(), table.Bytes());
    benchmark::ClobberMemory();
    copying += Seconds(Clock::now() - limitEnd);
    limit += Seconds(limitEnd - limitStart);
    writing += Seconds(written - start);
    state.SetIterationTime(Seconds(written - start));
  }
  std::filesystem::remove(path);
  state.counters["ratio"] = limit / writing;
  state.counters["copies"] = (writing - limit) / copying;
  state.counters["limit_ms"] = limit * 1e3 / static_cast<double>(state.iterations());
  state.counters["copy_ms"] = copying * 1e3 / static_cast<double>(state.iterations());
  state.counters["Mcases/s"] =
      static_cast<double>(table.cases) * static_cast<double>(state.iterations()) / writing / 1e6;
}

#define WRITE_CASES(table, kind, byteCodes)                             \
  BENCHMARK_CAPTURE(WriteCases, table##_##kind, Make##table, byteCodes) \
      ->UseManualTime()                                                 \
      ->Unit(benchmark::kMillisecond)                                   \
      ->Iterations(5)                                                   \
      ->Repetitions(3)                                                  \
      ->ReportAggregatesOnly()

WRITE_CASES(T1, plain, false);
WRITE_CASES(T2, plain, false);
WRITE_CASES(T3, plain, false);
WRITE_CASES(T1, bytecode, true);
WRITE_CASES(T2, bytecode, true);
WRITE_CASES(T3, bytecode, true);

}  // namespace
