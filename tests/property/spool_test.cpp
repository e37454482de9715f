// Random scripts over 1 to 3 directories compare a temp file with a string, a store of cases with a vector, and a
// procedure that fills a store with the expected cells. A script also compares a stream in memory with a string. Sizes
// and places are drawn on both sides of every multiple at which the code changes its way.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "datasrc/QUAV_InMemoryFile.h"
#include "datasrc/QUAV_TempFile.h"
#include "datasrc/TempFileDataStore.h"
#include "tests/support/Reading.h"
#include "tests/support/Seeds.h"
#include "tests/support/SpoolDirectories.h"

namespace spool_test {
namespace {

class Random {
 public:
  explicit Random(unsigned seed) : m_random(seed) {}
  std::size_t Below(std::size_t limit) { return std::uniform_int_distribution<std::size_t>(0, limit - 1)(m_random); }
  // Returns a random piece of one random text: generating every byte would take most of the time of the test.
  std::string Bytes(std::size_t size) {
    static const std::string many = [] {
      std::mt19937 random(1);
      std::string bytes(1'000'000, '\0');
      for (char& byte : bytes) byte = static_cast<char>(random());
      return bytes;
    }();
    if (size < many.size()) return many.substr(Below(many.size() - size), size);
    return Bytes(size / 2) + Bytes(size - size / 2);
  }
  // Returns a number from 3 below to 3 above a multiple of the unit, up to `most`; at least 0.
  std::size_t Near(std::size_t unit, std::size_t most) {
    return std::max<std::size_t>(Below(most / unit + 1) * unit + Below(7), 3) - 3;
  }

 private:
  std::mt19937 m_random;
};

// ---- Temp files ----

class TempFileScript {
 public:
  explicit TempFileScript(unsigned seed) : m_random(seed), m_file("cache", m_random.Below(2) == 0) {}

  void Run() {
    for (int step = 0; step < 40 && !testing::Test::HasFailure(); ++step) {
      SCOPED_TRACE("step " + std::to_string(step));
      Step();
      ASSERT_EQ(m_position, static_cast<std::size_t>(m_file.Tell()));
      ASSERT_TRUE(m_file.Good());
      ASSERT_EQ(m_metEnd, m_file.EndOfFile() != 0);
    }
    if (m_random.Below(2) == 0) {
      EXPECT_EQ(0, m_file.Flush());
    }
    QUAV_TempFile copy(m_file);
    copy.Seek(0, kSeekFromStart);
    std::string all(m_bytes.size() + 1, '\0');
    EXPECT_EQ(m_bytes.size(), copy.Read(all.data(), all.size()));
    all.pop_back();
    EXPECT_TRUE(all == m_bytes);
  }

 private:
  // Returns a size near a multiple of a page, a stripe, a round of stripes or the buffer of a file.
  std::size_t NearAMultiple() {
    constexpr std::size_t kStripe = QUAV_TempFile::kStripeSize;
    constexpr std::size_t kMost = 3 * QUAV_FileStream::kBufferSize;
    const std::size_t units[] = {4096, kStripe, 2 * kStripe, 3 * kStripe, QUAV_FileStream::kBufferSize};
    return m_random.Near(units[m_random.Below(std::size(units))], kMost);
  }

