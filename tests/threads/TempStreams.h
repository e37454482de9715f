// What the tests of the two compressed streams share: a stream on a file of its own, what must be left when it ends,
// and random scripts.
//
// Both streams store their bytes in blocks. `kBlock` is the number of bytes in one, before compression.

#ifndef TESTS_THREADS_TEMPSTREAMS_H
#define TESTS_THREADS_TEMPSTREAMS_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <memory>
#include <random>
#include <string>

#include "StreamOnDisk.h"

// The threads and the open files of the process at the time when it was made.
class PresentResources {
 public:
  testing::AssertionResult AreAllThatIsLeft() const {
    const testing::AssertionResult threads = HasThreads(m_threads);
    if (!threads) return threads;
    if (m_descriptors == OpenDescriptors()) return testing::AssertionSuccess();
    return testing::AssertionFailure() << OpenDescriptors() << " open files, not " << m_descriptors;
  }

 private:
  const std::size_t m_threads = Threads();
  const std::size_t m_descriptors = OpenDescriptors();
};

// ---- Fixtures ----

template <class Stream>
class StreamFile : public testing::Test {
 protected:
  std::unique_ptr<Stream> Opened() const {
    auto stream = std::make_unique<Stream>(file.Name().c_str(), "w+b", false);
    EXPECT_TRUE(stream->IsOpen());
    return stream;
  }
  // Returns a stream on a new file that holds the bytes, not yet flushed.
  std::unique_ptr<Stream> Written(const std::string& bytes) const {
    auto stream = Opened();
    EXPECT_EQ(bytes.size(), Write(*stream, bytes));
    return stream;
  }
  // Runs each stage on a new stream, which then ends. `bytes` is for the stages to write.
  template <class Stages>
  void ExpectNothingLeftAfter(const Stages& stages, const std::string& bytes) const {
    const PresentResources before;
    for (const auto& stage : stages) {
      stage(*Opened(), bytes);
      EXPECT_TRUE(before.AreAllThatIsLeft()) << "stage " << &stage - std::begin(stages);
    }
  }
  // Runs `attempt` on a disk that has room for fewer and fewer bytes of the `whole` that it writes. `attempt` returns
  // what it read back, and the stream's error.
  template <class Attempt>
  void ExpectAFullDiskIsReported(const std::string& bytes, long whole, const Attempt& attempt) const {
    const PresentResources before;
    for (const long room : {0L, 1L, 1000L, whole / 2, whole - 16, whole - 9, whole - 1, whole}) {
      SCOPED_TRACE("room for " + std::to_string(room));
      {
        const FaultyDisk disk({.room = room});
        const auto [found, error] = attempt();
        EXPECT_EQ(room < whole, disk.Struck());
        EXPECT_EQ(disk.Struck() ? ENOSPC : 0, error);
        EXPECT_TRUE(SameBytes(bytes.substr(0, found.size()), found));
        EXPECT_EQ(disk.Struck(), found.size() < bytes.size());
      }
      EXPECT_TRUE(before.AreAllThatIsLeft());
    }
  }
  // Makes the n-th write fail, for each n until none fails, alone and with all that follow. `attempt` returns what it
  // read back, and the stream's error.
  template <class Attempt>
  void ExpectAnyFailedWriteIsReported(const std::string& bytes, const Attempt& attempt) const {
    const PresentResources before;
    for (const bool lasting : {false, true}) {
      bool struck = true;
      for (int n = 1; struck; ++n) {
        SCOPED_TRACE("write " + std::to_string(n));
        {
          const FaultyDisk disk({.write = n, .error = ENOSPC, .lasting = lasting});
          const auto [found, error] = attempt();
          struck = disk.Struck();
          EXPECT_EQ(struck ? ENOSPC : 0, error);
          EXPECT_TRUE(SameBytes(bytes.substr(0, found.size()), found));
          EXPECT_EQ(struck, found.size() < bytes.size());
        }
        EXPECT_TRUE(before.AreAllThatIsLeft());
      }
    }
  }

  const TempFile file{""};
};

// With a watchdog, which is a thread: not for death tests, because it would not exist in the process that dies.
template <class Stream>
class WatchedStreamFile : public StreamFile<Stream> {
  const Watchdog m_watchdog;
};

// ---- Random scripts ----

// What a script draws.
template <std::size_t kBlock>
class Draws {
 public:
  explicit Draws(unsigned seed) : m_random(seed) {}

  std::size_t Below(std::size_t limit) { return std::uniform_int_distribution<std::size_t>(0, limit - 1)(m_random); }

  // Returns a size up to about a block: mostly small, sometimes on either side of a multiple of what the streams count
  // in: a padded block, a page, a stripe, the buffer of a file, a whole block.
  std::size_t Size() {
    const std::size_t kind = Below(90);
    if (kind < 50) return Below(50);
    if (kind < 75) return Below(20000);
    constexpr std::size_t kUnits[] = {16, 4096, 65536, QUAV_FileStream::kBufferSize};
    return kind < 89 ? Near(kUnits[Below(std::size(kUnits))], 3) : Near(kBlock, 1);
  }

  // Returns a position up to `end`, or a little past it: any one, or one at the edge of a block.
  std::size_t Position(std::size_t end) {
    if (Below(2) == 0) return Below(end + 3);
    return std::min(Near(kBlock, end / kBlock + 1), end + 2);
  }

  // Returns bytes of which the first half compresses well, and the second does not: a random part with the size.
  std::string Bytes(std::size_t size) {
    static const std::string stock = Lines(kBlock) + Noise(kBlock);
    return stock.substr(Below(kBlock), size);
  }

 private:
  // Returns a number near the unit or a multiple of it, up to `most` times.
  std::size_t Near(std::size_t unit, std::size_t most) { return (1 + Below(most)) * unit - 2 + Below(5); }

  std::mt19937 m_random;
};

// Runs a script for each seed, and expects that it leaves nothing.
template <class Run>
void ForEachSeed(const Run& run) {
  const PresentResources before;
  for (unsigned seed = 1; seed <= RandomScripts() && !testing::Test::HasFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    const Watchdog watchdog;
    run(seed);
  }
  EXPECT_TRUE(before.AreAllThatIsLeft());
}

#endif
