// Measures how fast cases in zlib blocks are read, written and sought: each table, through a system file source. The
// file is in the page cache. The limit is bare calls of the library that deflates or inflates, on the same blocks in
// memory and on one thread; work and limit are timed alternately. "ratio" is the time of the work divided by that of
// the limit.
//
//   one    on one core, without threads: processor time, which other work on the machine does not change
//   two    on two cores: elapsed time. The limit still uses one thread
//   seek   on one core: Seek and Next to random rows, against inflating the same number of random blocks
//
// The best time of each counts: slower runs were disturbed. "layer" exists only on one core: the time of the work
// divided by the sum of the limit and of the same work on a file of byte codes without blocks. It shows what the
// blocks cost beyond their compression.

#include <benchmark/benchmark.h>
#include <sched.h>
#include <time.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "Platform/stream/BlockCodec.h"
#include "Tables.h"
#include "datasrc/datasrc.h"

namespace {

enum class Cores { one, two };

// Limits the process to so many cores as long as the object lives.
class OnCores {
 public:
  explicit OnCores(Cores cores) {
    sched_getaffinity(0, sizeof(m_before), &m_before);
    cpu_set_t wanted;
    CPU_ZERO(&wanted);
    int left = cores == Cores::one ? 1 : 2;
    for (int core = 0; core < CPU_SETSIZE && left > 0; ++core) {
      if (!CPU_ISSET(core, &m_before)) continue;
      CPU_SET(core, &wanted);
      --left;
    }
    if (left > 0) throw std::runtime_error("there are not enough cores");
    sched_setaffinity(0, sizeof(wanted), &wanted);
  }
  ~OnCores() { sched_setaffinity(0, sizeof(m_before), &m_before); }
  OnCores(const OnCores&) = delete;
  OnCores& operator=(const OnCores&) = delete;

