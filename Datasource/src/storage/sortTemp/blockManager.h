// The table of the blocks of a compressed temp file: where each block lies in the stream and in the file. Both kinds of
// such files have one: the file for sorting (dataPoolManager.h) and the file of the level above (ZBlockFile.h).
//
// Blocks follow one another without a gap, from position 0 of the stream on. Each block has the full block size,
// except the last one and those that a flush ended early.
//
// Threads: one thread adds blocks; the others use the table only while it does not.

#ifndef DATASRC_SRC_STORAGE_SORTTEMP_BLOCKMANAGER_H
#define DATASRC_SRC_STORAGE_SORTTEMP_BLOCKMANAGER_H

#include <cstddef>
#include <vector>

struct blockInfo {
  long position;                   // of the first byte, in the uncompressed stream
  unsigned long size;              // bytes in the uncompressed stream
  long filePosition;               // of the block in the file
  unsigned long compressedLength;  // bytes in the file, without padding
  unsigned long padding;           // bytes after the block, without meaning

  long End() const { return position + static_cast<long>(size); }
};

class blockManager {
 public:
  // Finds the block that holds the position. The position at the very end also finds the last block. Returns false,
  // and leaves `out` unchanged, for a position that is negative or past the end, and when there is no block. What
  // `out` points to lives until the next PushBlockInfo.
  bool GetBlockInfo(long position, const blockInfo*& out) const;
  void PushBlockInfo(long position, unsigned long size, long filePosition, unsigned long compressedLength,
                     unsigned long padding);

  std::size_t Count() const { return m_blocks.size(); }
  const blockInfo& Block(std::size_t index) const { return m_blocks[index]; }
  // Returns the index of the block that holds the position, which must be in 0..TotalSize(). The table is not empty.
  std::size_t IndexAt(long position) const;

  // Returns the uncompressed bytes of all blocks.
  long TotalSize() const { return m_totalSize; }
  // Returns the position after the last block, in the file.
  long FileEnd() const { return m_fileEnd; }

 private:
  std::vector<blockInfo> m_blocks;  // by position
  long m_totalSize = 0;
  long m_fileEnd = 0;
};

#endif
