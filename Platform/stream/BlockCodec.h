// Blocks in the zlib format (RFC 1950), made and read by the libraries that the build found.
//
//                 deflates   inflates
//   zlib          yes        yes        always there; the plain version
//   libdeflate    yes        yes
//   ISA-L         yes        no
//
// Every library that inflates reads what each of them writes; the tests compare all. A new library needs one more
// source file (BlockCodecX.cpp) and one line in each list of BlockCodec.cpp.
//
// Threads: one thread at a time for each object.

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
  // Writes one zlib stream of all of `plain` into `room`. Returns its size in bytes; 0 when the room is too small or
  // memory ran out. DeflateRoom(plain.size()) bytes are always enough.
  virtual std::size_t Deflate(std::span<const std::byte> plain, std::span<std::byte> room) = 0;
};

class BlockInflater {
 public:
  virtual ~BlockInflater() = default;
  // Inflates `stream` into `plain`. Returns true when `stream` is one whole zlib stream, with a correct checksum, of
  // exactly plain.size() bytes. Otherwise the contents of `plain` are undefined.
  virtual bool Inflate(std::span<const std::byte> stream, std::span<std::byte> plain) = 0;
};

// The available libraries, the fastest first; zlib is the last.
const std::vector<BlockLibrary>& DeflatingLibraries();
const std::vector<BlockLibrary>& InflatingLibraries();

// `library` must be in the list.
std::unique_ptr<BlockDeflater> MakeBlockDeflater(BlockLibrary library = DeflatingLibraries().front());
std::unique_ptr<BlockInflater> MakeBlockInflater(BlockLibrary library = InflatingLibraries().front());

// The largest size in bytes of a zlib stream of `plainSize` bytes, for all libraries.
constexpr std::size_t DeflateRoom(std::size_t plainSize) { return plainSize + plainSize / 64 + 1024; }

// The CRC-32 of zlib, by the fastest library. `before` is the CRC of the bytes before these.
std::uint32_t BlockChecksum(std::span<const std::byte> bytes, std::uint32_t before = 0);

#endif
