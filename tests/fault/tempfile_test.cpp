// A temp file whose system calls fail, one after the other: each operation reports the failure and gives no wrong byte,
// and after Clear the work goes on where it stopped.

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <tuple>

#include "Platform/stream/tests/StreamTesting.h"
#include "datasrc/QUAV_TempFile.h"
#include "tests/support/SpoolDirectories.h"

namespace tempfile_test {
namespace {

constexpr std::size_t kStripe = 65536;
constexpr std::size_t kSize = 11 * kStripe + 777;
constexpr int kMostTries = 3;

enum class Reading { read, peek };

// The number of files, what fails, how the bytes are read.
class FaultyTempFile : public testing::TestWithParam<std::tuple<std::size_t, FaultKind, Reading>> {
 protected:
  // What fails and is tried again.
  bool Fails() const { return m_kind == FaultKind::error || m_kind == FaultKind::breakOff; }

  // Goes on after an operation that did not do everything.
  void Recover(QUAV_TempFile& file) {
    EXPECT_TRUE(Fails());
    EXPECT_FALSE(file.Good());
    EXPECT_EQ(EIO, file.Error());
    EXPECT_TRUE(file.IsOpen());
    file.Clear();
    EXPECT_TRUE(file.Good());
    EXPECT_EQ(0, file.Error());
    ASSERT_LE(++m_failures, kMostTries);
  }

  void WriteAll(QUAV_TempFile& file, const std::string& bytes) {
    while (static_cast<std::size_t>(file.Tell()) < bytes.size() && !HasFatalFailure()) {
      const auto at = static_cast<std::size_t>(file.Tell());
      const std::size_t size = std::min<std::size_t>(100'003, bytes.size() - at);
      const unsigned long written = file.Write(&bytes[at], size);
      EXPECT_EQ(at + written, static_cast<std::size_t>(file.Tell()));
      if (written < size) Recover(file);
    }
    while (file.Flush() != 0 && !HasFatalFailure()) Recover(file);
  }

  // Returns all bytes, read from the start.
  std::string Bytes(QUAV_TempFile& file) {
    std::string all;
    while (!HasFatalFailure() && file.Seek(static_cast<long>(all.size()), kSeekFromStart) == 0) {
      const std::size_t before = all.size();
      if (m_reading == Reading::read) {
        std::string piece(100'003, '\0');
        piece.resize(file.Read(piece.data(), piece.size()));
        all += piece;
      } else {
        all += Text(file.Peek(50'000));
      }
      // A failure while reading ahead may come with all bytes that were asked for.
      if (!file.Good()) {
        Recover(file);
      } else if (all.size() == before) {
        EXPECT_NE(0, file.EndOfFile());
        break;
      }
    }
    return all;
  }

  const std::size_t m_files = std::get<0>(GetParam());
  const FaultKind m_kind = std::get<1>(GetParam());
  const Reading m_reading = std::get<2>(GetParam());
  int m_failures = 0;
};

TEST_P(FaultyTempFile, ReportsEachFailureAndGoesOnAfterIt) {
  const SpoolDirectories directories(m_files);
  const std::string bytes = Noise(kSize);
  int call = 1;
  for (bool isStruck = true; isStruck && !HasFailure(); ++call) {
    SCOPED_TRACE("call " + std::to_string(call));
    m_failures = 0;
    QUAV_TempFile file("cache", call % 2 == 0);
    const FaultyCalls calls({.kind = m_kind, .error = EIO, .call = call});
    WriteAll(file, bytes);
    EXPECT_TRUE(SameBytes(bytes, Bytes(file)));
    isStruck = calls.Struck();
    EXPECT_EQ(isStruck && Fails(), m_failures > 0);
  }
  EXPECT_GT(call, 5);
}

INSTANTIATE_TEST_SUITE_P(Calls, FaultyTempFile,
                         testing::Combine(testing::Values(1, 2, 3),
                                          testing::Values(FaultKind::error, FaultKind::breakOff,
                                                          FaultKind::shortTransfer, FaultKind::interruption),
                                          testing::Values(Reading::read, Reading::peek)));

}  // namespace
}  // namespace tempfile_test
