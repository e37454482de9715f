// Tests appending to a stream of zlib blocks.

#include <cerrno>

#include "Platform/stream/StreamBeneath.h"
#include "Platform/stream/ZlibBlockSearch.h"
#include "Platform/stream/tests/ZcmpsTesting.h"

namespace zcmpsFilestrAppending_test {
namespace {

using ZcmpsFilestrAppending = ZcmpsFilestrTest;

TEST_F(ZcmpsFilestrAppending, AppendsAtTheEnd) {
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

TEST_F(ZcmpsFilestrAppending, AppendReplacesTheLastBytes) {
  const std::string plain = Codes(2 * kPlainBlockSize + 100'000);
  for (const std::size_t position :
       {0UL, 10UL, kPlainBlockSize, 2 * kPlainBlockSize + 10, 2 * kPlainBlockSize + 99'992}) {
    const std::string path = Written(plain);
    Append(path, position, "and more");
    EXPECT_TRUE(SameBytes(plain.substr(0, position) + "and more", BlocksOf(path).All())) << position;
  }
}

TEST_F(ZcmpsFilestrAppending, ManySmallAppendsLeaveFewBlocks) {
  const std::string plain = Codes(200 * 1'000);
  const std::string path = Written("");
  for (std::size_t i = 0; i < 200; ++i) Append(path, i * 1'000, plain.substr(i * 1'000, 1'000));
  EXPECT_TRUE(SameBytes(plain, BlocksOf(path).All()));
  QUAV_FileStream stream;
  stream.Open(path.c_str(), "rb");
  EXPECT_GE(4u, FindZlibBlocks(*StreamBeneath(stream).GetFile(), kFrontSize, ByteOrder::native).list.blocks.size());
}

TEST_F(ZcmpsFilestrAppending, AppendOverwritesNothing) {
  const std::string path = Written(Codes(kPlainBlockSize + 100));
  const std::string before = Contents(path);
  Append(path, kPlainBlockSize + 100, Codes(1'000));
  EXPECT_TRUE(SameBytes(before, Contents(path).substr(0, before.size())));
}

TEST_F(ZcmpsFilestrAppending, AppendWithoutAWriteDoesNotChangeTheFile) {
  const std::string path = Written(Codes(1'000));
  const std::string before = Contents(path);
  Append(path, 500, "");
  EXPECT_TRUE(SameBytes(before, Contents(path)));
}

TEST_F(ZcmpsFilestrAppending, RefusesToAppendOutsideTheStream) {
  BlocksOf blocks(Written(Codes(100)));
  EXPECT_FALSE(blocks.setFileToAppend(kFrontSize + 101, false));
  EXPECT_FALSE(blocks.setFileToAppend(kFrontSize - 1, false));
  EXPECT_EQ(EINVAL, blocks.Error());
}

// The last block is short, so that an append reads it first.
TEST_F(ZcmpsFilestrAppending, IsClosedWhenItCannotBeOpenedForAppending) {
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

TEST_F(ZcmpsFilestrAppending, DoesNotAppendAfterItsBlocksCouldNotBeFound) {
  BlocksOf blocks(Written(Codes(100)));
  {
    const FaultyCalls calls({.kind = FaultKind::error, .error = EIO, .call = 1, .lasting = true});
    EXPECT_FALSE(blocks.readFilePosInfo(kFrontSize, false));
    EXPECT_EQ(EIO, errno);
  }
  EXPECT_FALSE(blocks.setFileToAppend(kFrontSize + 100, false));
  EXPECT_EQ(EINVAL, errno);
}

TEST_F(ZcmpsFilestrAppending, AppendCutsOffTheRestOfABrokenAppend) {
  const std::string plain = Codes(1'000);
  const std::string path = Written(plain);
  std::ofstream(path, std::ios::binary | std::ios::app) << Noise(500);
  Append(path, 1'000, "more");
  BlocksOf blocks(path);
  EXPECT_TRUE(blocks.IsWhole());
  EXPECT_EQ(plain + "more", blocks.All());
}

// ---- The other byte order ----

TEST_F(ZcmpsFilestrAppending, AppendKeepsTheByteOrderOfTheFile) {
  const std::string path = Path("file");
  std::ofstream(path, std::ios::binary) << kFront;
  Append(path, 0, "first ", true);
  Append(path, 6, "second", true);
  EXPECT_EQ("first second", BlocksOf(path, true).All());
  BlocksOf other(path, false);
  EXPECT_EQ("", other.All()) << "in this order there is no block";
  EXPECT_FALSE(other.Good());
}

}  // namespace
}  // namespace zcmpsFilestrAppending_test
