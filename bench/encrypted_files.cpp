// Measures how fast encrypted files are opened and scanned: each table in byte codes, with a password. The file is in
// the page cache. The limit is the sum of two times: bare decipher calls of libcrypto on the file's bytes, chunk by
// chunk in memory, and a scan of the same file without a password. All three are timed alternately. "of_limit" is the
// time divided by the limit; it may be 2.5. "of_limit_cpu" is the same in processor time, for busy machines.
//
// Making the key deliberately takes the same time for each file. "key_ms" reports it separately: during the runs
// another stream has the file open, so the key is known.

#include <benchmark/benchmark.h>
#include <openssl/evp.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "Measuring.h"
#include "Tables.h"
#include "datasrc/datasrc.h"

namespace {

constexpr char kPassword[] = "a password of the benchmark";
constexpr std::size_t kChunkSize = 64UL * 1024;

double SecondsSince(Clock::time_point start) { return Seconds(Clock::now() - start); }

// The time of one step, summed over the runs: elapsed time and processor time.
class Stopwatch {
 public:
  template <class Step>
  double Run(Step step) {
    const auto start = Clock::now();
    const std::clock_t startOfProcessor = std::clock();
    step();
    m_processor += static_cast<double>(std::clock() - startOfProcessor) / CLOCKS_PER_SEC;
    const double time = SecondsSince(start);
    m_passed += time;
    return time;
  }

  double Passed() const { return m_passed; }
  double Processor() const { return m_processor; }

 private:
  double m_passed = 0.0;
  double m_processor = 0.0;
};

ExtNameStr Password() { return ExtNameStr(kPassword); }

std::size_t Scan(const SystemFileDataSource& source, std::uint64_t* sum) {
  const std::unique_ptr<QUAV_InputCaseIterator> cases(source.MakeIterator(nullptr));
  const OBS* const cells = cases->GetObsPointer(0);
  const std::size_t count = source.GetObsAreaSize();
  std::size_t rows = 0;
  while (cases->Next()) {
    ++rows;
    if (sum != nullptr)
      *sum = Checksum(*sum, cells, count);
    else
      benchmark::DoNotOptimize(*cells);
  }
  return rows;
}

// The same file with the password. The object deletes it.
class EncryptedCopy {
 public:
  explicit EncryptedCopy(const std::string& plain) : m_path(plain + ".encrypted") {
    const SystemFileDataSource source(plain, "", false);
    SystemFileDataSource copy;
    copy.CopyDictionary(source);
    copy.SetCompression(true);
    copy.SetPassword(Password());
    copy.SetFileSpec(m_path.c_str());
    copy.CommitDictionary();
    const std::unique_ptr<QUAV_InputCaseIterator> cases(source.MakeIterator(nullptr));
    while (cases->Next()) copy.AddRow(cases->GetObsPointer(0));
    copy.Close();
  }
  EncryptedCopy(const EncryptedCopy&) = delete;
  EncryptedCopy& operator=(const EncryptedCopy&) = delete;
  ~EncryptedCopy() { std::remove(m_path.c_str()); }

  const std::string& Path() const { return m_path; }
  std::vector<unsigned char> Bytes() const {
    std::ifstream file(m_path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  }

 private:
  std::string m_path;
};

// Makes only the decipher calls. The result is useless, because the key is arbitrary.
void Decipher(std::vector<unsigned char>& bytes) {
  const std::unique_ptr<EVP_CIPHER_CTX, void (*)(EVP_CIPHER_CTX*)> context(EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free);
  const unsigned char key[32] = {1};
  const unsigned char nonce[12] = {2};
  EVP_DecryptInit_ex2(context.get(), EVP_aes_256_gcm(), key, nonce, nullptr);
  for (std::size_t at = 0; at < bytes.size(); at += kChunkSize) {
    int done = 0;
    const std::size_t size = std::min(kChunkSize, bytes.size() - at);
    EVP_DecryptInit_ex2(context.get(), nullptr, nullptr, nonce, nullptr);
    EVP_DecryptUpdate(context.get(), &bytes[at], &done, &bytes[at], static_cast<int>(size));
  }
}

void OpenAndScan(benchmark::State& state, Table (*make)()) {
  const Table table = make();
  const TableFile plain(table, true);
  const EncryptedCopy encrypted(plain.Path());
  std::vector<unsigned char> bytes = encrypted.Bytes();

  auto start = Clock::now();
  CryptFileStream keepsKey;
  if (!keepsKey.Open(ExtNameStr(encrypted.Path()), Password(), "rb")) {
    state.SkipWithError("the file does not open");
    return;
  }
  const double first = SecondsSince(start);
  start = Clock::now();
  CryptFileStream again;
  again.Open(ExtNameStr(encrypted.Path()), Password(), "rb");
  const double key = first - SecondsSince(start);
  again.Close();

  std::uint64_t sum = 0;
  if (Scan(SystemFileDataSource(encrypted.Path(), kPassword, false), &sum) != table.cases ||
      sum != Checksum(0, table.cells.data(), table.cells.size())) {
    state.SkipWithError("the cases read differ from the table");
    return;
  }

  const SystemFileDataSource source(plain.Path(), "", false);
  Stopwatch whole;
  Stopwatch deciphering;
  Stopwatch scanning;
  for (auto _ : state) {
    const auto all = [&] { Scan(SystemFileDataSource(encrypted.Path(), kPassword, false), nullptr); };
    state.SetIterationTime(whole.Run(all));
    deciphering.Run([&] { Decipher(bytes); });
    scanning.Run([&] { Scan(source, nullptr); });
  }
  const auto iterations = static_cast<double>(state.iterations());
  state.counters["of_limit"] = whole.Passed() / (deciphering.Passed() + scanning.Passed());
  state.counters["of_limit_cpu"] = whole.Processor() / (deciphering.Processor() + scanning.Processor());
  state.counters["file_MB"] = static_cast<double>(bytes.size()) / 1e6;
  state.counters["decipher_ms"] = deciphering.Passed() / iterations * 1e3;
  state.counters["scan_ms"] = scanning.Passed() / iterations * 1e3;
  state.counters["key_ms"] = key * 1e3;
}

#define OPEN_AND_SCAN(table)                                    \
  BENCHMARK_CAPTURE(OpenAndScan, table##_bytecode, Make##table) \
      ->UseManualTime()                                         \
      ->Unit(benchmark::kMillisecond)                           \
      ->Iterations(5)                                           \
      ->Repetitions(3)                                          \
      ->ReportAggregatesOnly()

OPEN_AND_SCAN(T1);
OPEN_AND_SCAN(T2);
OPEN_AND_SCAN(T3);

}  // namespace
