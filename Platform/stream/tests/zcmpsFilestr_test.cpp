#include "Platform/stream/zcmpsFilestr.h"

#include <sched.h>

#include <cerrno>
#include <functional>
#include <limits>

#include "Platform/stream/StreamBeneath.h"
#include "Platform/stream/tests/ZcmpsTesting.h"

namespace zcmpsFilestr_test {
namespace {

using ZcmpsFilestr = ZcmpsFilestrTest;

// ---- Reading what was written ----

TEST_F(ZcmpsFilestr, ReadsWhatWasWritten) {
  for (const std::size_t size : {0UL, 1UL, 8UL, 1'000UL, kPlainBlockSize - 1, kPlainBlockSize, kPlainBlockSize + 1,
                                 5 * kPlainBlockSize, 7 * kPlainBlockSize + 77}) {
    for (const int threads : {0, 1}) {
      const std::string plain = Codes(size, static_cast<unsigned>(size));
      BlocksOf blocks(Written(plain, threads));
      EXPECT_TRUE(SameBytes(plain, blocks.All())) << size;
      EXPECT_TRUE(blocks.IsWhole());
      EXPECT_TRUE(blocks.Good());
      EXPECT_NE(0, blocks.EndOfFile());
      EXPECT_EQ(kFrontSize + static_cast<long>(size), blocks.Length());
    }
  }
}

TEST_F(ZcmpsFilestr, RoundTripsIncompressibleBytes) {
  const std::string plain = Noise(3 * kPlainBlockSize + 5);
  EXPECT_TRUE(SameBytes(plain, BlocksOf(Written(plain, 1)).All()));
}

TEST_F(ZcmpsFilestr, KeepsTheBytesBeforeRow0) {
  EXPECT_EQ(kFront, Contents(Written(Codes(1'000))).substr(0, kFrontSize));
}

TEST_F(ZcmpsFilestr, ThreadsWriteTheSameFile) {
  const std::string plain = Codes(9 * kPlainBlockSize + 100);
  const std::string alone = Contents(Written(plain, 0));
  EXPECT_TRUE(SameBytes(alone, Contents(Written(plain, 1))));
}

TEST_F(ZcmpsFilestr, SmallWritesGiveTheSameFile) {
  const std::string plain = Codes(2 * kPlainBlockSize + 100);
  const std::string path = Written(plain);
  const std::string atOnce = Contents(path);
  std::ofstream(path, std::ios::binary) << kFront;
  QUAV_FileStream stream;
  stream.Open(path.c_str(), "rb");
  zcmpsFilestr layer(stream);
  EXPECT_TRUE(layer.setRow0Pos(kFrontSize));
  for (std::size_t i = 0; i < plain.size(); i += 777) Write(layer, plain.substr(i, 777));
  EXPECT_EQ(0, layer.Close());
  EXPECT_TRUE(SameBytes(atOnce, Contents(path)));
}

TEST_F(ZcmpsFilestr, SaysWhereTheNextBlockBegins) {
  BlocksOf blocks(Written(Codes(2 * kPlainBlockSize + 5)));
  for (const auto& [position, next] : std::vector<std::pair<long, long>>{{-1, 0},
                                                                         {0, 0},
                                                                         {1, kBlock},
                                                                         {kBlock, kBlock},
                                                                         {2 * kBlock, 2 * kBlock},
                                                                         {2 * kBlock + 1, 2 * kBlock + 5},
                                                                         {9 * kBlock, 2 * kBlock + 5}})
    EXPECT_EQ(kFrontSize + next, blocks.NextBlock(kFrontSize + position)) << position;
}

TEST_F(ZcmpsFilestr, CountsPositionsInPlainBytesFromRow0) {
  const std::string plain = Codes(3 * kPlainBlockSize);
  BlocksOf blocks(Written(plain));
  EXPECT_EQ(kFrontSize, blocks.Tell());
  Read(blocks, 100);
  EXPECT_EQ(kFrontSize + 100, blocks.Tell());
  for (const long position : {2 * kBlock + 5, 0L, kBlock, kBlock - 1, 3 * kBlock - 1, 5L, 6L, 2 * kBlock + 5}) {
    EXPECT_EQ(0, blocks.Seek(kFrontSize + position, kSeekFromStart));
    EXPECT_EQ(kFrontSize + position, blocks.Tell());
    EXPECT_TRUE(SameBytes(plain.substr(static_cast<std::size_t>(position), 10), Read(blocks, 10)));
  }
  EXPECT_EQ(0, blocks.Seek(-4, kSeekFromPresent));
  EXPECT_EQ(kFrontSize + 2 * kBlock + 11, blocks.Tell());
  EXPECT_EQ(0, blocks.Seek(-3, kSeekFromEnd));
  EXPECT_EQ(plain.substr(plain.size() - 3), Read(blocks, 10));
}

TEST_F(ZcmpsFilestr, ReadsNothingAfterTheEnd) {
  BlocksOf blocks(Written(Codes(100)));
  EXPECT_EQ(0, blocks.Seek(kFrontSize + 1'000, kSeekFromStart));
  EXPECT_EQ("", Read(blocks, 10));
  EXPECT_TRUE(blocks.Good());
  EXPECT_EQ(kFrontSize + 1'000, blocks.Tell());
}

TEST_F(ZcmpsFilestr, RefusesASeekBeforeRow0) {
  BlocksOf blocks(Written(Codes(100)));
  EXPECT_EQ(-1, blocks.Seek(kFrontSize - 1, kSeekFromStart));
  EXPECT_EQ(kFrontSize, blocks.Tell());
}

TEST_F(ZcmpsFilestr, WindowCrossesBlockBorders) {
  const std::string plain = Codes(3 * kPlainBlockSize + 50);
  BlocksOf blocks(Written(plain));
  std::string all;
  for (;;) {
    const auto window = blocks.Peek(60'000);
    if (window.Size() == 0) break;
    EXPECT_LE(std::min<std::size_t>(60'000, plain.size() - all.size()), window.Size());
    const std::size_t taken = std::min<std::size_t>(window.Size(), 59'999);
    all += Text(window).substr(0, taken);
    blocks.Skip(taken);
    EXPECT_EQ(kFrontSize + static_cast<long>(all.size()), blocks.Tell());
  }
  EXPECT_TRUE(SameBytes(plain, all));
}

TEST_F(ZcmpsFilestr, SeekReadsOneBlock) {
  const std::string path = Written(Codes(50 * kPlainBlockSize));
  BlocksOf blocks(path);
  for (const long block : {40L, 3L, 17L, 49L, 0L}) {
    const FaultyCalls calls;
    blocks.Seek(kFrontSize + block * kBlock + 1'000, kSeekFromStart);
    EXPECT_EQ(100u, Read(blocks, 100).size());
    ASSERT_EQ(1u, calls.Calls().size());
    EXPECT_GT(kPlainBlockSize, calls.Calls().front().size);
  }
}

TEST_F(ZcmpsFilestr, ReadAcrossABorderReadsTwoBlocksAndNoneAhead) {
  const std::string path = Written(Codes(20 * kPlainBlockSize));
  BlocksOf blocks(path);
  const FaultyCalls calls;
  for (const long block : {4L, 9L, 2L}) {
    blocks.Seek(kFrontSize + block * kBlock - 50, kSeekFromStart);
    EXPECT_EQ(100u, Read(blocks, 100).size());
  }
  EXPECT_EQ(6u, calls.Calls().size());
}

TEST_F(ZcmpsFilestr, OpensAFileByItsTableOnly) {
  const std::string path = Written(Codes(50 * kPlainBlockSize));
  QUAV_FileStream stream;
  stream.Open(path.c_str(), "rb");
  zcmpsFilestr layer(stream);
  const FaultyCalls calls;
  EXPECT_TRUE(layer.readFilePosInfo(kFrontSize, false));
  EXPECT_EQ(4u, calls.CallsOf(FaultyCalls::Kind::read).size()) << "its tail, its head, its entries, its tail";
}

TEST_F(ZcmpsFilestr, CopiesReadIndependently) {
  const std::string plain = Codes(4 * kPlainBlockSize);
  BlocksOf blocks(Written(plain));
  Read(blocks, 1'000);
  zcmpsFilestr copy(blocks);
  EXPECT_EQ(blocks.Tell(), copy.Tell());
  blocks.Seek(kFrontSize + 3 * kBlock, kSeekFromStart);
  EXPECT_TRUE(SameBytes(plain.substr(1'000, 200'000), Read(copy, 200'000)));
  EXPECT_TRUE(SameBytes(plain.substr(3 * kPlainBlockSize, 10), Read(blocks, 10)));
  blocks.Close();
  EXPECT_TRUE(SameBytes(plain.substr(201'000, 10), Read(copy, 10)));
}

TEST_F(ZcmpsFilestr, ReadsTheSameBytesWithAndWithoutReadAhead) {
  const std::string plain = Codes(20 * kPlainBlockSize);
  BlocksOf blocks(Written(plain));
  Read(blocks, 100);
  blocks.SetReadAhead(false);
  EXPECT_EQ(kFrontSize + 100, blocks.Tell());
  EXPECT_TRUE(SameBytes(plain, blocks.All()));
  blocks.SetReadAhead(true);
  EXPECT_TRUE(SameBytes(plain, blocks.All()));
}

TEST_F(ZcmpsFilestr, ReadsCorrectlyInAndOutOfSequence) {
  const std::string plain = Codes(30 * kPlainBlockSize);
  BlocksOf blocks(Written(plain));
  std::mt19937 random(3);
  for (int i = 0; i < 40; ++i) {
    const std::size_t at = random() % plain.size();
    const std::size_t size = std::min<std::size_t>(random() % (4 * kPlainBlockSize), plain.size() - at);
    blocks.Seek(kFrontSize + static_cast<long>(at), kSeekFromStart);
    ASSERT_TRUE(SameBytes(plain.substr(at, size), Read(blocks, size))) << i;
  }
}

std::size_t Threads() {
  const std::filesystem::directory_iterator all("/proc/self/task");
  return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

// Two threads on one core would only slow each other down.
TEST_F(ZcmpsFilestr, StartsNoThreadsOnASingleCore) {
  const std::string plain = Codes(10 * kPlainBlockSize);
  const std::string path = Written(plain);
  std::thread([&] {
    cpu_set_t core;
    CPU_ZERO(&core);
    CPU_SET(static_cast<std::size_t>(sched_getcpu()), &core);
    ASSERT_EQ(0, sched_setaffinity(0, sizeof(core), &core));
    const std::size_t before = Threads();
    BlocksOf blocks(path);
    EXPECT_TRUE(SameBytes(plain, Read(blocks, plain.size())));
    EXPECT_EQ(before, Threads()) << "while it reads";
    blocks.setMultiThread(1);
    ASSERT_TRUE(blocks.setFileToAppend(kFrontSize + static_cast<long>(plain.size()), false));
    Write(blocks, plain);
    EXPECT_EQ(before, Threads()) << "while it writes";
    EXPECT_EQ(0, blocks.Close());
  }).join();
  EXPECT_TRUE(SameBytes(plain + plain, BlocksOf(path).All()));
}

TEST_F(ZcmpsFilestr, FootprintCountsTheBlocksInMemory) {
  BlocksOf blocks(Written(Codes(4 * kPlainBlockSize)));
  blocks.SetReadAhead(false);
  const unsigned long atFirst = blocks.Footprint();
  Read(blocks, 1);
  const unsigned long withOne = blocks.Footprint();
  EXPECT_LE(atFirst + kPlainBlockSize, withOne);
  Read(blocks, kPlainBlockSize);
  EXPECT_LE(withOne + kPlainBlockSize, blocks.Footprint()) << "and one to use again";
  ASSERT_TRUE(blocks.setFileToAppend(kFrontSize + 4 * kBlock, false));
  const unsigned long writing = blocks.Footprint();
  Write(blocks, "x");
  EXPECT_LE(writing + kPlainBlockSize, blocks.Footprint());
}

// ---- Calls in the wrong mode ----

TEST_F(ZcmpsFilestr, ClosedLayerFailsWithEBADF) {
  BlocksOf blocks(Written(Codes(100)));
  Read(blocks, 10);
  EXPECT_EQ(0, blocks.Close());
  EXPECT_EQ(-1, blocks.Seek(kFrontSize, kSeekFromStart));
  EXPECT_EQ(EBADF, errno);
  EXPECT_EQ(kFrontSize, blocks.Tell());
  EXPECT_EQ(kFrontSize, blocks.Length());
  EXPECT_TRUE(blocks.IsWhole());
  EXPECT_EQ(0, blocks.EndOfFile());
  EXPECT_EQ(0, blocks.Flush());
  blocks.Skip(1);
  EXPECT_EQ(kFrontSize, blocks.Tell());
  EXPECT_TRUE(blocks.Good());
  EXPECT_EQ("", Read(blocks, 1));
  EXPECT_EQ(EBADF, blocks.Error());
}

TEST_F(ZcmpsFilestr, CopyOfAWritingStreamDoesNothing) {
  const std::string path = Written(Codes(100));
  BlocksOf blocks(path);
  ASSERT_TRUE(blocks.setFileToAppend(kFrontSize + 100, false));
  Write(blocks, "and more");
  {
    zcmpsFilestr copy(blocks);
    EXPECT_EQ(kFrontSize, copy.Tell());
    EXPECT_EQ("", Read(copy, 1));
    EXPECT_EQ(0u, Write(copy, "x"));
    EXPECT_EQ(EBADF, copy.Error());
  }
  EXPECT_EQ(0, blocks.Close());
  EXPECT_EQ(Codes(100) + "and more", BlocksOf(path).All());
}

TEST_F(ZcmpsFilestr, OpensAnotherFileWithEachOverload) {
  const std::string path = Written(Codes(100));
  const std::string other = WriteBlocks(Path("other"), "other");
  const std::function<int(zcmpsFilestr&, const std::string&)> opens[] = {
      [](zcmpsFilestr& layer, const std::string& name) { return layer.Open(name.c_str(), "rb"); },
      [](zcmpsFilestr& layer, const std::string& name) { return layer.Open(ExtNameStr(name), "rb"); },
      [](zcmpsFilestr& layer, const std::string& name) { return layer.Open(name.c_str(), "none", "rb"); },
      [](zcmpsFilestr& layer, const std::string& name) {
        return layer.Open(ExtNameStr(name), ExtNameStr("none"), "rb");
      },
  };
  for (const auto& open : opens) {
    BlocksOf blocks(path);
    Read(blocks, 5);
    EXPECT_EQ(0, open(blocks, Path("missing")));
    EXPECT_EQ(ENOENT, blocks.Error());
    EXPECT_NE(0, open(blocks, other));
    EXPECT_EQ(0, blocks.Error());
    EXPECT_EQ("", Read(blocks, 1)) << "its blocks are not known yet";
    blocks.Clear();
    ASSERT_TRUE(blocks.readFilePosInfo(kFrontSize, false));
    EXPECT_EQ("other", blocks.All());
  }
}

TEST_F(ZcmpsFilestr, RefusesASeekThatOverflows) {
  BlocksOf blocks(Written(Codes(100)));
  Read(blocks, 10);
  errno = 0;
  EXPECT_EQ(-1, blocks.Seek(std::numeric_limits<long>::max(), kSeekFromPresent));
  EXPECT_EQ(EINVAL, errno);
  errno = 0;
  EXPECT_EQ(-1, blocks.Seek(std::numeric_limits<long>::min(), kSeekFromStart));
  EXPECT_EQ(EINVAL, errno);
  EXPECT_EQ(kFrontSize + 10, blocks.Tell());
}

TEST_F(ZcmpsFilestr, WriteFailsWhileReading) {
  BlocksOf blocks(Written(Codes(100)));
  EXPECT_EQ(0u, Write(blocks, "abc"));
  EXPECT_EQ(EBADF, blocks.Error());
  EXPECT_FALSE(blocks.Good());
  blocks.Clear();
  EXPECT_TRUE(blocks.Good());
}

TEST_F(ZcmpsFilestr, ReadFailsWhileWriting) {
  BlocksOf blocks(Written(Codes(100)));
  ASSERT_TRUE(blocks.setFileToAppend(kFrontSize + 100, false));
  EXPECT_EQ("", Read(blocks, 10));
  EXPECT_EQ(0u, blocks.Peek(1).Size());
  EXPECT_EQ(EBADF, blocks.Error());
}

TEST_F(ZcmpsFilestr, SeeksOnlyToItsPositionWhileWriting) {
  BlocksOf blocks(Written(Codes(100)));
  ASSERT_TRUE(blocks.setFileToAppend(kFrontSize + 100, false));
  EXPECT_EQ(0, blocks.Seek(kFrontSize + 100, kSeekFromStart));
  EXPECT_EQ(-1, blocks.Seek(kFrontSize + 99, kSeekFromStart));
}

TEST_F(ZcmpsFilestr, ReportsAMissingFile) {
  QUAV_FileStream stream;
  stream.Open(Path("none").c_str(), "rb");
  zcmpsFilestr layer(stream);
  EXPECT_FALSE(layer.readFilePosInfo(0, false));
  EXPECT_EQ(ENOENT, layer.Error());
  EXPECT_FALSE(layer.setRow0Pos(0));
}

}  // namespace
}  // namespace zcmpsFilestr_test
