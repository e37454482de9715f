// The parts of the block pipeline, one by one.

#include <memory>
#include <string>

#include "StreamOnDisk.h"
#include "storage/sortTemp/baseDataStream.h"
#include "storage/sortTemp/blockManager.h"
#include "storage/sortTemp/compressWorker.h"
#include "storage/sortTemp/dataPoolManager.h"

namespace sortTemp_test {
namespace {

// ---- The table of blocks ----

class BlockManager : public testing::Test {
 protected:
  BlockManager() {
    blocks.PushBlockInfo(0, 100, 0, 10, 6);
    blocks.PushBlockInfo(100, 50, 16, 50, 0);
    blocks.PushBlockInfo(150, 30, 66, 20, 0);
  }
  // Returns the start of the block that holds the position; -1 when there is none.
  long Start(long position) const {
    const blockInfo* block = nullptr;
    return blocks.GetBlockInfo(position, block) ? block->position : -1;
  }

  blockManager blocks;
};

TEST_F(BlockManager, FindsABlockByEachPositionInIt) {
  EXPECT_EQ(0, Start(0));
  EXPECT_EQ(0, Start(99));
  EXPECT_EQ(100, Start(100));
  EXPECT_EQ(100, Start(149));
  EXPECT_EQ(150, Start(150));
  EXPECT_EQ(150, Start(179));
}

TEST_F(BlockManager, FindsTheLastBlockAtTheEndPosition) { EXPECT_EQ(150, Start(180)); }

TEST_F(BlockManager, FindsNoBlockAtANegativePositionOrPastTheEnd) {
  EXPECT_EQ(-1, Start(-1));
  EXPECT_EQ(-1, Start(181));
}

TEST_F(BlockManager, ReportsTheTotalSizeAndTheEndOfTheFile) {
  EXPECT_EQ(180, blocks.TotalSize());
  EXPECT_EQ(86, blocks.FileEnd());
}

TEST_F(BlockManager, FindsTheIndexOfABlock) {
  EXPECT_EQ(3, blocks.Count());
  EXPECT_EQ(0, blocks.IndexAt(0));
  EXPECT_EQ(0, blocks.IndexAt(99));
  EXPECT_EQ(1, blocks.IndexAt(100));
  EXPECT_EQ(2, blocks.IndexAt(179));
  EXPECT_EQ(2, blocks.IndexAt(180));
  EXPECT_EQ(66, blocks.Block(2).filePosition);
}

TEST_F(BlockManager, BlockIsStoredWhenItDidNotBecomeShorter) {
  const blockInfo* block = nullptr;
  ASSERT_TRUE(blocks.GetBlockInfo(0, block));
  EXPECT_FALSE(dataPoolManager::IsStored(*block));
  ASSERT_TRUE(blocks.GetBlockInfo(100, block));
  EXPECT_TRUE(dataPoolManager::IsStored(*block));
}

TEST(EmptyBlockManager, FindsNoBlock) {
  const blockManager blocks;
  const blockInfo* block = nullptr;
  EXPECT_FALSE(blocks.GetBlockInfo(0, block));
}

TEST(DataPoolManagerPadding, FillsUpToSixteenForAnEncryptedFile) {
  EXPECT_EQ(15, dataPoolManager::Padding(true, 17));
  EXPECT_EQ(0, dataPoolManager::Padding(true, 16));
  EXPECT_EQ(1, dataPoolManager::Padding(true, 15));
  EXPECT_EQ(0, dataPoolManager::Padding(false, 17));
}

// ---- The file ----

class CompressWorker : public testing::Test {
 protected:
  const TempFile file{""};
  std::shared_ptr<QUAV_File> open = QUAV_File::Open(file.Name().c_str(), *ParseFileMode("w+b"));
  compressWorker worker{open, false};
};

using CompressWorkerDeathTest = CompressWorker;

TEST_F(CompressWorker, TransfersAtItsPositionAndAdvancesIt) {
  EXPECT_EQ(0, worker.Write("abc", 3));
  EXPECT_EQ(0, worker.Write("def", 3));
  worker.Seek(2);
  std::string bytes(3, '\0');
  EXPECT_EQ(0, worker.Read(bytes.data(), 3));
  EXPECT_EQ("cde", bytes);
  EXPECT_EQ(EIO, worker.Read(bytes.data(), 2));
  EXPECT_EQ('f', bytes[0]);
}

TEST_F(CompressWorker, ReportsWhetherABlockFits) {
  std::string lines = Lines(1000);
  std::string noise = Noise(1000);
  std::string out(1000, '\0');
  unsigned long size = 999;
  EXPECT_TRUE(worker.compressBlock(lines.data(), 1000, out.data(), size));
  EXPECT_LT(size, 999);
  std::string back(1000, '\0');
  unsigned long backSize = 1000;
  EXPECT_TRUE(worker.decompressBlock(out.data(), size, back.data(), backSize));
  EXPECT_EQ(lines, back);
  size = 999;
  EXPECT_FALSE(worker.compressBlock(noise.data(), 1000, out.data(), size));
}

TEST_F(CompressWorker, IOWorkerAloneConvertsNoBlock) {
  const IOWorker plain(open, true);
  EXPECT_TRUE(plain.Encrypt());
  char byte = 'x';
  unsigned long size = 1;
  EXPECT_FALSE(plain.compressBlock(&byte, 1, &byte, size));
  EXPECT_FALSE(plain.decompressBlock(&byte, 1, &byte, size));
}

TEST_F(CompressWorkerDeathTest, AssertsThatCompressionSucceeds) {
  char byte = 'x';
  unsigned long size = 1;
  EXPECT_DEATH(worker.compressBlock(&byte, 1UL << 32, &byte, size), "assertion failed: ret != 0");
}

TEST_F(CompressWorkerDeathTest, AssertsThatDecompressionSucceeds) {
  std::string noise = Noise(100);
  std::string out(1000, '\0');
  unsigned long size = 1000;
  EXPECT_DEATH(worker.decompressBlock(noise.data(), 100, out.data(), size), "assertion failed: ret!= 0");
}

// ---- The pool and its streams ----

// The test plays the part of the worker, so it sets the order of events.
class DataPoolManager : public testing::Test {
 protected:
  static constexpr unsigned long kSize = 1000;  // of each block