  // Often about the size of a stripe.
  std::size_t Size() {
    const std::size_t kind = m_random.Below(16);
    if (kind == 0) return m_random.Below(200'000);
    if (kind == 1) return NearAMultiple();
    if (kind <= 4) return QUAV_TempFile::kStripeSize - 50 + m_random.Below(100);
    return m_random.Below(kind <= 8 ? 5000 : 100);
  }

  void Step() {
    switch (m_random.Below(8)) {
      case 0:
      case 1:
      case 2:
        return Write();
      case 3:
      case 4:
        return Read();
      case 5:
      case 6:
        return Peek();
      default:
        return Seek();
    }
  }

  void Write() {
    const std::string bytes = m_random.Bytes(Size());
    EXPECT_EQ(bytes.size(), m_file.Write(bytes.data(), bytes.size()));
    m_bytes.resize(std::max(m_bytes.size(), m_position + bytes.size()));
    m_bytes.replace(m_position, bytes.size(), bytes);
    m_position += bytes.size();
  }

  void Read() {
    std::string bytes(Size(), '\0');
    const std::size_t wanted = bytes.size();
    bytes.resize(m_file.Read(bytes.data(), wanted));
    EXPECT_TRUE(bytes == m_bytes.substr(m_position, wanted));
    m_metEnd = m_metEnd || bytes.size() < wanted;
    m_position += bytes.size();
  }

  void Peek() {
    const std::size_t wanted = std::min(Size(), QUAV_FileStream::kMaxPeek);
    const QUAV_FileStream::Window window = m_file.Peek(wanted);
    EXPECT_GE(window.Size(), std::min(wanted, m_bytes.size() - m_position));
    m_metEnd = m_metEnd || window.Size() < wanted;
    EXPECT_TRUE(std::string(reinterpret_cast<const char*>(window.begin), window.Size()) ==
                m_bytes.substr(m_position, window.Size()));
    const std::size_t skipped = m_random.Below(window.Size() + 1);
    m_file.Skip(skipped);
    m_position += skipped;
  }

  void Seek() {
    const std::size_t any = m_random.Below(2) == 0 ? NearAMultiple() : m_random.Below(m_bytes.size() + 1);
    const std::size_t target = std::min(any, m_bytes.size());
    const std::size_t froms[] = {0, m_position, m_bytes.size()};
    const std::size_t direction = m_random.Below(3);
    const long offset = static_cast<long>(target) - static_cast<long>(froms[direction]);
    EXPECT_EQ(0, m_file.Seek(offset, static_cast<SeekDirection>(direction)));
    m_position = target;
    m_metEnd = false;
  }

  Random m_random;
  QUAV_TempFile m_file;
  std::string m_bytes;
  std::size_t m_position = 0;
  bool m_metEnd = false;
};

TEST(TempFileScripts, AgreeWithAString) {
  SpoolDirectories directories(1);
  for (unsigned seed = 1; seed <= Seeds(1000) && !testing::Test::HasFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    directories.Use(1 + seed % 3);
    TempFileScript(seed).Run();
  }
}

// ---- Streams in memory ----

class InMemoryScript {
 public:
  explicit InMemoryScript(unsigned seed) : m_random(seed), m_file(Size()) {}

  void Run() {
    for (int step = 0; step < 40 && !testing::Test::HasFailure(); ++step) {
      SCOPED_TRACE("step " + std::to_string(step));
      Step();
      ASSERT_EQ(m_position, static_cast<std::size_t>(m_file.Tell()));
    }
  }

 private:
  static constexpr std::size_t kMost = 3 * QUAV_InMemoryFile::kBlockSize;

  std::size_t Size() {
    return m_random.Below(3) == 0 ? m_random.Near(QUAV_InMemoryFile::kBlockSize, kMost) : m_random.Below(5000);
  }

  void Step() {
    const std::size_t size = Size();
    switch (m_random.Below(3)) {
      case 0:
        return Write(m_random.Bytes(size));
      case 1:
        return Read(size);
      default:
        return Seek();
    }
  }

  void Write(const std::string& bytes) {
    EXPECT_EQ(bytes.size(), m_file.Write(bytes.data(), bytes.size()));
    m_bytes.resize(std::max(m_bytes.size(), m_position + bytes.size()));
    m_bytes.replace(m_position, bytes.size(), bytes);
    m_position += bytes.size();
  }

  void Read(std::size_t wanted) {
    std::string bytes(wanted, '\0');
    bytes.resize(m_file.Read(bytes.data(), wanted));
    EXPECT_TRUE(bytes == m_bytes.substr(m_position, wanted));
    m_position += bytes.size();
  }

