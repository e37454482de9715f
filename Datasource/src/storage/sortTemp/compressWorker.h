// The file of a sort stream, with blocks in the zlib format.
//
// Threads: any number may compress and decompress at the same time; the rest is as in IOWorker.

#ifndef DATASRC_SRC_STORAGE_SORTTEMP_COMPRESSWORKER_H
#define DATASRC_SRC_STORAGE_SORTTEMP_COMPRESSWORKER_H

#include "Platform/stream/zlibCompressBlock.h"
#include "storage/sortTemp/IOWorker.h"

class compressWorker : public IOWorker {
 public:
  using IOWorker::IOWorker;

  // Compressing returns false when the block does not fit the room. Both assert every other failure: a block to
  // decompress was made by this process from at most `outSize` bytes.
  bool compressBlock(char* in, unsigned long inSize, char* out, unsigned long& outSize) const override;
  bool decompressBlock(char* in, unsigned long inSize, char* out, unsigned long& outSize) const override;

 private:
  zlibCompressBlock m_blocks;
};

#endif