  // Writes this number of blocks through the writer.
  void WriteBlocks(unsigned long count) {
    for (unsigned long i = 0; i < count; ++i) {
      SortBuffer buffer = MakeSortBuffer();
      const std::string block = Lines(kSize, i);
      std::ranges::copy(block, buffer.get());
      writer.Write(buffer, kSize, static_cast<long>(i * kSize));
      EXPECT_TRUE(pool.QueryForWrite());
    }
    pool.WaitWritten();
  }
  blockInfo Block(unsigned long number) const {
    const blockInfo* block = nullptr;
    EXPECT_TRUE(pool.Blocks().GetBlockInfo(static_cast<long>(number * kSize), block));
    return *block;
  }
  // Reads a block through the stream, and returns the number of disk reads that this took.
  int ReadsFor(baseDataStream& stream, unsigned long number) const {
    const int before = disk.Reads();
    SortBuffer buffer = MakeSortBuffer();
    unsigned long size = 0;
    EXPECT_EQ(0, stream.Read(buffer, size, Block(number)));
    EXPECT_TRUE(SameBytes(Lines(kSize, number), std::string(buffer.get(), size))) << number;
    return disk.Reads() - before;
  }

  const FaultyDisk disk;
  const TempFile file{""};
  std::shared_ptr<QUAV_File> open = QUAV_File::Open(file.Name().c_str(), *ParseFileMode("w+b"));
  dataPoolManager pool{open, true};
  baseDataStream writer{pool};
};

TEST_F(DataPoolManager, AppendsBlocksPaddedToMultiplesOfSixteen) {
  WriteBlocks(3);
  EXPECT_EQ(3000, pool.Blocks().TotalSize());
  long filePosition = 0;
  for (unsigned long i = 0; i < 3; ++i) {
    const blockInfo block = Block(i);
    EXPECT_EQ(filePosition, block.filePosition);
    EXPECT_EQ(dataPoolManager::Padding(true, block.compressedLength), block.padding);
    filePosition += static_cast<long>(block.compressedLength + block.padding);
  }
  EXPECT_EQ(filePosition, open->Length());
}

TEST_F(DataPoolManager, WritesNothingAfterEnd) {
  pool.End();
  EXPECT_TRUE(pool.IsClosed());
  EXPECT_FALSE(pool.QueryForWrite());
  EXPECT_EQ(0, disk.Writes());
}

TEST_F(DataPoolManager, ReadsNothingAheadBeforeTheFirstRead) {
  WriteBlocks(2);
  EXPECT_FALSE(pool.QueryForRead());
  const baseDataStream copy(pool);
  EXPECT_FALSE(pool.QueryForRead());
  EXPECT_FALSE(pool.QueryForWrite());
}

TEST_F(DataPoolManager, FirstReadIsDirectAndLaterBlocksAreReadAhead) {
  WriteBlocks(4);
  baseDataStream copy(pool);
  EXPECT_EQ(1, ReadsFor(copy, 0));
  for (unsigned long number = 1; number < 4; ++number) {
    EXPECT_TRUE(pool.QueryForRead());
    EXPECT_FALSE(pool.QueryForRead()) << "one block ahead";
    EXPECT_EQ(0, ReadsFor(copy, number));
  }
  EXPECT_FALSE(pool.QueryForRead()) << "after the last block";
}

TEST_F(DataPoolManager, ReadAfterASeekBackIsDirectAndTheNextBlockIsReadAhead) {
  WriteBlocks(4);
  baseDataStream copy(pool);
  ReadsFor(copy, 2);
  EXPECT_TRUE(pool.QueryForRead());
  EXPECT_EQ(1, ReadsFor(copy, 0));
  EXPECT_TRUE(pool.QueryForRead());
  EXPECT_EQ(0, ReadsFor(copy, 1));
}

TEST_F(DataPoolManager, CallerDoesNotWaitForABlockThatTheWorkerHasNotBegun) {
  WriteBlocks(3);
  baseDataStream copy(pool);
  EXPECT_EQ(1, ReadsFor(copy, 0));
  EXPECT_EQ(1, ReadsFor(copy, 1));
  EXPECT_TRUE(pool.QueryForRead());
  EXPECT_EQ(0, ReadsFor(copy, 2));
}

TEST_F(DataPoolManager, CopiesAtTheSamePositionEachReadTheWholeBlock) {
  WriteBlocks(2);
  baseDataStream first(pool);
  baseDataStream second(pool);
  EXPECT_EQ(1, ReadsFor(first, 0));
  EXPECT_EQ(1, ReadsFor(second, 0));
  EXPECT_TRUE(pool.QueryForRead());
  EXPECT_TRUE(pool.QueryForRead());
  EXPECT_EQ(0, ReadsFor(first, 1));
  EXPECT_EQ(0, ReadsFor(second, 1));
}

TEST_F(DataPoolManager, ReadsNothingAheadForADestroyedCopy) {
  WriteBlocks(2);
  {
    baseDataStream copy(pool);
    ReadsFor(copy, 0);
  }
  EXPECT_FALSE(pool.QueryForRead());
}

TEST_F(DataPoolManager, ReadsNothingWhereThereIsNoBlock) {
  WriteBlocks(1);
  SortBuffer buffer = MakeSortBuffer();
  unsigned long size = 7;
  EXPECT_EQ(0, writer.directRead(buffer, size, 1001));
  EXPECT_EQ(0, size);
  EXPECT_EQ(0, disk.Reads());
}

TEST_F(DataPoolManager, ReportsAReadAheadFaultAndReadsTheBlockAgain) {
  WriteBlocks(2);
  baseDataStream copy(pool);
  ReadsFor(copy, 0);
  std::filesystem::resize_file(file.Name(), 40);
  EXPECT_TRUE(pool.QueryForRead());
  SortBuffer buffer = MakeSortBuffer();
  unsigned long size = 0;
  EXPECT_EQ(EIO, copy.Read(buffer, size, Block(1)));
  EXPECT_EQ(0, size);
  EXPECT_EQ(EIO, copy.Read(buffer, size, Block(1)));
}

}  // namespace
}  // namespace sortTemp_test