  void Seek() {
    const bool isNear = m_random.Below(2) == 0;
    const std::size_t target =
        isNear ? m_random.Near(QUAV_InMemoryFile::kBlockSize, kMost) : m_random.Below(m_bytes.size() + 3);
    const std::size_t froms[] = {0, m_position, m_bytes.size()};
    const std::size_t direction = m_random.Below(3);
    const long offset = static_cast<long>(target) - static_cast<long>(froms[direction]);
    const bool isThere = target <= m_bytes.size();
    EXPECT_EQ(isThere ? 0 : -1, m_file.Seek(offset, static_cast<SeekDirection>(direction)));
    if (isThere) m_position = target;
  }

  Random m_random;
  QUAV_InMemoryFile m_file;
  std::string m_bytes;
  std::size_t m_position = 0;
};

TEST(InMemoryScripts, AgreeWithAString) {
  for (unsigned seed = 1; seed <= Seeds(100) && !testing::Test::HasFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    InMemoryScript(seed).Run();
  }
}

// ---- Stores ----

OBS RandomCell(Random& random) {
  switch (random.Below(6)) {
    case 0:
      return kSystemMissingCell;
    case 1:
      return kBlankCell;
    case 2:
      return NumberCell(static_cast<double>(random.Below(1'000'000)) / 7);
    default:
      return NumberCell(static_cast<double>(random.Below(300)) - 120);
  }
}

using Row = std::vector<OBS>;

Row RandomRow(Random& random, std::size_t columns) {
  Row row;
  while (row.size() < columns) row.push_back(RandomCell(random));
  return row;
}

void MakeColumns(TempFileDataStore& store, std::size_t columns) {
  while (store.ColumnCount() < columns) store.MakeVariable(0, nullptr);
}

// An iterator over a store, and the row that it must return next.
class Walk {
 public:
  explicit Walk(const TempFileDataStore& store) : m_cases(store.MakeIterator(nullptr)) {}

  void Step(Random& random, const std::vector<Row>& rows) {
    if (random.Below(4) != 0) Seek(SomeRow(random, rows.size()), rows.size());
    ASSERT_EQ(static_cast<long long>(m_next), m_cases->Tell());
    ASSERT_EQ(m_next < rows.size(), m_cases->Next() != 0);
    if (m_next == rows.size()) return;
    ASSERT_EQ(rows[m_next], PresentCells(*m_cases)) << "row " << m_next;
    ++m_next;
  }

 private:
  // One row back, a few rows on, or any row, also past the end.
  std::size_t SomeRow(Random& random, std::size_t count) const {
    const std::size_t kind = random.Below(3);
    if (kind == 0) return m_next - (m_next > 0);
    return kind == 1 ? m_next + random.Below(20) : random.Below(count + 100);
  }

  void Seek(std::size_t row, std::size_t count) {
    EXPECT_EQ(row < count, m_cases->Seek(static_cast<long long>(row)) != 0);
    if (row < count) m_next = row;
  }

