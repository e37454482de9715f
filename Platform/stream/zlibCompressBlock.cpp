#include "Platform/stream/zlibCompressBlock.h"

#include <zlib.h>

#include <limits>

namespace {

// Choice: the fastest. What is compressed in blocks here is read back soon and once.
constexpr int kLevel = 1;

bool IsTooLong(unsigned long size) { return size > std::numeric_limits<uInt>::max(); }

z_stream Stream(unsigned char* in, unsigned long inSize, unsigned char* out, unsigned long outSize) {
  z_stream stream{};
  stream.next_in = in;
  stream.avail_in = static_cast<uInt>(inSize);
  stream.next_out = out;
  stream.avail_out = static_cast<uInt>(outSize);
  return stream;
}

}  // namespace

int zlibCompressBlock::compressBlock(unsigned char* in, unsigned long inSize, unsigned char* out,
                                     unsigned long& outSize) const {
  const unsigned long room = outSize;
  outSize = 0;
  if (IsTooLong(inSize) || IsTooLong(room)) return 0;
  z_stream stream = Stream(in, inSize, out, room);
  if (deflateInit(&stream, kLevel) != Z_OK) return 0;
  const int result = deflate(&stream, Z_FINISH);
  const bool isFull = stream.avail_out == 0;
  const unsigned long bound = deflateBound(&stream, inSize);
  const unsigned long size = stream.total_out;
  deflateEnd(&stream);
  if (result == Z_STREAM_END)
    outSize = size;
  else if (isFull)
    outSize = bound;
  return result == Z_STREAM_END ? 1 : 0;
}

int zlibCompressBlock::decompressBlock(unsigned char* in, unsigned long inSize, unsigned char* out,
                                       unsigned long& outSize) const {
  const unsigned long room = outSize;
  outSize = 0;
  if (IsTooLong(inSize) || IsTooLong(room)) return 0;
  z_stream stream = Stream(in, inSize, out, room);
  if (inflateInit(&stream) != Z_OK) return 0;
  const int result = inflate(&stream, Z_FINISH);
  const unsigned long size = stream.total_out;
  inflateEnd(&stream);
  if (result != Z_STREAM_END) return 0;
  outSize = size;
  return 1;
}
