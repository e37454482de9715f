// The table of a sort file's blocks: where each block lies in the stream and in the file.
//
// Blocks follow one another without a gap, from position 0 of the stream on. Each block has the full block size,
// except the last one and those that a flush ended early.
//
// Threads: the worker adds blocks; the other threads use the table only while it does not (dataPoolManager.h).

#ifndef DATASRC_SRC_STORAGE_SORTTEMP_BLOCKMANAGER_H
#define DATASRC_SRC_STORAGE_SORTTEMP_BLOCKMANAGER_H

#include <vector>

struct blockInfo {
  long position;                   // of the first byte, in the uncompressed stream
  unsigned long size;              // bytes in the uncompressed stream
  long filePosition;               // of the block in the file
  unsigned long compressedLength;  // bytes in the file, without padding; equal to `size`: stored as it is
  unsigned long padding;           // bytes after the block, without meaning

  long End() const { return position + static_cast<long>(size); }
  bool IsStored() const { return compressedLength == size; }
};

class blockManager {
 public:
  // Finds the block that holds the position. The position at the very end also finds the last block. Returns false,
  // and leaves `out` unchanged, for a position that is negative or past the end, and when there is no block. What
  // `out` points to lives until the next PushBlockInfo.
  bool GetBlockInfo(long position, const blockInfo*& out) const;
  void PushBlockInfo(long position, unsigned long size, long filePosition, unsigned long compressedLength,
                     unsigned long padding);

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