  std::unique_ptr<QUAV_InputCaseIterator> m_cases;
  std::size_t m_next = 0;
};

// Often near the most codes of a block, the cells that are encoded at once, or the cells of a stripe.
std::size_t SomeColumns(Random& random) {
  constexpr std::size_t kUnits[] = {15, 256, QUAV_TempFile::kStripeSize / sizeof(OBS)};
  const std::size_t kind = random.Below(8);
  if (kind < std::size(kUnits)) return std::max<std::size_t>(random.Near(kUnits[kind], 2 * kUnits[kind]), 1);
  return 1 + random.Below(60);
}

// Fills and closes a store and reads it with several iterators at once, three times.
void RunStoreScript(unsigned seed) {
  Random random(seed);
  TempFileDataStore store(nullptr);
  const std::size_t columns = SomeColumns(random);
  MakeColumns(store, columns);
  std::vector<Row> rows;
  for (std::size_t round = 0; round < 3; ++round) {
    for (std::size_t more = random.Below(std::min<std::size_t>(1000, 3 + 40'000 / columns)); more > 0; --more) {
      rows.push_back(RandomRow(random, columns));
      store.AddRow(rows.back().data());
    }
    ASSERT_EQ(static_cast<long long>(rows.size()), store.RowCount());
    store.Close();
    ASSERT_TRUE(AllCells(store) == rows);
    std::vector<Walk> walks;
    for (std::size_t i = 0; i < 3; ++i) walks.emplace_back(store);
    for (int step = 0; step < 200 && !testing::Test::HasFailure(); ++step) walks[random.Below(3)].Step(random, rows);
  }
}

TEST(StoreScripts, AgreeWithAVector) {
  SpoolDirectories directories(1);
  for (unsigned seed = 1; seed <= Seeds(100) && !testing::Test::HasFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    directories.Use(1 + seed % 3);
    RunStoreScript(seed);
  }
}

// ---- Procedures ----

// A procedure over a store, and the cells that both are expected to have.
class ProcedureScript {
 public:
  explicit ProcedureScript(unsigned seed)
      : m_random(seed), m_oldCount(m_random.Below(20)), m_newCount(m_random.Below(20)) {
    MakeColumns(m_parent, m_oldCount);
    for (std::size_t rows = m_random.Below(50); rows > 0; --rows) {
      m_parentRows.push_back(RandomRow(m_random, m_oldCount));
      m_parent.AddRow(m_parentRows.back().data());
    }
    m_case.resize(m_oldCount + m_newCount, kSystemMissingCell);
    m_buffer = m_case;
  }

  void Run() {
    TempFileDataStore store(&m_parent);
    MakeColumns(store, m_oldCount + m_newCount);
    m_cases.reset(store.MakeIterator(static_cast<unsigned>(m_newCount), nullptr));
    for (const Row& row : m_parentRows) {
      ASSERT_NE(0, m_cases->Next());
      Deliver(row);
      for (std::size_t acts = m_random.Below(4); acts > 0; --acts) Act();
      ASSERT_EQ(static_cast<long long>(m_stored.size()), m_cases->Tell());
    }
    if (m_random.Below(2) == 0) {
      EXPECT_EQ(0, m_cases->Next());
    }
    LeaveAlone();
    m_cases.reset();
    EXPECT_TRUE(AllCells(store) == m_stored);
  }

 private:
  void Deliver(const Row& row) {
    LeaveAlone();
    std::ranges::copy(row, m_case.begin());
    std::ranges::copy(row, m_buffer.begin());
    m_written = false;
    ASSERT_EQ(m_case, PresentCells(*m_cases));
  }

  // A case that was not stored is stored before the next one is read.
  void LeaveAlone() {
    if (!m_written) Store();
  }

  void Store() {
    m_stored.push_back(m_buffer);
    m_written = true;
  }

  void Act() {
    switch (m_random.Below(3)) {
      case 0:
        return Change();
      case 1:
        m_cases->UpdateCase();
        std::copy_n(m_case.end() - static_cast<std::ptrdiff_t>(m_newCount), m_newCount,
                    m_buffer.end() - static_cast<std::ptrdiff_t>(m_newCount));
        return Store();
      default:
        m_cases->InsertCase();
        m_buffer = m_case;
        return Store();
    }
  }

  // Changes any column, old or new.
  void Change() {
    if (m_case.empty()) return;
    const std::size_t column = m_random.Below(m_case.size());
    const double number = static_cast<double>(m_random.Below(1000)) / 4;
    m_cases->SetColumnValue(static_cast<int>(column), number);
    m_case[column] = NumberCell(number);
  }

  Random m_random;
  std::size_t m_oldCount;
  std::size_t m_newCount;
  TempFileDataStore m_parent{nullptr};
  std::vector<Row> m_parentRows;
  std::unique_ptr<ProcedureDataStorage> m_cases;
  Row m_case;    // as the procedure sees it
  Row m_buffer;  // to be stored
  bool m_written = true;
  std::vector<Row> m_stored;
};

TEST(ProcedureScripts, AgreeWithTheModel) {
  SpoolDirectories directories(1);
  for (unsigned seed = 1; seed <= Seeds(200) && !testing::Test::HasFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    directories.Use(1 + seed % 3);
    ProcedureScript(seed).Run();
  }
}

}  // namespace
}  // namespace spool_test
