#include "tools/cases/SortedCases.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <queue>
#include <system_error>

#include "datasrc/Settings.h"
#include "tools/messages/ToolError.h"

namespace tool {

namespace {

constexpr char kPrefix[] = "sort";  // of temp files that are written once and read by many streams
constexpr std::size_t kLeastRecords = 2;
constexpr std::size_t kFirstRecords = 64;
constexpr std::size_t kSmallShare = 8;  // of the memory

// Returns bits whose order is that of the numbers.
std::uint64_t OrderedBits(const OBS& cell) {
  constexpr std::uint64_t kSign = std::uint64_t{1} << 63;
  if (cell == kSystemMissingCell) return 0;
  const double number = CellNumber(cell);
  if (std::isnan(number)) return ~std::uint64_t{0};
  const auto bits = std::bit_cast<std::uint64_t>(number == 0 ? 0.0 : number);
  return (bits & kSign) != 0 ? ~bits : bits | kSign;
}

// Puts the most significant byte first, so that the bytes compare as the number does.
void StoreBits(std::uint64_t bits, char* to) {
  for (int shift = 56; shift >= 0; shift -= 8) *to++ = static_cast<char>(bits >> shift);
}

[[noreturn]] void Fail(const char* what, const QUAV_FileStream& file) {
  const int reason = file.Error();
  throw ToolError(std::string(what) + " (" + std::generic_category().message(reason) + ")", file.Name());
}

// Compresses the temp files that are made in the meantime, which makes them sort streams.
class CompressedTempFiles {
 public:
  CompressedTempFiles() : m_before(getzcompression_()) { setOption(1); }
  CompressedTempFiles(const CompressedTempFiles&) = delete;
  CompressedTempFiles& operator=(const CompressedTempFiles&) = delete;
  ~CompressedTempFiles() { setOption(m_before ? 1 : 0); }

 private:
  bool m_before;
};

}  // namespace

// Reads the records of a run one by one.
class SortedCases::RunReader {
 public:
  RunReader(const QUAV_TempFile& file, const Run& run, std::size_t recordSize)
      : m_file(file), m_left(run.records), m_record(recordSize) {
    m_file.Seek(run.start, kSeekFromStart);
  }

  const char* Record() const { return m_record.data(); }
  bool Next() {
    if (m_left == 0) return false;
    --m_left;
    if (m_file.Read(m_record.data(), m_record.size()) != m_record.size())
      Fail("a temp file of the sort cannot be read", m_file);
    return true;
  }

 private:
  QUAV_TempFile m_file;
  long m_left;
  std::vector<char> m_record;
};

// Delivers the records of several runs in their order. Of equal keys, that of the earlier run comes first.
class SortedCases::Merger {
 public:
  Merger(const QUAV_TempFile& file, const Run* runs, std::size_t count, std::size_t keySize, std::size_t recordSize)
      : m_heap(Later{keySize, &m_readers}) {
    m_readers.reserve(count);
    for (std::size_t i = 0; i < count; ++i) m_readers.push_back(std::make_unique<RunReader>(file, runs[i], recordSize));
    for (std::size_t i = 0; i < count; ++i)
      if (m_readers[i]->Next()) m_heap.push(i);
  }

  // Returns the next record, which is valid until the next call; null at the end.
  const char* Next() {
    if (m_last != kNone && m_readers[m_last]->Next()) m_heap.push(m_last);
    if (m_heap.empty()) return nullptr;
    m_last = m_heap.top();
    m_heap.pop();
    return m_readers[m_last]->Record();
  }

 private:
  using Readers = std::vector<std::unique_ptr<RunReader>>;
  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

  struct Later {
    std::size_t keySize;
    const Readers* readers;
    bool operator()(std::size_t a, std::size_t b) const {
      const int order = std::memcmp((*readers)[a]->Record(), (*readers)[b]->Record(), keySize);
      return order != 0 ? order > 0 : a > b;
    }
  };

