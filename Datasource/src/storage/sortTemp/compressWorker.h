// The file of a sort stream whose blocks are in the zlib format.
//
// Threads: compressing and decompressing from any number at once; the rest as IOWorker.

#ifndef DATASRC_SRC_STORAGE_SORTTEMP_COMPRESSWORKER_H
#define DATASRC_SRC_STORAGE_SORTTEMP_COMPRESSWORKER_H

#include "Platform/stream/zlibCompressBlock.h"
#include "storage/sortTemp/IOWorker.h"

class compressWorker : public IOWorker {
 public:
  using IOWorker::IOWorker;

  // False when the block does not fit the room. What else goes wrong is asserted, here and on the way back, where a
  // block is what this process made of `outSize` bytes or less.
  bool compressBlock(char* in, unsigned long inSize, char* out, unsigned long& outSize) const override;
  bool decompressBlock(char* in, unsigned long inSize, char* out, unsigned long& outSize) const override;

 private:
  zlibCompressBlock m_blocks;
};

#endif
