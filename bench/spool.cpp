// How fast cases are spooled: each table through a TempFileDataStore, AddRow for every case, Close, and one walk by an
// iterator, on one thread; the store's file is enciphered. The limit is a raw write of the same cells, 256 KiB at a
// time, to a file in the same directory, and a pread of them all, timed in turn with it. "ratio" is the store's time by
// the limit's, "cpu_ratio" the same of the thread's own time: what other work on the machine disturbs least. "MB/s"
// counts the table's cells once for both ways.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "Tables.h"
#include "datasrc/datasrc.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kPiece = 256UL * 1024;

double Seconds(Clock::duration time) { return std::chrono::duration<double>(time).count(); }

void MakeColumns(const Table& table, TempFileDataStore& store) {
  int number = 0;
  for (const int type : table.types)
    store.MakeVariable(type, nullptr).SetName(("V" + std::to_string(++number)).c_str());
}

double ThreadSeconds() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

struct Times {
  double writing = 0.0;
  double reading = 0.0;
  double thread = 0.0;  // of both
  double Both() const { return writing + reading; }
  void Add(const Times& other) {
    writing += other.writing;
    reading += other.reading;
    thread += other.thread;
  }
};

Times SpoolTable(const Table& table) {
  const double thread = ThreadSeconds();
  const auto start = Clock::now();
  TempFileDataStore store(nullptr);
  MakeColumns(table, store);
  for (std::size_t row = 0; row < table.cases; ++row) store.AddRow(&table.cells[row * table.cellsPerCase]);
  store.Close();
  const auto written = Clock::now();
  const std::unique_ptr<QUAV_InputCaseIterator> cases(store.MakeIterator(nullptr));
  std::size_t rows = 0;
  for (; cases->Next() != 0; ++rows) benchmark::DoNotOptimize(cases->GetObsPointer(0));
  const auto read = Clock::now();
  if (rows != table.cases) throw std::runtime_error("cases are missing");
  return {Seconds(written - start), Seconds(read - written), ThreadSeconds() - thread};
}

bool HoldsTable(const Table& table) {
  TempFileDataStore store(nullptr);
  MakeColumns(table, store);
  for (std::size_t row = 0; row < table.cases; ++row) store.AddRow(&table.cells[row * table.cellsPerCase]);
  const std::unique_ptr<QUAV_InputCaseIterator> cases(store.MakeIterator(nullptr));
  std::uint64_t sum = 0;
  std::size_t rows = 0;
  for (; cases->Next() != 0; ++rows) sum = Checksum(sum, cases->GetObsPointer(0), table.cellsPerCase);
  return rows == table.cases && sum == Checksum(0, table.cells.data(), table.cells.size());
}

Times WriteAndReadRaw(const Table& table, std::vector<char>& buffer) {
  std::string name(kTempNameRoom, '\0');
  const auto* const bytes = static_cast<const char*>(static_cast<const void*>(table.cells.data()));
  const double thread = ThreadSeconds();
  const auto start = Clock::now();
  const int file = open(FormTempName("raw", name.data()), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  unlink(name.c_str());
  for (std::size_t done = 0; done < table.Bytes(); done += kPiece) {
    const std::size_t size = std::min(kPiece, table.Bytes() - done);
    if (write(file, bytes + done, size) != static_cast<ssize_t>(size)) throw std::runtime_error("cannot write");
  }
  const auto written = Clock::now();
  for (std::size_t done = 0; done < table.Bytes(); done += kPiece) {
    const std::size_t size = std::min(kPiece, table.Bytes() - done);
    if (pread(file, buffer.data(), size, static_cast<off_t>(done)) != static_cast<ssize_t>(size))
      throw std::runtime_error("cannot read");
  }
  const auto read = Clock::now();
  close(file);
  return {Seconds(written - start), Seconds(read - written), ThreadSeconds() - thread};
}

void Spool(benchmark::State& state, Table (*make)()) {
  const Table table = make();
  if (!HoldsTable(table)) {
    state.SkipWithError("the store does not hold the table");
    return;
  }
  std::vector<char> buffer(kPiece);
  Times store;
  Times limit;
  for (auto _ : state) {
    const Times once = SpoolTable(table);
    store.Add(once);
    limit.Add(WriteAndReadRaw(table, buffer));
    state.SetIterationTime(once.Both());
  }
  const auto runs = static_cast<double>(state.iterations());
  state.counters["ratio"] = store.Both() / limit.Both();
  state.counters["cpu_ratio"] = store.thread / limit.thread;
  state.counters["limit_cpu_ms"] = limit.thread * 1e3 / runs;
  state.counters["write_ms"] = store.writing * 1e3 / runs;
  state.counters["read_ms"] = store.reading * 1e3 / runs;
  state.counters["limit_ms"] = limit.Both() * 1e3 / runs;
  state.counters["MB/s"] = static_cast<double>(table.Bytes()) * runs / store.Both() / 1e6;
}

#define SPOOL(table)                           \
  BENCHMARK_CAPTURE(Spool, table, Make##table) \
      ->UseManualTime()                        \
      ->Unit(benchmark::kMillisecond)          \
      ->Iterations(5)                          \
      ->Repetitions(3)                         \
      ->ReportAggregatesOnly()

SPOOL(T1);
SPOOL(T3);

}  // namespace
