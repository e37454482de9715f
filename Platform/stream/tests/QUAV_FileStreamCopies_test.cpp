// Copies of a stream, and reading ahead.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <type_traits>

#include "Platform/stream/QUAV_FileStream.h"
#include "Platform/stream/tests/StreamTesting.h"

namespace QUAV_FileStreamCopies_test {
namespace {

constexpr std::size_t kBuffer = QUAV_FileStream::kBufferSize;
constexpr std::size_t kMiB = 1024 * 1024;

// ---- Copies ----

TEST_F(FileStream, CopiesReadIndependently) {
  const std::string bytes = Noise(kMiB);
  QUAV_FileStream stream;
  stream.Open(Make("file", bytes).c_str(), "rb");
  Read(stream, 10);
  QUAV_FileStream copy(stream);
  EXPECT_EQ(10, copy.Tell());
  EXPECT_EQ(stream.GetNameStr(), copy.GetNameStr());
  EXPECT_EQ(bytes.substr(10, 5), Read(copy, 5));
  EXPECT_EQ(bytes.substr(10, 5), Read(stream, 5));
  copy.Seek(800000, kSeekFromStart);
  EXPECT_EQ(bytes.substr(15, 5), Read(stream, 5));
  EXPECT_EQ(bytes.substr(800000, 5), Read(copy, 5));
}

TEST_F(FileStream, CopiesShareADescriptorThatTheLastCloses) {
  const std::size_t before = OpenDescriptors();
  QUAV_FileStream stream;
  stream.Open(Make("file", "abc").c_str(), "rb");
  {
    QUAV_FileStream copy(stream);
    EXPECT_EQ(before + 1, OpenDescriptors());
    EXPECT_EQ(0, stream.Close());
    EXPECT_FALSE(stream.IsOpen());
    EXPECT_TRUE(copy.IsOpen());
    EXPECT_EQ("abc", Read(copy, 4));
    EXPECT_EQ(before + 1, OpenDescriptors());
  }
  EXPECT_EQ(before, OpenDescriptors());
}

TEST_F(FileStream, CopyingFirstWritesHeldBytes) {
  QUAV_FileStream stream;
  stream.Open(Path("file").c_str(), "w+b");
  Write(stream, "abc");
  QUAV_FileStream copy(stream);
  EXPECT_EQ("abc", Contents(Path("file")));
  EXPECT_EQ(3, copy.Tell());
  copy.Seek(0, kSeekFromStart);
  EXPECT_EQ("abc", Read(copy, 4));
  Write(stream, "def");
  EXPECT_EQ(6, stream.Tell());
}

TEST_F(FileStream, CopyOfAClosedStreamIsClosedAndKeepsTheName) {
  QUAV_FileStream stream;
  stream.Open(Make("file", "abc").c_str(), "rb");
  stream.Close();
  QUAV_FileStream copy(stream);
  EXPECT_FALSE(copy.IsOpen());
  EXPECT_EQ(Path("file"), copy.Name());
  EXPECT_NE(0, copy.Open(copy.Name(), "rb"));
  EXPECT_FALSE(stream.IsOpen());
}

TEST_F(FileStream, CopyHasItsOwnFailureAndEnd) {
  QUAV_FileStream stream;
  stream.Open(Make("file", "abc").c_str(), "rb");
  Read(stream, 4);
  Write(stream, "x");
  QUAV_FileStream copy(stream);
  EXPECT_TRUE(copy.Good());
  EXPECT_EQ(0, copy.EndOfFile());
  copy.Clear();
  EXPECT_FALSE(stream.Good());
  EXPECT_NE(0, stream.EndOfFile());
}

TEST_F(FileStream, CopiesReadOnDifferentThreads) {
  const std::string bytes = Noise(kMiB);
  std::vector<std::string> found(4);
  {
    QUAV_FileStream stream;
    stream.Open(Make("file", bytes).c_str(), "rb");
    std::vector<std::thread> threads;
    for (std::string& whole : found) {
      threads.emplace_back([&whole, copy = std::make_unique<QUAV_FileStream>(stream)] {
        for (std::string got = Read(*copy, 1000); !got.empty(); got = Read(*copy, 1000)) whole += got;
        copy->Close();
      });
    }
    stream.Close();
    for (std::thread& thread : threads) thread.join();
  }
  for (const std::string& whole : found) EXPECT_TRUE(SameBytes(bytes, whole));
}

static_assert(!std::is_copy_assignable_v<QUAV_FileStream>);

// ---- Reading ahead ----

std::vector<FaultyCalls::Advice> AdviceWhileReading(const std::string& path, std::size_t piece, std::size_t size) {
  QUAV_FileStream stream;
  stream.Open(path.c_str(), "rb");
  const FaultyCalls calls;
  stream.EnableMultiThreadReading();
  for (std::size_t done = 0; done < size; done += piece) Read(stream, piece);
  stream.DisableMultiThreadReading();
  return calls.AllAdvice();
}

TEST_F(FileStream, AdvisesTheKernelOnceOfSequentialReading) {
  EXPECT_THAT(AdviceWhileReading(Make("file", std::string(2 * kMiB, 'x')), 1024, 3 * kBuffer),
              testing::ElementsAre(FaultyCalls::Advice{0, 0, POSIX_FADV_SEQUENTIAL},
                                   FaultyCalls::Advice{0, 0, POSIX_FADV_NORMAL}));
}

TEST_F(FileStream, GivesNoAdviceForAShortFile) {
  EXPECT_TRUE(AdviceWhileReading(Make("file", std::string(4 * kBuffer - 1, 'x')), 1000, kMiB).empty());
}

TEST_F(FileStream, GivesNoAdviceByDefault) {
  QUAV_FileStream stream;
  stream.Open(Make("file", std::string(2 * kMiB, 'x')).c_str(), "rb");
  const FaultyCalls calls;
  stream.DisableMultiThreadReading();
  while (!Read(stream, 1000).empty()) {
  }
  EXPECT_TRUE(calls.AllAdvice().empty());
}

TEST_F(FileStream, CloseWithdrawsTheAdvice) {
  QUAV_FileStream stream;
  stream.Open(Make("file", std::string(2 * kMiB, 'x')).c_str(), "rb");
  const FaultyCalls calls;
  stream.EnableMultiThreadReading();
  stream.Close();
  ASSERT_EQ(2U, calls.AllAdvice().size());
  EXPECT_EQ(POSIX_FADV_NORMAL, calls.AllAdvice()[1].advice);
}

TEST_F(FileStream, ReadsTheSameBytesWithAdvice) {
  const std::string bytes = Noise(3 * kMiB);
  QUAV_FileStream stream;
  stream.Open(Make("file", bytes).c_str(), "rb");
  stream.EnableMultiThreadReading();
  std::string found;
  for (std::string got = Read(stream, 999); !got.empty(); got = Read(stream, 999)) found += got;
  EXPECT_TRUE(SameBytes(bytes, found));
}

}  // namespace
}  // namespace QUAV_FileStreamCopies_test
