// Reading, windows, seeking and writing.

#include "Platform/stream/QUAV_FileStream.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "Platform/stream/tests/StreamTesting.h"

namespace QUAV_FileStream_test {
namespace {

constexpr std::size_t kBuffer = QUAV_FileStream::kBufferSize;
constexpr std::size_t kMiB = 1024 * 1024;

using FileStreamDeathTest = FileStream;

// ---- Reading ----

class FileStreamSize : public StreamTest, public testing::WithParamInterface<std::size_t> {};

TEST_P(FileStreamSize, ReadsAWholeFileInPiecesOfAnySize) {
  const std::string bytes = Noise(GetParam());
  const std::string path = Make("file", bytes);
  for (const std::size_t piece : {std::size_t{7}, std::size_t{4096}, kBuffer - 1, kBuffer, kBuffer + 1, 2 * kMiB}) {
    QUAV_FileStream stream;
    stream.Open(path.c_str(), "rb");
    std::string found;
    for (std::string got = Read(stream, piece); !got.empty(); got = Read(stream, piece)) {
      found += got;
      ASSERT_EQ(found.size(), static_cast<std::size_t>(stream.Tell()));
    }
    EXPECT_TRUE(SameBytes(bytes, found)) << piece;
    EXPECT_NE(0, stream.EndOfFile());
    EXPECT_TRUE(stream.Good());
  }
}

TEST_P(FileStreamSize, WritesAWholeFileInPiecesOfAnySize) {
  const std::string bytes = Noise(GetParam());
  for (const std::size_t piece : {std::size_t{7}, std::size_t{4096}, kBuffer - 1, kBuffer, kBuffer + 1, 2 * kMiB}) {
    QUAV_FileStream stream;
    stream.Open(Path("file").c_str(), "wb");
    for (std::size_t done = 0; done < bytes.size(); done += piece) {
      const std::size_t count = std::min(piece, bytes.size() - done);
      ASSERT_EQ(count, stream.Write(bytes.data() + done, count));
      ASSERT_EQ(done + count, static_cast<std::size_t>(stream.Tell()));
      ASSERT_EQ(done + count, static_cast<std::size_t>(stream.Length()));
    }
    EXPECT_EQ(0, stream.Close());
    EXPECT_TRUE(SameBytes(bytes, Contents(Path("file")))) << piece;
  }
}

TEST_P(FileStreamSize, PeeksThroughAWholeFile) {
  const std::string bytes = Noise(GetParam());
  const std::string path = Make("file", bytes);
  for (const std::size_t wanted : {std::size_t{1}, std::size_t{72}, QUAV_FileStream::kMaxPeek}) {
    for (const std::size_t most : {std::size_t{50000}, kBuffer}) {
      QUAV_FileStream stream;
      stream.Open(path.c_str(), "rb");
      std::string found;
      for (auto window = stream.Peek(wanted); window.Size() > 0; window = stream.Peek(wanted)) {
        ASSERT_GE(window.Size(), std::min(wanted, bytes.size() - found.size()));
        const std::size_t taken = std::min(window.Size(), most);
        found += Text({window.begin, window.begin + taken});
        stream.Skip(taken);
        ASSERT_EQ(found.size(), static_cast<std::size_t>(stream.Tell()));
      }
      EXPECT_TRUE(SameBytes(bytes, found)) << wanted << ", " << most;
      EXPECT_TRUE(stream.Good());
    }
  }
}

INSTANTIATE_TEST_SUITE_P(AroundTheBuffer, FileStreamSize,
                         testing::Values(0, 1, 7, 8, kBuffer - 8, kBuffer - 1, kBuffer, kBuffer + 1, kBuffer + 8,
                                         2 * kBuffer - 1, 2 * kBuffer, 2 * kBuffer + 1, 3 * kBuffer + 12345));

TEST_F(FileStream, ReadsWholeBuffersFromTheFile) {
  QUAV_FileStream stream;
  stream.Open(Make("file", Noise(kMiB)).c_str(), "rb");
  const FaultyCalls calls;
  while (Read(stream, 8).size() == 8) {
  }
  const auto reads = calls.CallsOf(FaultyCalls::Kind::read);
  ASSERT_EQ(5U, reads.size());
  for (const auto& read : reads) EXPECT_EQ(kBuffer, read.size);
}

TEST_F(FileStream, WritesWholeBuffersToTheFile) {
  QUAV_FileStream stream;
  stream.Open(Path("file").c_str(), "wb");
  const FaultyCalls calls;
  const std::string piece = Noise(1000);
  for (int i = 0; i < 600; ++i) Write(stream, piece);
  stream.Close();
  const auto writes = calls.CallsOf(FaultyCalls::Kind::write);
  ASSERT_EQ(3U, writes.size());
  EXPECT_EQ(kBuffer, writes[0].size);
  EXPECT_EQ(kBuffer, writes[1].size);
  EXPECT_EQ(600000 - 2 * kBuffer, writes[2].size);
}

TEST_F(FileStream, TransfersMoreThanTheBufferInOneRequest) {
  const std::string bytes = Noise(2 * kMiB);
  QUAV_FileStream stream;
  stream.Open(Path("file").c_str(), "w+b");
  const FaultyCalls calls;
  Write(stream, bytes);
  stream.Seek(0, kSeekFromStart);
  EXPECT_TRUE(SameBytes(bytes, Read(stream, bytes.size())));
  ASSERT_EQ(2U, calls.Calls().size());
  EXPECT_EQ(bytes.size(), calls.Calls()[0].size);
  EXPECT_EQ(bytes.size(), calls.Calls()[1].size);
  EXPECT_EQ(0U, calls.Calls()[1].offset);
}

TEST_F(FileStream, ReadsMoreThanItHolds) {
  const std::string bytes = Noise(kMiB);
  QUAV_FileStream stream;
  stream.Open(Make("file", bytes).c_str(), "rb");
  Read(stream, 100);
  EXPECT_TRUE(SameBytes(bytes.substr(100, 900000), Read(stream, 900000)));
  EXPECT_TRUE(SameBytes(bytes.substr(900100), Read(stream, kMiB)));
}

TEST_F(FileStream, SeesBytesAppendedByOthers) {
  const std::string path = Make("file", "abc");
  QUAV_FileStream stream;
  stream.Open(path.c_str(), "rb");
  EXPECT_EQ("abc", Read(stream, 10));
  std::ofstream(path, std::ios::app) << "def";
  EXPECT_EQ("def", Read(stream, 10));
}

// ---- The end ----

TEST_F(FileStream, ReachesTheEndOnlyWhenMoreIsRequested) {
  QUAV_FileStream stream;
  stream.Open(Make("file", "abc").c_str(), "rb");
  EXPECT_EQ("abc", Read(stream, 3));
  EXPECT_EQ(0, stream.EndOfFile());
  errno = 0;
  EXPECT_EQ("", Read(stream, 1));
  EXPECT_NE(0, stream.EndOfFile());
  EXPECT_TRUE(stream.Good());
  EXPECT_EQ(0, errno);
}

TEST_F(FileStream, LargeReadReachesTheEnd) {
  QUAV_FileStream stream;
  stream.Open(Make("file", "abc").c_str(), "rb");
  EXPECT_EQ("abc", Read(stream, 2 * kBuffer));
  EXPECT_NE(0, stream.EndOfFile());
}

TEST_F(FileStream, PeekForMoreReachesTheEnd) {
  QUAV_FileStream stream;
  stream.Open(Make("file", "abc").c_str(), "rb");
  EXPECT_EQ("abc", Text(stream.Peek(3)));
  EXPECT_EQ(0, stream.EndOfFile());
  EXPECT_EQ("abc", Text(stream.Peek(4)));
  EXPECT_NE(0, stream.EndOfFile());
}

TEST_F(FileStream, SeekAndClearForgetTheEnd) {
  QUAV_FileStream stream;
  stream.Open(Make("file", "abc").c_str(), "rb");
  Read(stream, 4);
  stream.Seek(0, kSeekFromPresent);
  EXPECT_EQ(0, stream.EndOfFile());
  Read(stream, 1);
  stream.Clear();
  EXPECT_EQ(0, stream.EndOfFile());
  Read(stream, 1);
  stream.ClearAndReset();
  EXPECT_EQ(0, stream.EndOfFile());
}

// ---- Windows ----

TEST_F(FileStream, PeekDoesNotMoveThePosition) {
  QUAV_FileStream stream;
  stream.Open(Make("file", "abcdef").c_str(), "rb");
  EXPECT_EQ("abcdef", Text(stream.Peek(1)));
  EXPECT_EQ(0, stream.Tell());
  stream.Skip(2);
  EXPECT_EQ("cdef", Text(stream.Peek(1)));
  EXPECT_EQ("cd", Read(stream, 2));
  stream.Skip(2);
  EXPECT_EQ(0U, stream.Peek(1).Size());
  EXPECT_EQ(6, stream.Tell());
}

TEST_F(FileStream, PeeksAcrossABufferBorder) {
  const std::string bytes = Noise(2 * kBuffer);
  QUAV_FileStream stream;
  stream.Open(Make("file", bytes).c_str(), "rb");
  stream.Peek(1);
  stream.Skip(kBuffer - 5);
  EXPECT_EQ(5U, stream.Peek(5).Size());
  EXPECT_TRUE(SameBytes(bytes.substr(kBuffer - 5, kBuffer + 5), Text(stream.Peek(6))));
  EXPECT_EQ(kBuffer - 5, static_cast<std::size_t>(stream.Tell()));
}

TEST_F(FileStream, TransferFromAnOddPositionEndsAtAPage) {
  const std::string path = Make("file", Noise(3 * kBuffer));
  QUAV_FileStream stream;
  stream.Open(path.c_str(), "r+b");
  const FaultyCalls calls;
  stream.Seek(100, kSeekFromStart);
  EXPECT_EQ(kBuffer - 100, stream.Peek(1).Size());
  stream.Skip(kBuffer - 100);
  const QUAV_FileStream::Window second = stream.Peek(1);
  EXPECT_EQ(kBuffer, second.Size());
  EXPECT_EQ(0U, reinterpret_cast<std::uintptr_t>(second.begin) % 4096);

  stream.Seek(100, kSeekFromStart);
  Write(stream, std::string(kBuffer - 100, 'x'));
  Write(stream, "y");
  EXPECT_EQ(kBuffer - 100, calls.Calls().back().size);
}

TEST_F(FileStream, PeekOfZeroBytesDoesNotReadTheFile) {
  QUAV_FileStream stream;
  stream.Open(Make("file", "abc").c_str(), "rb");
  const FaultyCalls calls;
  EXPECT_EQ(0U, stream.Peek(0).Size());
  EXPECT_TRUE(calls.Calls().empty());
  Read(stream, 1);
  EXPECT_EQ("bc", Text(stream.Peek(0)));
}

TEST_F(FileStream, PeeksAtItsOwnWrites) {
  QUAV_FileStream stream;
  stream.Open(Path("file").c_str(), "w+b");
  Write(stream, "abcdef");
  EXPECT_EQ(0U, stream.Peek(1).Size());
  stream.Seek(2, kSeekFromStart);
  EXPECT_EQ("cdef", Text(stream.Peek(1)));
}

TEST_F(FileStreamDeathTest, PeekOfTooMuchAsserts) {
  QUAV_FileStream stream;
  stream.Open(Make("file", "abc").c_str(), "rb");
  EXPECT_DEATH(stream.Peek(QUAV_FileStream::kMaxPeek + 1), testing::HasSubstr("assertion failed: wanted <= kMaxPeek"));
}

TEST_F(FileStreamDeathTest, SkipPastTheWindowAsserts) {
  QUAV_FileStream stream;
  stream.Open(Make("file", "abc").c_str(), "r+b");
  EXPECT_DEATH(stream.Skip(1), testing::HasSubstr("assertion failed: count <= window"));
  stream.Peek(1);
  stream.Skip(3);
  EXPECT_DEATH(stream.Skip(1), testing::HasSubstr("assertion failed: count <= window"));
}

// ---- Seeking ----

TEST_F(FileStream, SeeksFromStartPresentAndEnd) {
  QUAV_FileStream stream;
  stream.Open(Make("file", "abcdef").c_str(), "rb");
  EXPECT_EQ(0, stream.Seek(4, kSeekFromStart));
  EXPECT_EQ("e", Read(stream, 1));
  EXPECT_EQ(0, stream.Seek(-3, kSeekFromPresent));
  EXPECT_EQ("c", Read(stream, 1));
  EXPECT_EQ(0, stream.Seek(-1, kSeekFromEnd));
  EXPECT_EQ(5, stream.Tell());
  EXPECT_EQ("f", Read(stream, 2));
}

TEST_F(FileStream, InvalidSeekKeepsThePosition) {
  QUAV_FileStream stream;
  stream.Open(Make("file", "abcdef").c_str(), "rb");
  Read(stream, 7);
  constexpr long kMost = std::numeric_limits<long>::max();
  constexpr long kLeast = std::numeric_limits<long>::min();
  const std::pair<long, SeekDirection> wrong[] = {{-1, kSeekFromStart},
                                                  {-7, kSeekFromPresent},
                                                  {-7, kSeekFromEnd},
                                                  {kMost, kSeekFromPresent},
                                                  {kLeast, kSeekFromStart},
                                                  {kLeast, kSeekFromEnd},
                                                  {0, static_cast<SeekDirection>(3)},
                                                  {0, static_cast<SeekDirection>(-1)}};
  for (const auto& [offset, direction] : wrong) {
    errno = 0;
    EXPECT_EQ(-1, stream.Seek(offset, direction)) << offset << " from " << direction;
    EXPECT_EQ(EINVAL, errno);
    EXPECT_EQ(6, stream.Tell());
    EXPECT_TRUE(stream.Good());
    EXPECT_NE(0, stream.EndOfFile());
  }
}

TEST_F(FileStream, SeekInsideTheBufferDoesNotReadTheFile) {
  const std::string bytes = Noise(kMiB);
  QUAV_FileStream stream;
  stream.Open(Make("file", bytes).c_str(), "rb");
  Read(stream, 1000);
  const FaultyCalls calls;
  for (const long place : {0L, static_cast<long>(kBuffer) - 1, 999L, 1000L, 200000L, 5L}) {
    EXPECT_EQ(0, stream.Seek(place, kSeekFromStart));
    EXPECT_EQ(bytes.substr(static_cast<std::size_t>(place), 1), Read(stream, 1));
  }
  EXPECT_EQ(0, stream.Seek(kBuffer, kSeekFromStart));
  EXPECT_EQ(0, stream.Seek(7, kSeekFromStart));
  EXPECT_EQ(bytes.substr(7, 1), Read(stream, 1));
  EXPECT_EQ(0, stream.Seek(kBuffer, kSeekFromStart));
  EXPECT_TRUE(calls.Calls().empty());
  EXPECT_EQ(bytes.substr(kBuffer, 1), Read(stream, 1));
  EXPECT_EQ(1U, calls.Calls().size());
}

TEST_F(FileStream, SeekOutsideTheBufferReadsTheFileAgain) {
  const std::string bytes = Noise(kMiB);
  QUAV_FileStream stream;
  stream.Open(Make("file", bytes).c_str(), "rb");
  Read(stream, 10);
  stream.Seek(700000, kSeekFromStart);
  EXPECT_EQ(bytes.substr(700000, 10), Read(stream, 10));
  const FaultyCalls calls;
  stream.Seek(10, kSeekFromStart);
  EXPECT_EQ(bytes.substr(10, 10), Read(stream, 10));
  ASSERT_EQ(1U, calls.Calls().size());
  EXPECT_EQ(10, calls.Calls()[0].offset);
}

TEST_F(FileStream, ReadsNothingAfterTheEnd) {
  QUAV_FileStream stream;
  stream.Open(Make("file", "abc").c_str(), "rb");
  for (const long place : {4L, 1000000L, std::numeric_limits<long>::max()}) {
    EXPECT_EQ(0, stream.Seek(place, kSeekFromStart));
    EXPECT_EQ(place, stream.Tell());
    EXPECT_EQ("", Read(stream, 10)) << place;
    EXPECT_NE(0, stream.EndOfFile());
    EXPECT_EQ("", Read(stream, 2 * kBuffer)) << place;
    EXPECT_EQ(0U, stream.Peek(1).Size());
    EXPECT_TRUE(stream.Good());
  }
}

TEST_F(FileStream, WriteAfterTheEndLeavesAHoleOfZeroBytes) {
  const std::string path = Make("file", "abc");
  QUAV_FileStream stream;
  stream.Open(path.c_str(), "r+b");
  stream.Seek(3, kSeekFromEnd);
  Write(stream, "Z");
  EXPECT_EQ(7, stream.Length());
  stream.Seek(0, kSeekFromStart);
  EXPECT_EQ(std::string("abc\0\0\0Z", 7), Read(stream, 10));
}

TEST_F(FileStream, SeekAfterTheEndDoesNotChangeTheFile) {
  const std::string path = Make("file", "abc");
  QUAV_FileStream stream;
  stream.Open(path.c_str(), "r+b");
  stream.Seek(1000, kSeekFromStart);
  EXPECT_EQ(0, stream.Close());
  EXPECT_EQ("abc", Contents(path));
}

TEST_F(FileStream, WorksAboveFourGiB) {
  const long far = 5L << 30;
  QUAV_FileStream stream;
  stream.Open(Path("file").c_str(), "w+b");
  EXPECT_EQ(0, stream.Seek(far, kSeekFromStart));
  Write(stream, "far");
  EXPECT_EQ(far + 3, stream.Tell());
  EXPECT_EQ(far + 3, stream.Length());
  EXPECT_EQ(0, stream.Seek(-3, kSeekFromEnd));
  EXPECT_EQ("far", Read(stream, 4));
}

TEST_F(FileStream, RefusesToWriteAtTheLastPosition) {
  QUAV_FileStream stream;
  stream.Open(Path("file").c_str(), "wb");
  stream.Seek(std::numeric_limits<long>::max(), kSeekFromStart);
  EXPECT_EQ(0U, Write(stream, "abc"));
  EXPECT_EQ(EFBIG, stream.Error());
}

// ---- Writing ----

TEST_F(FileStream, HoldsWrittenBytesUntilFlush) {
  QUAV_FileStream stream;
  stream.Open(Path("file").c_str(), "wb");
  Write(stream, "abc");
  EXPECT_EQ("", Contents(Path("file")));
  EXPECT_EQ(3, stream.Length());
  EXPECT_EQ(0, stream.Flush());
  EXPECT_EQ("abc", Contents(Path("file")));
  EXPECT_EQ(3, stream.Tell());
  Write(stream, "def");
  EXPECT_EQ(0, stream.Flush());
  EXPECT_EQ("abcdef", Contents(Path("file")));
}

TEST_F(FileStream, SeekAwayWritesHeldBytes) {
  QUAV_FileStream stream;
  stream.Open(Path("file").c_str(), "wb");
  Write(stream, "abc");
  EXPECT_EQ(0, stream.Seek(1, kSeekFromStart));
  EXPECT_EQ("abc", Contents(Path("file")));
  Write(stream, "Z");
  EXPECT_EQ(2, stream.Tell());
  EXPECT_EQ(3, stream.Length());
  stream.Close();
  EXPECT_EQ("aZc", Contents(Path("file")));
}

TEST_F(FileStream, SeekToThePresentPositionWritesNothing) {
  QUAV_FileStream stream;
  stream.Open(Path("file").c_str(), "wb");
  Write(stream, "abc");
  EXPECT_EQ(0, stream.Seek(0, kSeekFromPresent));
  EXPECT_EQ("", Contents(Path("file")));
  Write(stream, "def");
  stream.Close();
  EXPECT_EQ("abcdef", Contents(Path("file")));
}

TEST_F(FileStream, AlternatesBetweenReadingAndWriting) {
  const std::string path = Make("file", "abcdefgh");
  QUAV_FileStream stream;
  stream.Open(path.c_str(), "r+b");
  EXPECT_EQ("ab", Read(stream, 2));
  EXPECT_EQ(2U, Write(stream, "XY"));
  EXPECT_EQ("ef", Read(stream, 2));
  EXPECT_EQ(1U, Write(stream, "Z"));
  EXPECT_EQ("h", Text(stream.Peek(1)));
  stream.Close();
  EXPECT_EQ("abXYefZh", Contents(path));
}

TEST_F(FileStream, AppendsFromAnyPosition) {
  const std::string path = Make("file", "abc");
  QUAV_FileStream stream;
  stream.Open(path.c_str(), "a+b");
  EXPECT_EQ("a", Read(stream, 1));
  Write(stream, "1");
  EXPECT_EQ(4, stream.Tell());
  EXPECT_EQ(4, stream.Length());
  stream.Seek(0, kSeekFromStart);
  EXPECT_EQ("abc1", Read(stream, 10));
  stream.Seek(1, kSeekFromStart);
  Write(stream, "23");
  stream.Close();
  EXPECT_EQ("abc123", Contents(path));
}

TEST_F(FileStream, AppendsAfterTheAppendsOfOthers) {
  const std::string path = Make("file", "");
  QUAV_FileStream first;
  QUAV_FileStream second;
  first.Open(path.c_str(), "ab");
  second.Open(path.c_str(), "ab");
  for (const char* text : {"a", "b"}) {
    Write(first, text);
    first.Flush();
    Write(second, text);
    second.Flush();
  }
  EXPECT_EQ("aabb", Contents(path));
  EXPECT_EQ(4, second.Tell());
}

TEST_F(FileStream, AppendsMoreThanTheBuffer) {
  const std::string bytes = Noise(700000);
  const std::string path = Make("file", "abc");
  QUAV_FileStream stream;
  stream.Open(path.c_str(), "ab");
  Write(stream, "12");
  Write(stream, bytes);
  EXPECT_EQ(700005, stream.Tell());
  EXPECT_EQ(0, stream.Close());
  EXPECT_TRUE(SameBytes("abc12" + bytes, Contents(path)));
}

TEST_F(FileStream, ReadsTheFileAgainAfterClearAndReset) {
  const std::string path = Make("file", "abcdef");
  QUAV_FileStream stream;
  stream.Open(path.c_str(), "rb");
  Read(stream, 2);
  std::ofstream(path) << "ABCDEF";
  EXPECT_EQ("c", Read(stream, 1));
  stream.ClearAndReset();
  EXPECT_EQ(3, stream.Tell());
  EXPECT_EQ("DEF", Read(stream, 3));
}

TEST_F(FileStream, ClearAndResetKeepsUnwrittenBytes) {
  QUAV_FileStream stream;
  stream.Open(Path("file").c_str(), "w+b");
  Write(stream, "abc");
  stream.ClearAndReset();
  EXPECT_EQ(3, stream.Tell());
  Write(stream, "def");
  stream.Close();
  EXPECT_EQ("abcdef", Contents(Path("file")));
}

}  // namespace
}  // namespace QUAV_FileStream_test
