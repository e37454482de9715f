// Measures how fast cases are spooled: each table goes through a TempFileDataStore on one thread, with AddRow for
// every case, Close, and one pass by an iterator. The store's file is enciphered. "MB/s" counts the table's cells
// once for both directions. "thread" is the processor time of the caller's thread, which other work on the machine
// disturbs least.
//
//   plain        "ratio" is the store's time divided by that of a raw write of the same cells, 256 KiB at a time, to a
//                file in the same directory, and a pread of all of them; "thread_ratio" is the same for thread time
//   compressed   the same store, with its file compressed on a separate thread: "ratio", "thread_ratio" and
//                "size_ratio" (of the files) are relative to the plain store; "cells_ratio" is the size of the file
//                divided by that of its cells. The numbers of T1 are random: in any form its cells need 0.65 of the
//                plain store's file
//
// Each kind and its limit are timed alternately.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "Measuring.h"
#include "Tables.h"
#include "datasrc/datasrc.h"

namespace {

constexpr std::size_t kPiece = 256UL * 1024;

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

// ---- The store ----

void Fill(TempFileDataStore& store, const Table& table) {
  int number = 0;
  for (const int type : table.types)
    store.MakeVariable(type, nullptr).SetName(("V" + std::to_string(++number)).c_str());
  for (std::size_t row = 0; row < table.cases; ++row) store.AddRow(&table.cells[row * table.cellsPerCase]);
  store.Close();
}

// Sets compression for the temp files that are made while the object lives.
class Compression {
 public:
  explicit Compression(bool on) { setOption(on ? 1 : 0); }
  Compression(const Compression&) = delete;
  Compression& operator=(const Compression&) = delete;
  ~Compression() { setOption(0); }
};

Times SpoolTable(const Table& table, bool compressed) {
  const Compression setting(compressed);
  const double thread = ThreadSeconds();
  const auto start = Clock::now();
  TempFileDataStore store(nullptr);
  Fill(store, table);
  const auto written = Clock::now();
  if (ReadAll(store, nullptr) != table.cases) throw std::runtime_error("cases are missing");
  return {Seconds(written - start), Seconds(Clock::now() - written), ThreadSeconds() - thread};
}

bool HoldsTable(const Table& table, bool compressed) {
  const Compression setting(compressed);
  TempFileDataStore store(nullptr);
  Fill(store, table);
  std::uint64_t sum = 0;
  return ReadAll(store, &sum) == table.cases && sum == Checksum(0, table.cells.data(), table.cells.size());
}

// The bytes of all unnamed files that this process has open.
std::uintmax_t NamelessBytes() {
  std::uintmax_t bytes = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    struct stat status {};
    if (stat(entry.path().c_str(), &status) == 0 && S_ISREG(status.st_mode) && status.st_nlink == 0)
      bytes += static_cast<std::uintmax_t>(status.st_size);
  }
  return bytes;
}

double SizeOnDisk(const Table& table, bool compressed) {
  const Compression setting(compressed);
  TempFileDataStore store(nullptr);
  Fill(store, table);
  return static_cast<double>(NamelessBytes());
}

// ---- The limit ----

Times WriteAndReadRaw(const Table& table) {
  static std::vector<char> buffer(kPiece);
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

// ---- The comparisons ----

void Report(benchmark::State& state, const Table& table, const Times& store, const Times& limit) {
  const auto runs = static_cast<double>(state.iterations());
  state.counters["ratio"] = store.Both() / limit.Both();
  state.counters["thread_ratio"] = store.thread / limit.thread;
  state.counters["thread_ms"] = store.thread * 1e3 / runs;
  state.counters["write_ms"] = store.writing * 1e3 / runs;
  state.counters["read_ms"] = store.reading * 1e3 / runs;
  state.counters["limit_ms"] = limit.Both() * 1e3 / runs;
  state.counters["MB/s"] = static_cast<double>(table.Bytes()) * runs / store.Both() / 1e6;
}

template <class Limit>
void Spool(benchmark::State& state, const Table& table, bool compressed, Limit timeLimit) {
  if (!HoldsTable(table, compressed)) {
    state.SkipWithError("the store does not hold the table");
    return;
  }
  Times store;
  Times limit;
  for (auto _ : state) {
    const Times once = SpoolTable(table, compressed);
    store.Add(once);
    limit.Add(timeLimit());
    state.SetIterationTime(once.Both());
  }
  Report(state, table, store, limit);
}

void Plain(benchmark::State& state, Table (*make)()) {
  const Table table = make();
  Spool(state, table, false, [&table] { return WriteAndReadRaw(table); });
}

void Compressed(benchmark::State& state, Table (*make)()) {
  const Table table = make();
  Spool(state, table, true, [&table] { return SpoolTable(table, false); });
  const double size = SizeOnDisk(table, true);
  state.counters["size_ratio"] = size / SizeOnDisk(table, false);
  state.counters["cells_ratio"] = size / static_cast<double>(table.Bytes());
}

#define SPOOL(kind, table)                    \
  BENCHMARK_CAPTURE(kind, table, Make##table) \
      ->UseManualTime()                       \
      ->Unit(benchmark::kMillisecond)         \
      ->Iterations(5)                         \
      ->Repetitions(3)                        \
      ->ReportAggregatesOnly()

SPOOL(Plain, T1);
SPOOL(Plain, T3);
SPOOL(Compressed, T1);
SPOOL(Compressed, T3);

}  // namespace
