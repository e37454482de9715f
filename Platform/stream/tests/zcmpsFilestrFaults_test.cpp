// Tests streams of zlib blocks on truncated and damaged files, and with system calls that fail.

#include <cerrno>
#include <functional>

#include "Platform/stream/StreamBeneath.h"
#include "Platform/stream/ZlibBlockSearch.h"
#include "Platform/stream/tests/ZcmpsTesting.h"

namespace zcmpsFilestrFaults_test {
namespace {

using ZcmpsFilestrFaults = ZcmpsFilestrTest;

// ---- Truncated and damaged files ----

TEST_F(ZcmpsFilestrFaults, TruncatedFileGivesItsWholeBlocksAndReportsTheMissingEnd) {
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

TEST_F(ZcmpsFilestrFaults, FlippedBitGivesOnlyCorrectBytes) {
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

TEST_F(ZcmpsFilestrFaults, ReportsADamagedBlockAndReadsTheOthers) {
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

TEST_F(ZcmpsFilestrFaults, RefusesABlockWhoseHeadDoesNotAgreeWithTheTableOrTheBytes) {
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

TEST_F(ZcmpsFilestrFaults, RefusesABlockThatIsCutOffAfterTheOpening) {
  const std::string path = Written(Codes(1'000));
  BlocksOf blocks(path);
  std::filesystem::resize_file(path, kFrontSize + kBlockHeadSize + 10);
  EXPECT_EQ("", blocks.All());
  EXPECT_EQ(EBADMSG, blocks.Error());
}

TEST_F(ZcmpsFilestrFaults, TailAfterAnotherPlaceIsNotTheEndOfATable) {
  const std::string plain = Codes(1'000);
  const std::string bytes = Contents(Written(plain));
  BlocksOf blocks(Make("other", bytes + bytes.substr(bytes.size() - kTableTailSize)));
  EXPECT_FALSE(blocks.IsWhole());
  EXPECT_EQ(plain, blocks.All());
  EXPECT_EQ(ENODATA, blocks.Error());
}

// Without its table such a file would give the bytes of the second block as if they were the first.
TEST_F(ZcmpsFilestrFaults, GivesNoBlockAfterAMissingOne) {
  const std::string bytes = Contents(Written(Codes(2 * kPlainBlockSize)));
  const auto* const first = reinterpret_cast<const std::byte*>(bytes.data()) + kFrontSize;
  const auto head = LoadBlockHead({first, kBlockHeadSize}, kFrontSize, ByteOrder::native);
  ASSERT_TRUE(head);
  const std::string rest = bytes.substr(static_cast<std::size_t>(head->block.FileEnd()));
  BlocksOf blocks(Make("other", kFront + rest.substr(0, rest.size() - 1)));
  EXPECT_EQ("", blocks.All());
  EXPECT_EQ(ENODATA, blocks.Error());
}

TEST_F(ZcmpsFilestrFaults, FindsBlocksByTheirHeadsWhenTheTableIsDamaged) {
  const std::string plain = Codes(3 * kPlainBlockSize);
  std::string bytes = Contents(Written(plain));
  bytes[bytes.size() - 30] = static_cast<char>(bytes[bytes.size() - 30] ^ 4);
  BlocksOf blocks(Make("spoilt", bytes));
  EXPECT_FALSE(blocks.IsWhole());
  EXPECT_TRUE(SameBytes(plain, blocks.All()));
}

TEST_F(ZcmpsFilestrFaults, FileOfAnotherKindGivesNothing) {
  for (const std::string& bytes : {Noise(1'000), Codes(100), std::string(5'000, '\0')}) {
    BlocksOf blocks(Make("other", kFront + bytes));
    EXPECT_EQ("", blocks.All());
    EXPECT_FALSE(blocks.Good());
  }
}

TEST_F(ZcmpsFilestrFaults, GivesNothingWhenRow0IsAfterTheEnd) {
  BlocksOf blocks(Make("short", "abc"));
  EXPECT_EQ("", blocks.All());
  EXPECT_FALSE(blocks.Good());
}

// ---- System calls that fail ----

TEST_F(ZcmpsFilestrFaults, ReportsEachFailedRead) {
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

TEST_F(ZcmpsFilestrFaults, FailedWriteIsRememberedAndLeavesNoTable) {
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

TEST_F(ZcmpsFilestrFaults, WritesNothingMoreAfterAFailedWrite) {
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

TEST_F(ZcmpsFilestrFaults, FailsToAppendWhenTheRestOfABrokenAppendCannotBeCutOff) {
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

TEST_F(ZcmpsFilestrFaults, FailedAppendKeepsTheOldContents) {
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
}  // namespace zcmpsFilestrFaults_test
