// Blocks of bytes, each compressed by itself, in the zlib format, by the fastest library that is there (BlockCodec.h).
//
// Both operations answer 1 on success. `outSize` is the room on the way in, and on the way out what was made of it.
// They answer 0 on a failure, and `outSize` tells which:
//
//   compressBlock     more than the room: the output does not fit; a room of so many bytes would do. 0: it failed
//   decompressBlock   0: the bytes are no whole block, or the block does not fit the room
//
// A block that fills its room to the last byte is inflated twice as fast as one that leaves some of it.
//
// A block may be as long as the address space allows; the largest that zlib takes at once is 4 GiB - 1.
//
// Threads: any number at once, it has no state.

#ifndef PLATFORM_STREAM_ZLIBCOMPRESSBLOCK_H
#define PLATFORM_STREAM_ZLIBCOMPRESSBLOCK_H

class zlibCompressBlock {
 public:
  int compressBlock(unsigned char* in, unsigned long inSize, unsigned char* out, unsigned long& outSize) const;
  int decompressBlock(unsigned char* in, unsigned long inSize, unsigned char* out, unsigned long& outSize) const;
};

#endif
