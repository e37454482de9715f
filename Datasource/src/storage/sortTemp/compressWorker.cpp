#include "storage/sortTemp/compressWorker.h"

#include "Platform/Assert.h"

namespace {

unsigned char* Bytes(char* text) { return static_cast<unsigned char*>(static_cast<void*>(text)); }

}  // namespace

bool compressWorker::compressBlock(char* in, unsigned long inSize, char* out, unsigned long& outSize) const {
  const unsigned long room = outSize;
  const int ret = m_blocks.compressBlock(Bytes(in), inSize, Bytes(out), outSize);
  if (ret == 0 && outSize > room) return false;
  QUAV_ASSERT(ret != 0, "ret != 0");
  return true;
}

bool compressWorker::decompressBlock(char* in, unsigned long inSize, char* out, unsigned long& outSize) const {
  const int ret = m_blocks.decompressBlock(Bytes(in), inSize, Bytes(out), outSize);
  QUAV_ASSERT(ret != 0, "ret!= 0");
  return true;
}
