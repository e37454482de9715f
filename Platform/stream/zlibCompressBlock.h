// Blocks of bytes, each compressed separately, in the zlib format, by the fastest available library (BlockCodec.h).
//
// Both operations return 1 on success. `outSize` is the size of the room before the call, and the size of the output
// after it. They return 0 on a failure, and `outSize` says which one:
//
//   compressBlock     more than the room: the output does not fit; this number of bytes would be enough. 0: it failed
//   decompressBlock   0: the bytes are no whole block, or the block does not fit the room
//
// Inflating a block that fills its room exactly is twice as fast as inflating one that leaves some of it.
//
// Both fail for a block or a room of 4 GiB or more: zlib takes at most 4 GiB - 1 bytes at once.
//
// Threads: any number at once; the class has no state.

#ifndef PLATFORM_STREAM_ZLIBCOMPRESSBLOCK_H
#define PLATFORM_STREAM_ZLIBCOMPRESSBLOCK_H

class zlibCompressBlock {
 public:
  int compressBlock(unsigned char* in, unsigned long inSize, unsigned char* out, unsigned long& outSize) const;
  int decompressBlock(unsigned char* in, unsigned long inSize, unsigned char* out, unsigned long& outSize) const;
};

#endif
