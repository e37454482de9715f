// Blocks in the zlib format (RFC 1950), by the libraries that the build found.
//
//                 deflates   inflates
//   zlib          yes        yes        always there; the plain version
//   libdeflate    yes        yes
//   ISA-L         yes        no
//
// Each writes what all of them read; the tests hold all against each other. A new library is one source more
// (BlockCodecX.cpp) and one line in each list of BlockCodec.cpp.
//
// Threads: each object is for one thread at a time.

#ifndef PLATFORM_STREAM_BLOCKCODEC_H
#define PLATFORM_STREAM_BLOCKCODEC_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

enum class BlockLibrary { zlib, libdeflate, isal };

class BlockDeflater {
 public:
  virtual ~BlockDeflater() = default;
  // One zlib stream of all of `plain`, into `room`. Returns its size in bytes; 0 when the room is too small, which
  // DeflateRoom(plain.size()) never is, or memory ran out.
  virtual std::size_t Deflate(std::span<const std::byte> plain, std::span<std::byte> room) = 0;
};

class BlockInflater {
 public:
  virtual ~BlockInflater() = default;
  // Whether `stream` is one whole zlib stream that gives exactly the bytes for which `plain` is the room, its own check
  // included. When not, `plain` holds whatever came.
  virtual bool Inflate(std::span<const std::byte> stream, std::span<std::byte> plain) = 0;
};

// The libraries that are there, the fastest first; zlib is the last.
const std::vector<BlockLibrary>& DeflatingLibraries();
const std::vector<BlockLibrary>& InflatingLibraries();

// Of a library that its list has.
std::unique_ptr<BlockDeflater> MakeBlockDeflater(BlockLibrary library = DeflatingLibraries().front());
std::unique_ptr<BlockInflater> MakeBlockInflater(BlockLibrary library = InflatingLibraries().front());

// Bytes that the zlib stream of so many bytes takes at most, by any of the libraries.
constexpr std::size_t DeflateRoom(std::size_t plainSize) { return plainSize + plainSize / 64 + 1024; }

// The CRC-32 of zlib, by the fastest library; `before` is that of the bytes in front.
std::uint32_t BlockChecksum(std::span<const std::byte> bytes, std::uint32_t before = 0);

#endif