 private:
  cpu_set_t m_before;
};

double Now(clockid_t clock) {
  timespec time{};
  clock_gettime(clock, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

clockid_t ClockOf(Cores cores) { return cores == Cores::one ? CLOCK_PROCESS_CPUTIME_ID : CLOCK_MONOTONIC; }

// The shortest time of a piece of work.
class Best {
 public:
  template <class Work>
  double Time(clockid_t clock, Work work) {
    const double start = Now(clock);
    work();
    const double time = Now(clock) - start;
    m_seconds = std::min(m_seconds, time);
    return time;
  }
  double Seconds() const { return m_seconds; }

 private:
  double m_seconds = std::numeric_limits<double>::max();
};

// ---- Files and their blocks ----

void Write(const Table& table, const std::string& path, int level = 2) {
  SystemFileDataSource file;
  int number = 0;
  for (const int type : table.types) file.MakeVariable(type, nullptr).SetName(("V" + std::to_string(++number)).c_str());
  file.SetCompressionLevel(level);
  file.SetFileSpec(path.c_str());
  file.CommitDictionary();
  for (std::size_t row = 0; row < table.cases; ++row) file.AddRow(&table.cells[row * table.cellsPerCase]);
  file.Close();
}

// A table in a file, and the blocks of the file in memory.
class ZlibFile {
 public:
  explicit ZlibFile(const Table& table)
      : m_path((std::filesystem::temp_directory_path() / ("datasrc_bench_zlib_" + table.name)).string()) {
    Write(table, m_path);
    std::ifstream file(m_path, std::ios::binary);
    m_bytes.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    for (std::size_t at = m_bytes.find("ZBLK"); m_bytes.compare(at, 4, "ZBLK") == 0;) {
      const std::size_t packed = Number(at + 16);
      m_blocks.push_back({at + kHead, packed, m_plainSize, Number(at + 4)});
      m_plainSize += m_blocks.back().plainSize;
      at += kHead + packed;
    }
  }
  ~ZlibFile() { std::filesystem::remove(m_path); }
  ZlibFile(const ZlibFile&) = delete;
  ZlibFile& operator=(const ZlibFile&) = delete;

  const std::string& Path() const { return m_path; }
  std::size_t Blocks() const { return m_blocks.size(); }
  std::size_t PlainSize() const { return m_plainSize; }
  double PackedPart() const { return static_cast<double>(m_bytes.size()) / static_cast<double>(m_plainSize); }

  void Inflate(BlockInflater& inflater, std::size_t block, std::byte* to) const {
    const Block& one = m_blocks[block];
    const auto packed = std::as_bytes(std::span(m_bytes)).subspan(one.begin, one.packedSize);
    if (!inflater.Inflate(packed, {to, one.plainSize})) throw std::runtime_error("a block is damaged");
  }
  void InflateAll(BlockInflater& inflater, std::byte* to) const {
    for (std::size_t i = 0; i < m_blocks.size(); ++i) Inflate(inflater, i, to);
  }
  std::vector<std::byte> Plain() const {
    std::vector<std::byte> plain(m_plainSize);
    const auto inflater = MakeBlockInflater();
    for (std::size_t i = 0; i < m_blocks.size(); ++i) Inflate(*inflater, i, plain.data() + m_blocks[i].position);
    return plain;
  }
  void DeflateAll(BlockDeflater& deflater, const std::vector<std::byte>& plain, std::span<std::byte> room) const {
    for (const Block& one : m_blocks)
      benchmark::DoNotOptimize(deflater.Deflate(std::span(plain).subspan(one.position, one.plainSize), room));
  }

 private:
  static constexpr std::size_t kHead = 28;
  struct Block {
    std::size_t begin;  // of the zlib stream in the file
    std::size_t packedSize;
    std::size_t position;
    std::size_t plainSize;
  };

  std::size_t Number(std::size_t at) const {
    std::uint32_t number = 0;
    std::memcpy(&number, &m_bytes[at], sizeof(number));
    return number;
  }

  std::string m_path;
  std::string m_bytes;
  std::vector<Block> m_blocks;
  std::size_t m_plainSize = 0;
};

// Updates a checksum only when `sum` is not null, so that the timed loop only reads.
std::size_t ReadAll(const std::string& path, std::uint64_t* sum) {
  const SystemFileDataSource source(path, "", false);
  const std::unique_ptr<QUAV_InputCaseIterator> cases(source.MakeIterator(nullptr));
  const OBS* cells = cases->GetObsPointer(0);
  std::size_t rows = 0;
  for (; cases->Next() != 0; ++rows) {
    if (sum != nullptr)
      *sum = Checksum(*sum, cells, source.GetObsAreaSize());
    else
      benchmark::DoNotOptimize(*cells);
  }
  return rows;
}

bool HoldsTable(const Table& table, const std::string& path) {
  std::uint64_t sum = 0;
  return ReadAll(path, &sum) == table.cases && sum == Checksum(0, table.cells.data(), table.cells.size());
}

void Tell(benchmark::State& state, Cores cores, const ZlibFile& file, const Best& work, const Best& bare,
          const Best& codes) {
  if (cores == Cores::one) state.counters["layer"] = work.Seconds() / (bare.Seconds() + codes.Seconds());
  const auto bytes = static_cast<double>(file.PlainSize());
  state.counters["ratio"] = work.Seconds() / bare.Seconds();
  state.counters["MB/s"] = bytes / work.Seconds() / 1e6;
  state.counters["bare_MB/s"] = bytes / bare.Seconds() / 1e6;
  state.counters["packed"] = file.PackedPart();
}

// ---- The benchmarks ----

std::vector<std::byte> Room() { return std::vector<std::byte>(DeflateRoom(256UL * 1024)); }

void ReadCases(benchmark::State& state, Table (*make)(), Cores cores) {
  const Table table = make();
  const ZlibFile file(table);
  if (!HoldsTable(table, file.Path())) return state.SkipWithError("the cases read differ from the table");
  const OnCores here(cores);
  const auto inflater = MakeBlockInflater();
  std::vector<std::byte> room = Room();
  const TableFile codesFile(table, true);
  Best reading;
  Best bare;
  Best codes;
  for (auto _ : state) {
    state.SetIterationTime(reading.Time(ClockOf(cores), [&] { ReadAll(file.Path(), nullptr); }));
    bare.Time(CLOCK_PROCESS_CPUTIME_ID, [&] { file.InflateAll(*inflater, room.data()); });
    if (cores == Cores::one) codes.Time(ClockOf(cores), [&] { ReadAll(codesFile.Path(), nullptr); });
  }
  Tell(state, cores, file, reading, bare, codes);
}

void WriteCases(benchmark::State& state, Table (*make)(), Cores cores) {
  const Table table = make();
  const ZlibFile file(table);
  if (!HoldsTable(table, file.Path())) return state.SkipWithError("the file does not hold the table");
  const std::vector<std::byte> plain = file.Plain();
  const std::string path = file.Path() + "_again";
  const OnCores here(cores);
  const auto deflater = MakeBlockDeflater();
  std::vector<std::byte> room = Room();
  Best writing;
  Best bare;
  Best codes;
  for (auto _ : state) {
    std::filesystem::remove(path);
    state.SetIterationTime(writing.Time(ClockOf(cores), [&] { Write(table, path); }));
    bare.Time(CLOCK_PROCESS_CPUTIME_ID, [&] { file.DeflateAll(*deflater, plain, room); });
    if (cores == Cores::two) continue;
    std::filesystem::remove(path);
    codes.Time(ClockOf(cores), [&] { Write(table, path, 1); });
  }
  std::filesystem::remove(path);
  Tell(state, cores, file, writing, bare, codes);
}

// `cores` is one: this measures the cost of a case, not the work that could run at the same time.
void SeekCases(benchmark::State& state, Table (*make)(), Cores cores) {
  constexpr int kSeeks = 300;
  const Table table = make();
  const ZlibFile file(table);
  const OnCores here(cores);
  const SystemFileDataSource source(file.Path(), "", false);
  const std::unique_ptr<QUAV_InputCaseIterator> cases(source.MakeIterator(nullptr));
  const OBS* cells = cases->GetObsPointer(0);
  std::size_t rows = 0;
  while (cases->Next() != 0) ++rows;  // fills the index of rows
  const auto inflater = MakeBlockInflater();
  std::vector<std::byte> room = Room();
  std::mt19937_64 random(7);
  Best seeking;
  Best bare;
  bool isRight = rows == table.cases;
  for (auto _ : state) {
    std::vector<std::size_t> wanted(kSeeks);
    std::ranges::generate(wanted, [&] { return random() % table.cases; });
    const double time = seeking.Time(ClockOf(cores), [&] {
      for (const std::size_t row : wanted) {
        cases->Seek(static_cast<long long>(row));
        isRight = cases->Next() != 0 && cells[0] == table.cells[row * table.cellsPerCase] && isRight;
      }
    });
    state.SetIterationTime(time);
    bare.Time(ClockOf(cores), [&] {
      for (int i = 0; i < kSeeks; ++i) file.Inflate(*inflater, random() % file.Blocks(), room.data());
    });
  }
  if (!isRight) return state.SkipWithError("a case differs from the table");
  state.counters["ratio"] = seeking.Seconds() / bare.Seconds();
  state.counters["us"] = seeking.Seconds() / kSeeks * 1e6;
  state.counters["bare_us"] = bare.Seconds() / kSeeks * 1e6;
}

#define ZLIB_BENCHMARK(work, table, cores)                            \
  BENCHMARK_CAPTURE(work, table##_##cores, Make##table, Cores::cores) \
      ->UseManualTime()                                               \
      ->Unit(benchmark::kMillisecond)                                 \
      ->Iterations(10)

ZLIB_BENCHMARK(ReadCases, T1, one);
ZLIB_BENCHMARK(ReadCases, T2, one);
ZLIB_BENCHMARK(ReadCases, T3, one);
ZLIB_BENCHMARK(ReadCases, T1, two);
ZLIB_BENCHMARK(ReadCases, T2, two);
ZLIB_BENCHMARK(ReadCases, T3, two);
ZLIB_BENCHMARK(WriteCases, T1, one);
ZLIB_BENCHMARK(WriteCases, T2, one);
ZLIB_BENCHMARK(WriteCases, T3, one);
ZLIB_BENCHMARK(WriteCases, T1, two);
ZLIB_BENCHMARK(WriteCases, T2, two);
ZLIB_BENCHMARK(WriteCases, T3, two);
ZLIB_BENCHMARK(SeekCases, T1, one);
ZLIB_BENCHMARK(SeekCases, T2, one);
ZLIB_BENCHMARK(SeekCases, T3, one);

}  // namespace
