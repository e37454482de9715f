// Random scripts: a temp file held against a string, and a store of cases against a vector, over 1 to 3 directories.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "datasrc/QUAV_TempFile.h"
#include "datasrc/TempFileDataStore.h"
#include "tests/support/Reading.h"
#include "tests/support/SpoolDirectories.h"

namespace {

class Random {
 public:
  explicit Random(unsigned seed) : m_random(seed) {}
  std::size_t Below(std::size_t limit) { return std::uniform_int_distribution<std::size_t>(0, limit - 1)(m_random); }
  // Every piece of it is another: to make all bytes of each at random would take the time of the test.
  std::string Bytes(std::size_t size) {
    static const std::string many = [] {
      std::mt19937 random(1);
      std::string bytes(1'000'000, '\0');
      for (char& byte : bytes) byte = static_cast<char>(random());
      return bytes;
    }();
    return many.substr(Below(many.size() - size), size);
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
  // Often about a stripe.
  std::size_t Size() {
    const std::size_t kind = m_random.Below(16);
    if (kind == 0) return m_random.Below(200'000);
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
    EXPECT_TRUE(bytes.size() == wanted || m_file.EndOfFile() != 0);
    m_position += bytes.size();
  }

  void Peek() {
    const std::size_t wanted = std::min(Size(), QUAV_FileStream::kMaxPeek);
    const QUAV_FileStream::Window window = m_file.Peek(wanted);
    EXPECT_GE(window.Size(), std::min(wanted, m_bytes.size() - m_position));
    EXPECT_TRUE(std::string(reinterpret_cast<const char*>(window.begin), window.Size()) ==
                m_bytes.substr(m_position, window.Size()));
    const std::size_t skipped = m_random.Below(window.Size() + 1);
    m_file.Skip(skipped);
    m_position += skipped;
  }

  void Seek() {
    const std::size_t target = m_random.Below(m_bytes.size() + 1);
    const std::size_t froms[] = {0, m_position, m_bytes.size()};
    const std::size_t direction = m_random.Below(3);
    const long offset = static_cast<long>(target) - static_cast<long>(froms[direction]);
    EXPECT_EQ(0, m_file.Seek(offset, static_cast<SeekDirection>(direction)));
    m_position = target;
  }

  Random m_random;
  QUAV_TempFile m_file;
  std::string m_bytes;
  std::size_t m_position = 0;
};

TEST(TempFileScripts, AgreeWithAString) {
  SpoolDirectories directories(1);
  for (unsigned seed = 1; seed <= 1000 && !testing::Test::HasFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    directories.Use(1 + seed % 3);
    TempFileScript(seed).Run();
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

void RunStoreScript(unsigned seed) {
  Random random(seed);
  TempFileDataStore store(nullptr);
  const std::size_t columns = 1 + random.Below(60);
  for (std::size_t i = 0; i < columns; ++i) store.MakeVariable(0, nullptr);
  std::vector<std::vector<OBS>> rows(random.Below(3000));
  for (auto& row : rows) {
    for (std::size_t i = 0; i < columns; ++i) row.push_back(RandomCell(random));
    store.AddRow(row.data());
  }
  ASSERT_TRUE(AllCells(store) == rows);
  const std::unique_ptr<QUAV_InputCaseIterator> cases(store.MakeIterator(nullptr));
  std::size_t next = 0;
  for (int step = 0; step < 200; ++step) {
    const std::size_t kind = random.Below(4);
    const std::size_t row = kind == 0 ? next - (next > 0) : kind == 1 ? next + random.Below(20) : random.Below(3100);
    if (kind != 3) {
      EXPECT_EQ(row < rows.size(), cases->Seek(static_cast<long long>(row)) != 0);
      if (row < rows.size()) next = row;
    }
    ASSERT_EQ(static_cast<long long>(next), cases->Tell());
    ASSERT_EQ(next < rows.size(), cases->Next() != 0);
    if (next < rows.size()) {
      ASSERT_EQ(rows[next], PresentCells(*cases)) << "row " << next;
      ++next;
    }
  }
}

TEST(StoreScripts, AgreeWithAVector) {
  SpoolDirectories directories(1);
  for (unsigned seed = 1; seed <= 100 && !testing::Test::HasFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    directories.Use(1 + seed % 3);
    RunStoreScript(seed);
  }
}

}  // namespace
