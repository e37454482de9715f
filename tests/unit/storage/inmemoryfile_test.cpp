#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "datasrc/QUAV_InMemoryFile.h"
#include "tests/support/VirtualSlot.h"

namespace inmemoryfile_test {
namespace {

constexpr unsigned long kBlock = QUAV_InMemoryFile::kBlockSize;

std::string Read(QUAV_InMemoryFile& file, unsigned long count) {
  std::string bytes(count, '\0');
  bytes.resize(file.Read(bytes.data(), count));
  return bytes;
}

unsigned long Write(QUAV_InMemoryFile& file, const std::string& bytes) {
  return file.Write(bytes.data(), bytes.size());
}

std::string Pattern(std::size_t size) {
  std::string bytes(size, '\0');
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i % 251);
  return bytes;
}

TEST(InMemoryFile, KeepsTheOrderOfTheVirtualOperations) {
  EXPECT_EQ(VirtualSlot(&QUAV_StrBaseIO::Clear), 2u);
  EXPECT_EQ(VirtualSlot(&QUAV_StrBaseIO::Good), 3u);
  EXPECT_EQ(VirtualSlot(&QUAV_StrBaseIO::Read), 4u);
  EXPECT_EQ(VirtualSlot(&QUAV_StrBaseIO::Write), 5u);
  EXPECT_EQ(VirtualSlot(&QUAV_StrBaseIO::Seek), 6u);
  EXPECT_EQ(VirtualSlot(&QUAV_StrBaseIO::Tell), 7u);
  EXPECT_EQ(VirtualSlot(&QUAV_StrBaseIO::EndOfFile), 8u);
}

TEST(InMemoryFile, IsEmptyAtFirstForAnyReservedSize) {
  for (const unsigned long size : {0ul, 1ul, 3 * kBlock}) {
    QUAV_InMemoryFile file(size);
    EXPECT_EQ(0, file.Tell());
    EXPECT_EQ("", Read(file, 10));
    EXPECT_EQ(-1, file.Seek(1, kSeekFromStart));
  }
}

TEST(InMemoryFile, ReadsWhatWasWrittenAcrossBlocks) {
  const std::string bytes = Pattern(2 * kBlock + 5);
  QUAV_InMemoryFile file(0);
  EXPECT_EQ(bytes.size(), Write(file, bytes));
  EXPECT_EQ(static_cast<long>(bytes.size()), file.Tell());
  file.Seek(0, kSeekFromStart);
  EXPECT_TRUE(bytes == Read(file, bytes.size() + 100));
  file.Seek(static_cast<long>(kBlock) - 3, kSeekFromStart);
  EXPECT_EQ(bytes.substr(kBlock - 3, 6), Read(file, 6));
}

TEST(InMemoryFile, ReadsUpToTheHighestPositionWritten) {
  QUAV_InMemoryFile file(kBlock);
  Write(file, "abcdef");
  file.Seek(4, kSeekFromStart);
  EXPECT_EQ("ef", Read(file, 100));
  EXPECT_EQ("", Read(file, 100));
  EXPECT_EQ(6, file.Tell());
}

TEST(InMemoryFile, OverwritesInPlace) {
  QUAV_InMemoryFile file(0);
  Write(file, "abcdef");
  file.Seek(2, kSeekFromStart);
  Write(file, "XY");
  file.Seek(0, kSeekFromStart);
  EXPECT_EQ("abXYef", Read(file, 10));
}

TEST(InMemoryFile, SeeksFromEachOrigin) {
  QUAV_InMemoryFile file(0);
  Write(file, "abcdef");
  EXPECT_EQ(0, file.Seek(-2, kSeekFromPresent));
  EXPECT_EQ(4, file.Tell());
  EXPECT_EQ(0, file.Seek(-6, kSeekFromEnd));
  EXPECT_EQ(0, file.Tell());
  EXPECT_EQ(0, file.Seek(6, kSeekFromStart));
  EXPECT_EQ(6, file.Tell());
}

TEST(InMemoryFile, KeepsItsPositionWhenASeekFails) {
  QUAV_InMemoryFile file(0);
  Write(file, "abcdef");
  file.Seek(3, kSeekFromStart);
  for (const long offset : {-1L, 7L, std::numeric_limits<long>::max(), std::numeric_limits<long>::min()})
    EXPECT_EQ(-1, file.Seek(offset, kSeekFromStart)) << offset;
  EXPECT_EQ(-1, file.Seek(-4, kSeekFromPresent));
  EXPECT_EQ(-1, file.Seek(std::numeric_limits<long>::max(), kSeekFromPresent));
  EXPECT_EQ(-1, file.Seek(1, kSeekFromEnd));
  EXPECT_EQ(-2, file.Seek(0, static_cast<SeekDirection>(3)));
  EXPECT_EQ(-2, file.Seek(0, static_cast<SeekDirection>(-1)));
  EXPECT_EQ(3, file.Tell());
}

TEST(InMemoryFile, EndOfFileComparesThePositionWithTheNumberOfBlocks) {
  QUAV_InMemoryFile file(0);
  EXPECT_NE(0, file.EndOfFile());  // 0 blocks
  Write(file, "abcdef");
  file.Seek(0, kSeekFromStart);
  EXPECT_EQ(0, file.EndOfFile());  // position 0, 1 block
  Read(file, 1);
  EXPECT_NE(0, file.EndOfFile());  // position 1, though five bytes are left
  QUAV_InMemoryFile reserved(2 * kBlock);
  EXPECT_EQ(0, reserved.EndOfFile());  // position 0, 2 blocks, though there is no data
}

TEST(InMemoryFile, IsAlwaysGood) {
  QUAV_InMemoryFile file(0);
  Read(file, 10);
  EXPECT_TRUE(file.Good());
  file.Clear();
  EXPECT_TRUE(file.Good());
}

TEST(InMemoryFile, TransfersNothingForACountOfZero) {
  QUAV_InMemoryFile file(0);
  EXPECT_EQ(0u, file.Write(nullptr, 0));
  EXPECT_EQ(0u, file.Read(nullptr, 0));
}

}  // namespace
}  // namespace inmemoryfile_test
