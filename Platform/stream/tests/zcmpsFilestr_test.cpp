#include "Platform/stream/zcmpsFilestr.h"

#include <sched.h>

#include <cerrno>
#include <functional>
#include <limits>

#include "Platform/stream/StreamBeneath.h"
#include "Platform/stream/ZlibBlockSearch.h"
#include "Platform/stream/tests/ZlibTesting.h"

namespace zcmpsFilestr_test {
namespace {

constexpr long kBlock = static_cast<long>(kPlainBlockSize);

class ZcmpsFilestr : public StreamTest {
 protected:
  std::string Written(const std::string& plain, int threads = 0) const {
    return WriteBlocks(Path("file"), plain, threads);
  }
  // Appends after `position` bytes of the stream.
  static void Append(const std::string& path, std::size_t position, const std::string& plain, bool reversed = false) {
    BlocksOf layer(path, reversed);
    EXPECT_TRUE(layer.setFileToAppend(kFrontSize + static_cast<long>(position), reversed));
    EXPECT_EQ(plain.size(), Write(layer, plain));
    EXPECT_EQ(0, layer.Close());
  }
};

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

// ---- Appending ----

TEST_F(ZcmpsFilestr, AppendsAtTheEnd) {
  for (const std::size_t first : {0UL, 100UL, 70'000UL, kPlainBlockSize, 2 * kPlainBlockSize + 5}) {
    for (const std::size_t more : {1UL, 5'000UL, 3 * kPlainBlockSize}) {
      const std::string plain = Codes(first + more);
      const std::string path = Written(plain.substr(0, first));
      Append(path, first, plain.substr(first));
      BlocksOf blocks(path);
      EXPECT_TRUE(blocks.IsWhole());
      EXPECT_TRUE(SameBytes(plain, blocks.All())) << first << " and " << more;
    }
  }
}

TEST_F(ZcmpsFilestr, AppendReplacesTheLastBytes) {
  const std::string plain = Codes(2 * kPlainBlockSize + 100'000);
  for (const std::size_t position :
       {0UL, 10UL, kPlainBlockSize, 2 * kPlainBlockSize + 10, 2 * kPlainBlockSize + 99'992}) {
    const std::string path = Written(plain);
    Append(path, position, "and more");
    EXPECT_TRUE(SameBytes(plain.substr(0, position) + "and more", BlocksOf(path).All())) << position;
  }
}

TEST_F(ZcmpsFilestr, ManySmallAppendsLeaveFewBlocks) {
  const std::string plain = Codes(200 * 1'000);
  const std::string path = Written("");
  for (std::size_t i = 0; i < 200; ++i) Append(path, i * 1'000, plain.substr(i * 1'000, 1'000));
  EXPECT_TRUE(SameBytes(plain, BlocksOf(path).All()));
  QUAV_FileStream stream;
  stream.Open(path.c_str(), "rb");
  EXPECT_GE(4u, FindZlibBlocks(*StreamBeneath(stream).GetFile(), kFrontSize, ByteOrder::native).list.blocks.size());
}

TEST_F(ZcmpsFilestr, AppendOverwritesNothing) {
  const std::string path = Written(Codes(kPlainBlockSize + 100));
  const std::string before = Contents(path);
  Append(path, kPlainBlockSize + 100, Codes(1'000));
  EXPECT_TRUE(SameBytes(before, Contents(path).substr(0, before.size())));
}

TEST_F(ZcmpsFilestr, AppendWithoutAWriteDoesNotChangeTheFile) {
  const std::string path = Written(Codes(1'000));
  const std::string before = Contents(path);
  Append(path, 500, "");
  EXPECT_TRUE(SameBytes(before, Contents(path)));
}

TEST_F(ZcmpsFilestr, RefusesToAppendOutsideTheStream) {
  BlocksOf blocks(Written(Codes(100)));
  EXPECT_FALSE(blocks.setFileToAppend(kFrontSize + 101, false));
  EXPECT_FALSE(blocks.setFileToAppend(kFrontSize - 1, false));
  EXPECT_EQ(EINVAL, blocks.Error());
}

// The last block is short, so that an append reads it first.
TEST_F(ZcmpsFilestr, IsClosedWhenItCannotBeOpenedForAppending) {
  BlocksOf blocks(Written(Codes(100)));
  {
    const FaultyCalls calls({.kind = FaultKind::error, .error = EROFS, .call = 2, .lasting = true});
    EXPECT_FALSE(blocks.setFileToAppend(kFrontSize + 100, false));
    EXPECT_EQ(EROFS, errno);
    EXPECT_TRUE(calls.Struck());
  }
  EXPECT_FALSE(blocks.IsOpen());
  EXPECT_FALSE(blocks.setFileToAppend(kFrontSize + 100, false));
  EXPECT_EQ(EINVAL, errno);
  EXPECT_EQ("", Read(blocks, 1));
  EXPECT_EQ(0UL, Write(blocks, "x"));
  blocks.Clear();
  ASSERT_TRUE(blocks.readFilePosInfo(kFrontSize, false));
  EXPECT_EQ(Codes(100), blocks.All());
}

TEST_F(ZcmpsFilestr, DoesNotAppendAfterItsBlocksCouldNotBeFound) {
  BlocksOf blocks(Written(Codes(100)));
  {
    const FaultyCalls calls({.kind = FaultKind::error, .error = EIO, .call = 1, .lasting = true});
    EXPECT_FALSE(blocks.readFilePosInfo(kFrontSize, false));
    EXPECT_EQ(EIO, errno);
  }
  EXPECT_FALSE(blocks.setFileToAppend(kFrontSize + 100, false));
  EXPECT_EQ(EINVAL, errno);
}

TEST_F(ZcmpsFilestr, AppendCutsOffTheRestOfABrokenAppend) {
  const std::string plain = Codes(1'000);
  const std::string path = Written(plain);
  std::ofstream(path, std::ios::binary | std::ios::app) << Noise(500);
  Append(path, 1'000, "more");
  BlocksOf blocks(path);
  EXPECT_TRUE(blocks.IsWhole());
  EXPECT_EQ(plain + "more", blocks.All());
}

// ---- The other byte order ----

TEST_F(ZcmpsFilestr, AppendKeepsTheByteOrderOfTheFile) {
  const std::string path = Path("file");
  std::ofstream(path, std::ios::binary) << kFront;
  Append(path, 0, "first ", true);
  Append(path, 6, "second", true);
  EXPECT_EQ("first second", BlocksOf(path, true).All());
  BlocksOf other(path, false);
  EXPECT_EQ("", other.All()) << "in this order there is no block";
  EXPECT_FALSE(other.Good());
}

// ---- Truncated and damaged files ----

TEST_F(ZcmpsFilestr, TruncatedFileGivesItsWholeBlocksAndReportsTheMissingEnd) {
  const std::string plain = Codes(200) + Noise(100);
  const std::string path = Path("file");
  // Three blocks, each of which ends with a flush.
  std::ofstream(path, std::ios::binary) << kFront;
  {
    QUAV_FileStream stream;
    stream.Open(path.c_str(), "rb");
    zcmpsFilestr layer(stream);
    ASSERT_TRUE(layer.setRow0Pos(kFrontSize));
    for (const std::size_t at : {0UL, 100UL, 200UL}) {
      Write(layer, plain.substr(at, 100));
      EXPECT_EQ(0, layer.Flush());
    }
    EXPECT_EQ(0, layer.Close());
  }
  const std::string whole = Contents(path);
  for (std::size_t size = kFrontSize; size < whole.size(); ++size) {
    BlocksOf blocks(Make("cut", whole.substr(0, size)));
    EXPECT_FALSE(blocks.IsWhole());
    const std::string found = blocks.All();
    EXPECT_EQ(0u, found.size() % 100) << size;
    EXPECT_EQ(plain.substr(0, found.size()), found) << size;
    EXPECT_EQ(ENODATA, blocks.Error()) << size;
  }
  BlocksOf almost(Make("cut", whole.substr(0, whole.size() - 1)));
  EXPECT_EQ(plain, almost.All()) << "all blocks are there";
}

TEST_F(ZcmpsFilestr, FlippedBitGivesOnlyCorrectBytes) {
  const std::string plain = Codes(300);
  const std::string path = Written(plain.substr(0, 200));
  Append(path, 150, plain.substr(150));
  const std::string whole = Contents(path);
  int refused = 0;
  for (std::size_t bit = kFrontSize * 8; bit < whole.size() * 8; ++bit) {
    std::string spoilt = whole;
    spoilt[bit / 8] = static_cast<char>(spoilt[bit / 8] ^ 1 << bit % 8);
    BlocksOf blocks(Make("spoilt", spoilt));
    const std::string found = blocks.All();
    EXPECT_EQ(plain.substr(0, found.size()), found) << bit;
    if (found.size() < plain.size()) {
      EXPECT_FALSE(blocks.Good()) << bit;
      ++refused;
    }
  }
  EXPECT_LT(0, refused);
}

TEST_F(ZcmpsFilestr, ReportsADamagedBlockAndReadsTheOthers) {
  const std::string plain = Codes(4 * kPlainBlockSize);
  const std::string path = Written(plain);
  std::string bytes = Contents(path);
  bytes[bytes.size() * 3 / 8] = static_cast<char>(bytes[bytes.size() * 3 / 8] ^ 1);  // in the second block
  BlocksOf blocks(Make("spoilt", bytes));
  EXPECT_TRUE(SameBytes(plain.substr(0, kPlainBlockSize), blocks.All()));
  EXPECT_EQ(EBADMSG, blocks.Error());
  EXPECT_EQ(0u, blocks.Peek(1).Size());
  blocks.Clear();
  EXPECT_EQ(0, blocks.Seek(kFrontSize + 2 * kBlock, kSeekFromStart));
  EXPECT_TRUE(SameBytes(plain.substr(2 * kPlainBlockSize), Read(blocks, 2 * kPlainBlockSize)));
  EXPECT_TRUE(blocks.Good());
}

// Returns the bytes of a file with another head of its first block, which has a correct sum of its own.
std::string WithFirstHead(std::string bytes, const std::function<void(ZlibBlockHead&)>& change) {
  std::byte* const place = reinterpret_cast<std::byte*>(bytes.data()) + kFrontSize;
  ZlibBlockHead head = LoadBlockHead({place, kBlockHeadSize}, kFrontSize, ByteOrder::native).value();
  change(head);
  StoreBlockHead(place, head, ByteOrder::native);
  return bytes;
}

TEST_F(ZcmpsFilestr, RefusesABlockWhoseHeadDoesNotAgreeWithTheTableOrTheBytes) {
  const std::string bytes = Contents(Written(Codes(1'000)));
  const std::function<void(ZlibBlockHead&)> changes[] = {
      [](ZlibBlockHead& head) { --head.block.plainSize; },
      [](ZlibBlockHead& head) { ++head.block.packedSize; },
      [](ZlibBlockHead& head) { ++head.block.position; },
      [](ZlibBlockHead& head) { head.checksum ^= 1; },
  };
  for (const auto& change : changes) {
    BlocksOf blocks(Make("other", WithFirstHead(bytes, change)));
    EXPECT_TRUE(blocks.IsWhole());
    EXPECT_EQ("", blocks.All());
    EXPECT_EQ(EBADMSG, blocks.Error());
  }
}

TEST_F(ZcmpsFilestr, RefusesABlockThatIsCutOffAfterTheOpening) {
  const std::string path = Written(Codes(1'000));
  BlocksOf blocks(path);
  std::filesystem::resize_file(path, kFrontSize + kBlockHeadSize + 10);
  EXPECT_EQ("", blocks.All());
  EXPECT_EQ(EBADMSG, blocks.Error());
}

TEST_F(ZcmpsFilestr, TailAfterAnotherPlaceIsNotTheEndOfATable) {
  const std::string plain = Codes(1'000);
  const std::string bytes = Contents(Written(plain));
  BlocksOf blocks(Make("other", bytes + bytes.substr(bytes.size() - kTableTailSize)));
  EXPECT_FALSE(blocks.IsWhole());
  EXPECT_EQ(plain, blocks.All());
  EXPECT_EQ(ENODATA, blocks.Error());
}

// Without its table such a file would give the bytes of the second block as if they were the first.
TEST_F(ZcmpsFilestr, GivesNoBlockAfterAMissingOne) {
  const std::string bytes = Contents(Written(Codes(2 * kPlainBlockSize)));
  const auto* const first = reinterpret_cast<const std::byte*>(bytes.data()) + kFrontSize;
  const auto head = LoadBlockHead({first, kBlockHeadSize}, kFrontSize, ByteOrder::native);
  ASSERT_TRUE(head);
  const std::string rest = bytes.substr(static_cast<std::size_t>(head->block.FileEnd()));
  BlocksOf blocks(Make("other", kFront + rest.substr(0, rest.size() - 1)));
  EXPECT_EQ("", blocks.All());
  EXPECT_EQ(ENODATA, blocks.Error());
}

TEST_F(ZcmpsFilestr, FindsBlocksByTheirHeadsWhenTheTableIsDamaged) {
  const std::string plain = Codes(3 * kPlainBlockSize);
  std::string bytes = Contents(Written(plain));
  bytes[bytes.size() - 30] = static_cast<char>(bytes[bytes.size() - 30] ^ 4);
  BlocksOf blocks(Make("spoilt", bytes));
  EXPECT_FALSE(blocks.IsWhole());
  EXPECT_TRUE(SameBytes(plain, blocks.All()));
}

TEST_F(ZcmpsFilestr, FileOfAnotherKindGivesNothing) {
  for (const std::string& bytes : {Noise(1'000), Codes(100), std::string(5'000, '\0')}) {
    BlocksOf blocks(Make("other", kFront + bytes));
    EXPECT_EQ("", blocks.All());
    EXPECT_FALSE(blocks.Good());
  }
}

TEST_F(ZcmpsFilestr, GivesNothingWhenRow0IsAfterTheEnd) {
  BlocksOf blocks(Make("short", "abc"));
  EXPECT_EQ("", blocks.All());
  EXPECT_FALSE(blocks.Good());
}

// ---- System calls that fail ----

TEST_F(ZcmpsFilestr, ReportsEachFailedRead) {
  const std::string plain = Codes(3 * kPlainBlockSize);
  const std::string path = Written(plain);
  for (int call = 1;; ++call) {
    QUAV_FileStream stream;
    ASSERT_NE(0, stream.Open(path.c_str(), "rb"));
    zcmpsFilestr layer(stream);
    layer.SetReadAhead(false);
    const FaultyCalls calls({FaultKind::error, EIO, call});
    const bool isFound = layer.readFilePosInfo(kFrontSize, false);
    const std::string found = isFound ? Read(layer, plain.size()) : "";
    if (!calls.Struck()) {
      EXPECT_TRUE(SameBytes(plain, found));
      EXPECT_LT(5, call);
      break;
    }
    EXPECT_EQ(EIO, layer.Error()) << call;
    EXPECT_EQ(plain.substr(0, found.size()), found) << call;
  }
}

TEST_F(ZcmpsFilestr, FailedWriteIsRememberedAndLeavesNoTable) {
  const std::string plain = Noise(4 * kPlainBlockSize);
  for (int call = 1;; ++call) {
    const std::string path = Make("file", kFront);
    QUAV_FileStream stream;
    ASSERT_NE(0, stream.Open(path.c_str(), "rb"));
    zcmpsFilestr layer(stream);
    ASSERT_TRUE(layer.setRow0Pos(kFrontSize));
    bool isWritten = false;
    bool hasStruck = false;
    {
      const FaultyCalls calls({FaultKind::error, ENOSPC, call, true});
      isWritten = Write(layer, plain) == plain.size();
      isWritten = layer.Close() == 0 && isWritten;
      hasStruck = calls.Struck();
    }
    if (!hasStruck) {
      EXPECT_TRUE(isWritten);
      EXPECT_LT(3, call);
      break;
    }
    EXPECT_FALSE(isWritten) << call;
    EXPECT_EQ(ENOSPC, layer.Error()) << call;
    if (layer.Error() != ENOSPC) break;
    BlocksOf blocks(path);
    const std::string found = blocks.All();
    EXPECT_TRUE(SameBytes(plain.substr(0, found.size()), found)) << call;
  }
}

TEST_F(ZcmpsFilestr, WritesNothingMoreAfterAFailedWrite) {
  QUAV_FileStream stream;
  ASSERT_NE(0, stream.Open(Make("file", kFront).c_str(), "rb"));
  zcmpsFilestr layer(stream);
  ASSERT_TRUE(layer.setRow0Pos(kFrontSize));
  {
    const FaultyCalls calls({FaultKind::error, ENOSPC, 1, true});
    EXPECT_EQ(0u, Write(layer, Noise(4 * kPlainBlockSize)));
    EXPECT_EQ(ENOSPC, layer.Error());
  }
  const std::string before = Contents(Path("file"));
  errno = 0;
  EXPECT_EQ(0u, Write(layer, "x"));
  EXPECT_EQ(ENOSPC, errno);
  EXPECT_EQ(-1, layer.Flush());
  EXPECT_EQ(-1, layer.Close());
  EXPECT_EQ(before.substr(0, kFrontSize), Contents(Path("file")).substr(0, kFrontSize));
  EXPECT_EQ(std::string::npos, Contents(Path("file")).find("ZTAB"));
}

TEST_F(ZcmpsFilestr, FailsToAppendWhenTheRestOfABrokenAppendCannotBeCutOff) {
  const std::string plain = Codes(70'000);
  const std::string path = Written(plain);
  std::ofstream(path, std::ios::binary | std::ios::app) << Noise(500);
  const std::string before = Contents(path);
  BlocksOf layer(path);
  ASSERT_TRUE(layer.setFileToAppend(kFrontSize + 70'000, false));
  EXPECT_EQ(4u, Write(layer, "more"));
  PresentFileCalls().ftruncate = [](int, off_t) {
    errno = EIO;
    return -1;
  };
  EXPECT_EQ(-1, layer.Flush());
  EXPECT_EQ(EIO, layer.Error());
  EXPECT_EQ(-1, layer.Close());
  PresentFileCalls().ftruncate = &::ftruncate;
  EXPECT_TRUE(SameBytes(before, Contents(path)));
}

TEST_F(ZcmpsFilestr, FailedAppendKeepsTheOldContents) {
  const std::string plain = Codes(kPlainBlockSize + 1'000);
  for (int call = 1;; ++call) {
    const std::string path = Written(plain);
    BlocksOf layer(path);
    bool hasStruck = false;
    {
      const FaultyCalls calls({FaultKind::breakOff, ENOSPC, call, true});
      if (layer.setFileToAppend(kFrontSize + static_cast<long>(plain.size()), false)) Write(layer, Noise(300'000));
      layer.Close();
      hasStruck = calls.Struck();
    }
    EXPECT_TRUE(SameBytes(plain, BlocksOf(path).All().substr(0, plain.size()))) << call;
    if (!hasStruck) break;
  }
}

}  // namespace
}  // namespace zcmpsFilestr_test
