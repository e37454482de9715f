// Extension blocks and their handles; datasrcservices_test.cpp tests the blocks of a source.

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>

#include "datasrc/QUAV_DataSource.h"
#include "tests/support/MemorySource.h"

namespace extension_test {
namespace {

using Extension = QUAV_DataSource::Extension;
using Block = RefCountPtr<QUAV_ExtensionImpl>;

Block NewBlock(int type, int elementSize, std::string_view bytes) {
  Block block(new QUAV_ExtensionImpl(type, elementSize));
  block->append(static_cast<long>(bytes.size()) / elementSize, bytes.data());
  return block;
}

// ---- The block ----

TEST(ExtensionImpl, IsEmptyByDefault) {
  const QUAV_ExtensionImpl block(7, 4);
  EXPECT_EQ(block.Type(), 7);
  EXPECT_EQ(block.ElementSize(), 4);
  EXPECT_EQ(block.Length(), 0);
  EXPECT_EQ(block.Bytes(), "");
}

TEST(ExtensionImpl, ElementSizeBelow1CountsAs1) {
  for (const int size : {0, -1}) {
    QUAV_ExtensionImpl block(7, size);
    EXPECT_EQ(block.Length(), 0);
    block.append(3, "abc");
    EXPECT_EQ(block.ElementSize(), 1);
    EXPECT_EQ(block.Length(), 3);
  }
}

TEST(ExtensionImpl, TooManyElementsThrowAndChangeNothing) {
  QUAV_ExtensionImpl block(7, 8);
  block.append(1, "abcdefgh");
  // In 64 bits the products are 0, 8 and a number above all sizes.
  for (const long count : {1L << 61, (1L << 61) + 1, std::numeric_limits<long>::max(), -1L})
    EXPECT_THROW(block.append(count, "abcdefgh"), std::length_error) << count;
  EXPECT_EQ(block.Bytes(), "abcdefgh");
}

TEST(ExtensionImpl, AppendAddsElementCountTimesElementSizeBytes) {
  QUAV_ExtensionImpl block(7, 4);
  block.append(2, "abcdefgh-not these");
  EXPECT_EQ(block.Bytes(), "abcdefgh");
  EXPECT_EQ(block.Length(), 2);
  block.append(1, "ijkl");
  EXPECT_EQ(block.Bytes(), "abcdefghijkl");
  EXPECT_EQ(block.Length(), 3);
}

TEST(ExtensionImpl, HoldsBinaryBytes) {
  QUAV_ExtensionImpl block(7, 1);
  block.append(3, "\0\xFF\0");
  EXPECT_EQ(block.Bytes(), std::string("\0\xFF\0", 3));
}

TEST(ExtensionImpl, CopyHasTypeElementSizeAndBytes) {
  const Block block = NewBlock(7, 4, "abcdefgh");
  const QUAV_ExtensionImpl copy(*block);
  EXPECT_EQ(copy.Type(), 7);
  EXPECT_EQ(copy.ElementSize(), 4);
  EXPECT_EQ(copy.Bytes(), "abcdefgh");
}

TEST(ExtensionImpl, HashIsTheLast8Bytes) {
  const std::int64_t hash = -0x0123456789ABCDEF;
  QUAV_ExtensionImpl block(7, 1);
  block.append(3, "abc");
  block.append(8, &hash);
  EXPECT_EQ(block.Hash(), hash);
}

TEST(ExtensionImpl, HashOf8BytesIsTheBlock) {
  const std::int64_t hash = 42;
  QUAV_ExtensionImpl block(7, 8);
  block.append(1, &hash);
  EXPECT_EQ(block.Hash(), 42);
}

TEST(ExtensionImpl, HashOfFewerThan8BytesIs0) { EXPECT_EQ(NewBlock(7, 1, "abcdefg")->Hash(), 0); }

// ---- The handle ----

TEST(Extension, NullHandleIsEmpty) {
  const Extension extension{Block()};
  EXPECT_EQ(extension.Type(), -1);
  EXPECT_EQ(extension.ElementSize(), 0);
  EXPECT_EQ(extension.Length(), 0);
  EXPECT_EQ(extension.Elements(), "");
}

TEST(Extension, SharesItsBlock) {
  const Block block = NewBlock(7, 4, "abcdefgh");
  const Extension extension(block);
  EXPECT_TRUE(block->IsShared());
  EXPECT_EQ(extension.Type(), 7);
  EXPECT_EQ(extension.ElementSize(), 4);
  EXPECT_EQ(extension.Length(), 2);
  EXPECT_EQ(extension.Elements(), "abcdefgh");
}

TEST(Extension, IsANewEmptyBlockForATypeThatTheSourceLacks) {
  const MemorySource source;
  const Extension extension(source, 9);
  EXPECT_EQ(extension.Length(), 0);
  EXPECT_EQ(extension.Type(), 9);
  EXPECT_EQ(extension.ElementSize(), 1);
}

TEST(Extension, IsTheBlockOfTheSourceForATypeThatItHas) {
  MemorySource source;
  source.SetExtension(9, 4, 2, "abcdefgh");
  const Extension extension(source, 9);
  EXPECT_EQ(extension.Type(), 9);
  EXPECT_EQ(extension.ElementSize(), 4);
  EXPECT_EQ(extension.Elements(), "abcdefgh");
}

TEST(Extension, KeepsItsBlockWhenTheSourceChanges) {
  MemorySource source;
  source.SetExtension(9, 1, 3, "abc");
  const Extension extension(source, 9);
  source.ExtendExtension(9, 3, "def");
  EXPECT_EQ(extension.Elements(), "abc");
  source.SetExtension(9, 1, 0, nullptr);
  EXPECT_EQ(extension.Elements(), "abc");
}

// ---- Reading elements ----

TEST(ExtensionGetNext, NullHandleReturns0) {
  char buffer[8] = "before";
  Extension extension{Block()};
  EXPECT_EQ(extension.GetNext(buffer, 8), 0);
  EXPECT_STREQ(buffer, "before");
}

TEST(ExtensionGetNext, ReturnsConsecutiveElements) {
  Extension extension(NewBlock(7, 2, "aabbccdd"));
  std::array<char, 4> buffer{};
  EXPECT_EQ(extension.GetNext(buffer.data(), 4), 2);
  EXPECT_EQ(std::string_view(buffer.data(), 4), "aabb");
  EXPECT_EQ(extension.GetNext(buffer.data(), 4), 2);
  EXPECT_EQ(std::string_view(buffer.data(), 4), "ccdd");
  EXPECT_EQ(extension.GetNext(buffer.data(), 4), 0);
}

TEST(ExtensionGetNext, ReturnsOnlyWholeElements) {
  Extension extension(NewBlock(7, 2, "aabbccdd"));
  std::array<char, 4> buffer{'-', '-', '-', '-'};
  EXPECT_EQ(extension.GetNext(buffer.data(), 3), 1);
  EXPECT_EQ(std::string_view(buffer.data(), 4), "aa--");
  EXPECT_EQ(extension.GetNext(buffer.data(), 2), 1);
  EXPECT_EQ(std::string_view(buffer.data(), 4), "bb--");
}

TEST(ExtensionGetNext, ReturnsTheRemainingElements) {
  Extension extension(NewBlock(7, 2, "aabb"));
  std::array<char, 100> buffer{};
  EXPECT_EQ(extension.GetNext(buffer.data(), 100), 2);
}

TEST(ExtensionGetNext, BufferSmallerThanAnElementReturns0AndDoesNotMove) {
  Extension extension(NewBlock(7, 4, "aaaabbbb"));
  std::array<char, 4> buffer{};
  EXPECT_EQ(extension.GetNext(buffer.data(), 3), 0);
  EXPECT_EQ(extension.GetNext(buffer.data(), 4), 1);
  EXPECT_EQ(std::string_view(buffer.data(), 4), "aaaa");
}

TEST(ExtensionGetNext, NegativeSizeMovesBack) {
  Extension extension(NewBlock(7, 1, "abcd"));
  std::array<char, 4> buffer{};
  extension.GetNext(buffer.data(), 3);
  EXPECT_EQ(extension.GetNext(nullptr, -2), -2);
  EXPECT_EQ(extension.GetNext(buffer.data(), 1), 1);
  EXPECT_EQ(buffer[0], 'b');
}

TEST(ExtensionGetNext, NeverMovesBackPastTheStart) {
  Extension extension(NewBlock(7, 1, "abcd"));
  std::array<char, 4> buffer{};
  EXPECT_EQ(extension.GetNext(nullptr, -100), -100);
  EXPECT_EQ(extension.GetNext(buffer.data(), 1), 1);
  EXPECT_EQ(buffer[0], 'a');
}

TEST(ExtensionGetNext, EachHandleHasItsOwnPosition) {
  Extension first(NewBlock(7, 1, "abcd"));
  std::array<char, 4> buffer{};
  first.GetNext(buffer.data(), 2);
  Extension second(first);
  EXPECT_EQ(second.GetNext(buffer.data(), 1), 1);
  EXPECT_EQ(buffer[0], 'c') << "a copy continues at the position of the original";
  EXPECT_EQ(first.GetNext(buffer.data(), 1), 1);
  EXPECT_EQ(buffer[0], 'c');
}

TEST(ExtensionGetNext, StartsAtTheFirstElementOfASource) {
  MemorySource source;
  source.SetExtension(9, 1, 3, "abc");
  std::array<char, 4> buffer{};
  Extension(source, 9).GetNext(buffer.data(), 2);
  Extension again(source, 9);
  again.GetNext(buffer.data(), 1);
  EXPECT_EQ(buffer[0], 'a');
}

// ---- Equality ----

TEST(ExtensionEquality, NullHandlesAreEqual) { EXPECT_TRUE(Extension(Block()) == Extension(Block())); }

TEST(ExtensionEquality, NullHandleDiffersFromAnEmptyBlock) {
  EXPECT_FALSE(Extension(Block()) == Extension(NewBlock(-1, 1, "")));
  EXPECT_FALSE(Extension(NewBlock(-1, 1, "")) == Extension(Block()));
}

TEST(ExtensionEquality, EqualTypesAndBytesAreEqual) {
  EXPECT_TRUE(Extension(NewBlock(7, 1, "abcd")) == Extension(NewBlock(7, 1, "abcd")));
}

TEST(ExtensionEquality, ElementSizeIsNotCompared) {
  EXPECT_TRUE(Extension(NewBlock(7, 1, "abcd")) == Extension(NewBlock(7, 4, "abcd")));
}

TEST(ExtensionEquality, DifferentTypesDiffer) {
  EXPECT_FALSE(Extension(NewBlock(7, 1, "abcd")) == Extension(NewBlock(8, 1, "abcd")));
}

TEST(ExtensionEquality, DifferentBytesDiffer) {
  EXPECT_FALSE(Extension(NewBlock(7, 1, "abcd")) == Extension(NewBlock(7, 1, "abce")));
  EXPECT_FALSE(Extension(NewBlock(7, 1, "abcd")) == Extension(NewBlock(7, 1, "abc")));
}

}  // namespace
}  // namespace extension_test
