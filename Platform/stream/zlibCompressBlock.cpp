#include "Platform/stream/zlibCompressBlock.h"

#include <zlib.h>

#include <limits>
#include <span>

#include "Platform/stream/BlockCodec.h"

namespace {

bool IsTooLong(unsigned long size) { return size > std::numeric_limits<uInt>::max(); }

std::span<std::byte> Bytes(unsigned char* begin, unsigned long size) {
  return std::as_writable_bytes(std::span(begin, size));
}

// Inflate is for a block whose size is unknown; `room` is its limit. It returns the size, or kNoBlock on a failure.
constexpr unsigned long kNoBlock = std::numeric_limits<unsigned long>::max();

unsigned long Inflate(unsigned char* in, unsigned long inSize, unsigned char* out, unsigned long room) {
  z_stream stream{};
  stream.next_in = in;
  stream.avail_in = static_cast<uInt>(inSize);
  stream.next_out = out;
  stream.avail_out = static_cast<uInt>(room);
  if (inflateInit(&stream) != Z_OK) return kNoBlock;
  const int result = inflate(&stream, Z_FINISH);
  const unsigned long size = stream.total_out;
  inflateEnd(&stream);
  return result == Z_STREAM_END ? size : kNoBlock;
}

}  // namespace

int zlibCompressBlock::compressBlock(unsigned char* in, unsigned long inSize, unsigned char* out,
                                     unsigned long& outSize) const {
  const unsigned long room = outSize;
  outSize = 0;
  if (IsTooLong(inSize) || IsTooLong(room)) return 0;
  outSize = MakeBlockDeflater()->Deflate(Bytes(in, inSize), Bytes(out, room));
  if (outSize > 0) return 1;
  if (room < DeflateRoom(inSize)) outSize = DeflateRoom(inSize);
  return 0;
}

int zlibCompressBlock::decompressBlock(unsigned char* in, unsigned long inSize, unsigned char* out,
                                       unsigned long& outSize) const {
  const unsigned long room = outSize;
  outSize = 0;
  if (IsTooLong(inSize) || IsTooLong(room)) return 0;
  const bool fillsTheRoom = MakeBlockInflater()->Inflate(Bytes(in, inSize), Bytes(out, room));
  const unsigned long size = fillsTheRoom ? room : Inflate(in, inSize, out, room);
  if (size == kNoBlock) return 0;
  outSize = size;
  return 1;
}
