// Which block of a sort file is where: in the stream, and in the file.
//
// Blocks follow one another without a gap, from position 0 of the stream on. All have the block's size but the last
// one, and those that a flush cut short.
//
// Threads: the worker adds blocks; others look only while it is not at that (dataPoolManager.h).

#ifndef DATASRC_SRC_STORAGE_SORTTEMP_BLOCKMANAGER_H
#define DATASRC_SRC_STORAGE_SORTTEMP_BLOCKMANAGER_H

#include <vector>

struct blockInfo {
  long position;                   // of its first byte in the uncompressed stream
  unsigned long size;              // there
  long filePosition;               // of the block in the file
  unsigned long compressedLength;  // there, without padding; the size itself: it is stored as it is
  unsigned long padding;           // bytes behind it, without meaning

  long End() const { return position + static_cast<long>(size); }
  bool IsStored() const { return compressedLength == size; }
};

class blockManager {
 public:
  // The block that holds the position; the last one for the position at the very end too. False, with `out` as it was,
  // for a position that is negative or beyond the end. What `out` points to lives until the next PushBlockInfo.
  bool GetBlockInfo(long position, const blockInfo*& out) const;
  void PushBlockInfo(long position, unsigned long size, long filePosition, unsigned long compressedLength,
                     unsigned long padding);

  // The bytes of all blocks, uncompressed.
  long TotalSize() const { return m_totalSize; }
  // Behind the last block.
  long FileEnd() const { return m_fileEnd; }

 private:
  std::vector<blockInfo> m_blocks;  // by position
  long m_totalSize = 0;
  long m_fileEnd = 0;
};

#endif
