// The bytes of a stream in zlib blocks. Format: docs/system-file.md, "Zlib blocks".
//
//   block := head (28 bytes)      mark "ZBLK", plain size (4), position (8), packed size (4), CRC-32 of the plain bytes
//                                 (4), CRC-32 of the 24 bytes before (4)
//            zlib stream          packed size bytes
//   table := head (20 bytes)      mark "ZTAB", number of blocks (8), length of the plain stream (8)
//            entry (24 bytes)     for each block: position (8), place of its head in the file (8), packed size (4),
//                                 plain size (4)
//            tail (16 bytes)      place of the table's head in the file (8), CRC-32 of all before (4), mark "ZEND"
//
// All numbers are in the byte order of the file; sizes and places are bytes. A position is a position in the plain
// stream, counted from its beginning. Each block begins at the end of the block before it, or earlier when it
// replaces a part of earlier blocks.
//
// Threads: values and functions without state.

#ifndef PLATFORM_STREAM_ZLIBBLOCKS_H
#define PLATFORM_STREAM_ZLIBBLOCKS_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

#include "Platform/ByteOrder.h"
#include "Platform/stream/BlockCodec.h"

// Choice: the plain bytes that a writer puts into a block. Larger blocks save almost nothing, and reading a single
// case costs a block.
inline constexpr std::size_t kPlainBlockSize = 128UL * 1024;
// Format: the largest number of plain bytes in a block.
inline constexpr std::size_t kMostPlainBlockSize = 256UL * 1024;
// Format: the largest size of a block's zlib stream.
inline constexpr std::size_t kMostPackedBlockSize = DeflateRoom(kMostPlainBlockSize);

inline constexpr std::size_t kBlockHeadSize = 28;
inline constexpr std::size_t kTableHeadSize = 20;
inline constexpr std::size_t kTableEntrySize = 24;
inline constexpr std::size_t kTableTailSize = 16;

// A block, as its head and the table describe it.
struct ZlibBlock {
  std::int64_t position = 0;  // of its first plain byte
  std::int64_t place = 0;     // of its head in the file
  std::uint32_t packedSize = 0;
  std::uint32_t plainSize = 0;

  std::int64_t PlainEnd() const { return position + plainSize; }
  // The place in the file after the block's last byte.
  std::int64_t FileEnd() const { return place + static_cast<std::int64_t>(kBlockHeadSize) + packedSize; }
  bool operator==(const ZlibBlock&) const = default;
};

struct ZlibBlockHead {
  ZlibBlock block;
  std::uint32_t checksum = 0;  // of the plain bytes
};

// The end of a table.
struct ZlibTableTail {
  std::int64_t tablePlace = 0;
  std::uint32_t checksum = 0;
};

// The blocks of a plain stream, in its order, without those that others have replaced. The stream takes the bytes of
// each block up to the position of the next block, and those of the last block up to `length`.
struct ZlibBlockList {
  std::vector<ZlibBlock> blocks;
  std::int64_t length = 0;

  // Puts a block at its position and drops everything that was there and after. Returns false when the block would
  // leave a gap or is impossible.
  bool Put(const ZlibBlock& block);
  // Cuts the stream at the position, which is not after its end.
  void Cut(std::int64_t position);
  // The index of the block that has the position; the number of blocks for the end of the stream and after.
  std::size_t Find(std::int64_t position) const;
  // The number of bytes that the stream takes from the block.
  std::size_t LengthOf(std::size_t index) const;
};

// ---- Storing and loading ----

// `at` has kBlockHeadSize bytes.
void StoreBlockHead(std::byte* at, const ZlibBlockHead& head, ByteOrder order);
// Loads the head that is at `place` of the file. Returns nothing when the bytes are no head or not kBlockHeadSize long.
std::optional<ZlibBlockHead> LoadBlockHead(std::span<const std::byte> bytes, std::int64_t place, ByteOrder order);

// The whole table, to be stored at `place` of the file.
std::vector<std::byte> TableBytes(const ZlibBlockList& list, std::int64_t place, ByteOrder order);
// Loads the tail from the last bytes of a table. Returns nothing when they are no tail.
std::optional<ZlibTableTail> LoadTableTail(std::span<const std::byte> tail, ByteOrder order);
// Returns the next bytes of a table, as many as requested, valid until the next call; fewer at the end.
using NextTableBytes = std::function<std::span<const std::byte>(std::size_t)>;
// Loads the list from the table at `place` of the file. Returns nothing when a byte of the table is wrong or an entry
// is impossible between `begin`, the first byte of the blocks, and the table. Reads the table in pieces and checks
// each of them before the next, so no declared size decides how much memory is used.
std::optional<ZlibBlockList> LoadTable(const NextTableBytes& next, std::int64_t begin, std::int64_t place,
                                       ByteOrder order);
// The size of a table with this number of blocks.
constexpr std::size_t TableSize(std::size_t blocks) {
  return kTableHeadSize + blocks * kTableEntrySize + kTableTailSize;
}

#endif