  Readers m_readers;
  std::priority_queue<std::size_t, std::vector<std::size_t>, Later> m_heap;
  std::size_t m_last = kNone;
};

SortedCases::SortedCases(std::unique_ptr<CaseReader> cases, const QUAV_DataSource& dictionary,
                         const std::vector<SortColumn>& columns, std::size_t memory)
    : m_cases(std::move(cases)),
      m_mostMerged(std::clamp(memory / kRunMemory, kLeastMerged, kMostMerged)),
      m_cells(dictionary.GetObsAreaSize()) {
  for (const SortColumn& one : columns) {
    const int type = dictionary.GetVariable(one.column).GetType();
    m_keys.push_back(
        {static_cast<std::size_t>(dictionary.ObsIndex(one.column)), CellCount(type), type == 0, one.isDescending});
    m_keySize += m_keys.back().cells * sizeof(OBS);
  }
  m_recordSize = m_keySize + m_cells.size() * sizeof(OBS);
  m_mostRecords = std::max(memory / (m_recordSize + 2 * sizeof(std::size_t)), kLeastRecords);
  ReadAll();
}

SortedCases::~SortedCases() = default;

void SortedCases::ReadAll() {
  while (m_cases->Next()) {
    if (m_records.size() == m_mostRecords * m_recordSize) WriteRun();
    AppendRecord(m_cases->Cells());
    ++m_count;
  }
  if (m_file == nullptr) {
    SortMemory();
    if (m_order.empty()) return;
    const auto cells = [this](std::size_t index) {
      std::vector<OBS> one(m_cells.size());
      std::copy_n(Record(index) + m_keySize, one.size() * sizeof(OBS), CellText(one.data()));
      return one;
    };
    m_first = cells(m_order.front());
    m_last = cells(m_order.back());
    return;
  }
  WriteRun();
  // An empty list in braces would leave the vectors their memory.
  m_records = std::vector<char>();
  m_order = std::vector<std::size_t>();
  MergeUntilFew();
}

// Doubles the room, but takes all of it before the old and the new room together are much. The system gives memory when
// it is used.
void SortedCases::Grow() {
  const std::size_t all = m_mostRecords * m_recordSize;
  const std::size_t doubled = std::max(2 * m_records.capacity(), kFirstRecords * m_recordSize);
  m_records.reserve(doubled > all / kSmallShare ? all : doubled);
}

void SortedCases::AppendRecord(const OBS* cells) {
  const std::size_t start = m_records.size();
  if (start + m_recordSize > m_records.capacity()) Grow();
  m_records.resize(start + m_recordSize);
  char* to = m_records.data() + start;
  for (const Key& key : m_keys) {
    const std::size_t size = key.cells * sizeof(OBS);
    if (key.isNumber) {
      StoreBits(OrderedBits(cells[key.cell]), to);
    } else {
      std::copy_n(CellText(cells + key.cell), size, to);
    }
    if (key.isDescending) std::transform(to, to + size, to, [](char c) { return static_cast<char>(~c); });
    to += size;
  }
  std::copy_n(CellText(cells), m_cells.size() * sizeof(OBS), to);
}

void SortedCases::SortMemory() {
  m_order.resize(m_records.size() / m_recordSize);
  std::iota(m_order.begin(), m_order.end(), std::size_t{0});
  std::ranges::sort(m_order, [this](std::size_t a, std::size_t b) {
    const int order = std::memcmp(Record(a), Record(b), m_keySize);
    return order != 0 ? order < 0 : a < b;
  });
}

std::unique_ptr<QUAV_TempFile> SortedCases::NewFile() const {
  const CompressedTempFiles compressed;
  return std::make_unique<QUAV_TempFile>(kPrefix, true);
}

void SortedCases::Write(const char* record) {
  if (m_file->Write(record, m_recordSize) != m_recordSize) Fail("a temp file of the sort cannot be written", *m_file);
}

void SortedCases::WriteRun() {
  SortMemory();
  if (m_order.empty()) return;
  if (m_file == nullptr) m_file = NewFile();
  const long start = m_runs.empty() ? 0 : m_runs.back().start + m_runs.back().records * static_cast<long>(m_recordSize);
  m_runs.push_back({start, static_cast<long>(m_order.size())});
  for (const std::size_t index : m_order) Write(Record(index));
  m_records.clear();
}

// The first and the last case come from the runs' ends, because a merge that has begun shows them too late.
void SortedCases::MergeUntilFew() {
  while (m_runs.size() > m_mostMerged) {
    std::unique_ptr<QUAV_TempFile> before = std::move(m_file);
    before->Flush();
    const std::vector<Run> runs = std::move(m_runs);
    m_runs.clear();
    m_file = NewFile();
    long start = 0;
    for (std::size_t i = 0; i < runs.size(); i += m_mostMerged) {
      Merger merger(*before, &runs[i], std::min(m_mostMerged, runs.size() - i), m_keySize, m_recordSize);
      long records = 0;
      for (const char* record = merger.Next(); record != nullptr; record = merger.Next(), ++records) Write(record);
      m_runs.push_back({start, records});
      start += records * static_cast<long>(m_recordSize);
    }
  }
  m_file->Flush();
  std::vector<char> lowest;
  std::vector<char> highest;
  const auto recordAt = [this](long start) {
    RunReader reader(*m_file, {start, 1}, m_recordSize);
    reader.Next();
    return std::vector<char>(reader.Record(), reader.Record() + m_recordSize);
  };
  for (const Run& run : m_runs) {
    std::vector<char> first = recordAt(run.start);
    std::vector<char> last = recordAt(run.start + (run.records - 1) * static_cast<long>(m_recordSize));
    if (lowest.empty() || std::memcmp(first.data(), lowest.data(), m_keySize) < 0) lowest = std::move(first);
    if (highest.empty() || std::memcmp(last.data(), highest.data(), m_keySize) >= 0) highest = std::move(last);
  }
  const auto cells = [this](const std::vector<char>& record) {
    std::vector<OBS> one(m_cells.size());
    std::copy_n(record.data() + m_keySize, one.size() * sizeof(OBS), CellText(one.data()));
    return one;
  };
  m_first = cells(lowest);
  m_last = cells(highest);
  m_merger = std::make_unique<Merger>(*m_file, m_runs.data(), m_runs.size(), m_keySize, m_recordSize);
}

bool SortedCases::Next() {
  const char* record = nullptr;
  if (m_merger) {
    record = m_merger->Next();
  } else if (m_next < m_order.size()) {
    record = Record(m_order[m_next++]);
  }
  if (record == nullptr) return false;
  std::copy_n(record + m_keySize, m_cells.size() * sizeof(OBS), CellText(m_cells.data()));
  return true;
}

}  // namespace tool
