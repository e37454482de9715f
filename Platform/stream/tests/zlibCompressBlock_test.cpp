#include "Platform/stream/zlibCompressBlock.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "Platform/stream/tests/StreamTesting.h"

namespace zlibCompressBlock_test {
namespace {

using Bytes = std::vector<unsigned char>;

Bytes Copy(const std::string& text) { return {text.begin(), text.end()}; }

// Returns nothing when the output does not fit or the call fails; `size` receives the call's outSize.
Bytes Compressed(const std::string& text, unsigned long room, unsigned long* size = nullptr) {
  Bytes in = Copy(text);
  Bytes out(room + 1, 0xee);
  unsigned long outSize = room;
  const int result = zlibCompressBlock().compressBlock(in.data(), in.size(), out.data(), outSize);
  EXPECT_EQ(0xee, out.back()) << "written past the room";
  if (size != nullptr) *size = outSize;
  out.resize(result == 1 ? outSize : 0);
  return out;
}

std::string Decompressed(Bytes block, unsigned long room) {
  Bytes out(room + 1, 0xee);
  unsigned long outSize = room;
  const int result = zlibCompressBlock().decompressBlock(block.data(), block.size(), out.data(), outSize);
  EXPECT_EQ(0xee, out.back()) << "written past the room";
  EXPECT_TRUE(result == 1 || outSize == 0);
  return result == 1 ? std::string(out.begin(), out.begin() + static_cast<long>(outSize)) : "failed";
}

TEST(ZlibCompressBlock, DecompressesWhatItCompressed) {
  for (const std::string& text : {std::string(), std::string("a"), std::string(100000, 'x'), Noise(100000)}) {
    const Bytes block = Compressed(text, 200000);
    ASSERT_FALSE(block.empty());
    EXPECT_TRUE(SameBytes(text, Decompressed(block, text.size())));
  }
}

TEST(ZlibCompressBlock, DecompressesIntoMoreRoomThanNeeded) {
  EXPECT_EQ("one two three", Decompressed(Compressed("one two three", 100), 50));
}

TEST(ZlibCompressBlock, CompressesRepetitions) { EXPECT_LT(Compressed(std::string(100000, 'x'), 100000).size(), 1000); }

TEST(ZlibCompressBlock, ReturnsTheNeededRoomWhenTheOutputDoesNotFit) {
  const std::string noise = Noise(5000);
  unsigned long wanted = 0;
  EXPECT_TRUE(Compressed(noise, 5000, &wanted).empty());
  EXPECT_GT(wanted, 5000);
  EXPECT_FALSE(Compressed(noise, wanted).empty());
}

TEST(ZlibCompressBlock, FailsWithoutRoom) {
  unsigned long wanted = 0;
  EXPECT_TRUE(Compressed("a", 0, &wanted).empty());
  EXPECT_GT(wanted, 0);
}

TEST(ZlibCompressBlock, FailsForABlockOfFourGiB) {
  unsigned char byte = 0;
  unsigned long size = 1;
  const unsigned long tooLong = 1UL + std::numeric_limits<unsigned>::max();
  EXPECT_EQ(0, zlibCompressBlock().compressBlock(&byte, tooLong, &byte, size));
  EXPECT_EQ(0, size);
  size = 1;
  EXPECT_EQ(0, zlibCompressBlock().decompressBlock(&byte, tooLong, &byte, size));
  EXPECT_EQ(0, size);
  size = tooLong;
  EXPECT_EQ(0, zlibCompressBlock().compressBlock(&byte, 1, &byte, size));
  EXPECT_EQ(0, size);
  size = tooLong;
  EXPECT_EQ(0, zlibCompressBlock().decompressBlock(&byte, 1, &byte, size));
  EXPECT_EQ(0, size);
}

TEST(ZlibCompressBlock, RefusesATruncatedDamagedOrTooLongBlock) {
  const std::string text = "one two three one two three one two three";
  const Bytes block = Compressed(text, 100);
  for (std::size_t size = 0; size < block.size(); ++size) {
    EXPECT_EQ("failed", Decompressed(Bytes(block.begin(), block.begin() + static_cast<long>(size)), 100)) << size;
  }
  Bytes damaged = block;
  damaged.back() ^= 1;
  EXPECT_EQ("failed", Decompressed(damaged, 100));
  EXPECT_EQ("failed", Decompressed(block, text.size() - 1));
}

}  // namespace
}  // namespace zlibCompressBlock_test
