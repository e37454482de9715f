// Measures how fast the file of a sort is written and read: one writer puts 128 MiB of T1's cells into a temporary
// file, in pieces of 64 KiB. Then 8 copies each read an eighth of it, in pieces of the same size. "turns": one thread
// reads a piece from each copy in turn, as a merge does. "threads": each copy has its own thread.
//
// The limit is the plain stream (QUAV_FileStream), which does the same in the same run. "ratio" is its time divided
// by that of the sort stream, for both phases together; "write_ratio" and "read_ratio" are for one phase each. "size"
// is the file size of the sort stream divided by that of the plain one. MB/s count the cells twice: written and read.

#include <benchmark/benchmark.h>

#include <cstring>
#include <filesystem>
#include <list>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "Measuring.h"
#include "Tables.h"
#include "datasrc/datasrc.h"

namespace {

constexpr std::size_t kBytes = 128UL * 1024 * 1024;
constexpr std::size_t kPiece = 64UL * 1024;
constexpr std::size_t kCopies = 8;
constexpr std::size_t kShare = kBytes / kCopies;

const char* Cells() {
  static const Table table = MakeT1();
  if (table.Bytes() < kBytes) throw std::runtime_error("the table is too small");
  return static_cast<const char*>(static_cast<const void*>(table.cells.data()));
}

struct Times {
  double writing = 0.0;
  double reading = 0.0;
  double All() const { return writing + reading; }
};

// The bytes that each copy has read.
using Shares = std::vector<std::vector<char>>;

void ReadPiece(QUAV_FileStream& copy, std::vector<char>& share, std::size_t at) {
  if (copy.Read(&share[at], kPiece) != kPiece) throw std::runtime_error("the stream reads short");
}

template <class Stream>
void ReadByTurns(std::list<Stream>& copies, Shares& shares) {
  for (std::size_t at = 0; at < kShare; at += kPiece) {
    std::size_t number = 0;
    for (Stream& copy : copies) ReadPiece(copy, shares[number++], at);
  }
}

template <class Stream>
void ReadOnThreads(std::list<Stream>& copies, Shares& shares) {
  std::vector<std::thread> threads;
  std::size_t number = 0;
  for (Stream& copy : copies) {
    threads.emplace_back([&copy, &share = shares[number++]] {
      for (std::size_t at = 0; at < kShare; at += kPiece) ReadPiece(copy, share, at);
    });
  }
  for (std::thread& thread : threads) thread.join();
}

std::string TempName() { return (std::filesystem::temp_directory_path() / "datasrc_bench_sort").string(); }

// Returns the times of the two phases. Making the copies counts as reading: it ends the writing.
template <class Stream>
Times Sort(const char* cells, bool onThreads, Shares& shares) {
  Times times;
  const auto start = Clock::now();
  Stream writer(TempName().c_str(), "w+bTD", false);
  for (std::size_t at = 0; at < kBytes; at += kPiece) {
    if (writer.Write(cells + at, kPiece) != kPiece) throw std::runtime_error("the stream writes short");
  }
  writer.Flush();
  const auto written = Clock::now();
  std::list<Stream> copies;
  for (std::size_t i = 0; i < kCopies; ++i)
    copies.emplace_back(writer).Seek(static_cast<long>(i * kShare), kSeekFromStart);
  if (onThreads)
    ReadOnThreads(copies, shares);
  else
    ReadByTurns(copies, shares);
  times.writing = Seconds(written - start);
  times.reading = Seconds(Clock::now() - written);
  return times;
}

bool HoldCells(const Shares& shares, const char* cells) {
  for (std::size_t i = 0; i < kCopies; ++i) {
    if (std::memcmp(shares[i].data(), cells + i * kShare, kShare) != 0) return false;
  }
  return true;
}

// The file keeps its name here, because its size is read by name.
double SizeRatio(const char* cells) {
  const std::string name = TempName();
  double size = 0.0;
  {
    zcmpsSort_FileStream writer(name.c_str(), "w+b", false);
    for (std::size_t at = 0; at < kBytes; at += kPiece) writer.Write(cells + at, kPiece);
    const zcmpsSort_FileStream copy(writer);
    size = static_cast<double>(std::filesystem::file_size(name));
  }
  std::filesystem::remove(name);
  return size / static_cast<double>(kBytes);
}

void SortStream(benchmark::State& state, bool onThreads) {
  const char* const cells = Cells();
  Shares shares(kCopies, std::vector<char>(kShare));
  Sort<zcmpsSort_FileStream>(cells, onThreads, shares);
  if (!HoldCells(shares, cells)) {
    state.SkipWithError("the bytes that the copies read differ from the table");
    return;
  }
  Times sort;
  Times plain;
  for (auto _ : state) {
    const Times present = Sort<zcmpsSort_FileStream>(cells, onThreads, shares);
    const Times limit = Sort<QUAV_FileStream>(cells, onThreads, shares);
    sort = {sort.writing + present.writing, sort.reading + present.reading};
    plain = {plain.writing + limit.writing, plain.reading + limit.reading};
    state.SetIterationTime(present.All());
  }
  const double megabytes = static_cast<double>(kBytes) * static_cast<double>(state.iterations()) / 1e6;
  state.counters["ratio"] = plain.All() / sort.All();
  state.counters["write_ratio"] = plain.writing / sort.writing;
  state.counters["read_ratio"] = plain.reading / sort.reading;
  state.counters["write_MB/s"] = megabytes / sort.writing;
  state.counters["read_MB/s"] = megabytes / sort.reading;
  state.counters["MB/s"] = 2 * megabytes / sort.All();
  state.counters["plain_MB/s"] = 2 * megabytes / plain.All();
  state.counters["size"] = SizeRatio(cells);
}

#define SORT_STREAM(kind, onThreads)             \
  BENCHMARK_CAPTURE(SortStream, kind, onThreads) \
      ->UseManualTime()                          \
      ->Unit(benchmark::kMillisecond)            \
      ->Iterations(3)                            \
      ->Repetitions(3)                           \
      ->ReportAggregatesOnly()

SORT_STREAM(turns, false);
SORT_STREAM(threads, true);

}  // namespace
