// The bytes of a stream in zlib blocks. Format: docs/system-file.md, "Zlib blocks".
//
//   block := head (28 bytes)      mark "ZBLK", plain size (4), position (8), packed size (4), CRC-32 of the plain bytes
//                                 (4), CRC-32 of the 24 bytes in front (4)
//            zlib stream          packed size bytes
//   table := head (20 bytes)      mark "ZTAB", number of blocks (8), length of the plain stream (8)
//            entry (24 bytes)     for each block: position (8), place of its head in the file (8), packed size (4),
//                                 plain size (4)
//            tail (16 bytes)      place of the table's head in the file (8), CRC-32 of all in front (4), mark "ZEND"
//
// All numbers are in the byte order of the file; sizes and places are bytes. A position is one of the plain stream,
// counted from its beginning. Each block begins where the one before it ends or, when it takes the place of what an
// earlier one had, before that.
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

// Choice: what a writer puts into a block. Larger ones save next to nothing, and a single case costs a block.
inline constexpr std::size_t kPlainBlockSize = 128UL * 1024;
// Format: the most that a block may hold.
inline constexpr std::size_t kMostPlainBlockSize = 256UL * 1024;
// Format: the most that its zlib stream may take.
inline constexpr std::size_t kMostPackedBlockSize = DeflateRoom(kMostPlainBlockSize);

inline constexpr std::size_t kBlockHeadSize = 28;
inline constexpr std::size_t kTableHeadSize = 20;
inline constexpr std::size_t kTableEntrySize = 24;
inline constexpr std::size_t kTableTailSize = 16;

// A block, as both its head and the table have it.
struct ZlibBlock {
  std::int64_t position = 0;  // of its first plain byte
  std::int64_t place = 0;     // of its head in the file
  std::uint32_t packedSize = 0;
  std::uint32_t plainSize = 0;

  std::int64_t PlainEnd() const { return position + plainSize; }
  // Behind its last byte in the file.
  std::int64_t FileEnd() const { return place + static_cast<std::int64_t>(kBlockHeadSize) + packedSize; }
  bool operator==(const ZlibBlock&) const = default;
};

struct ZlibBlockHead {
  ZlibBlock block;
  std::uint32_t checksum = 0;  // of the plain bytes
};

// What ends a table.
struct ZlibTableTail {
  std::int64_t tablePlace = 0;
  std::uint32_t checksum = 0;
};

// The blocks of a plain stream, in its order, without those whose place others have taken. Of each block the bytes up
// to the position of the next are the stream's, of the last those up to `length`.
struct ZlibBlockList {
  std::vector<ZlibBlock> blocks;
  std::int64_t length = 0;

  // Puts a block at its position, in place of all that was there and behind. False when that left a gap, or the block
  // is none that a file may have.
  bool Put(const ZlibBlock& block);
  // Cuts the stream off at the position, which is not behind its end.
  void Cut(std::int64_t position);
  // The index of the block that has the position; the number of blocks for the end of the stream and all behind it.
  std::size_t Find(std::int64_t position) const;
  // The stream's bytes in the block.
  std::size_t LengthOf(std::size_t index) const;
};

// ---- Into bytes and out of them ----

// `at` has kBlockHeadSize bytes.
void StoreBlockHead(std::byte* at, const ZlibBlockHead& head, ByteOrder order);
// The head that stands at the place of the file; nothing when the bytes are none, or not kBlockHeadSize.
std::optional<ZlibBlockHead> LoadBlockHead(std::span<const std::byte> bytes, std::int64_t place, ByteOrder order);

// The whole table, for the place of the file.
std::vector<std::byte> TableBytes(const ZlibBlockList& list, std::int64_t place, ByteOrder order);
// What ends with these bytes; nothing when that is no table.
std::optional<ZlibTableTail> LoadTableTail(std::span<const std::byte> tail, ByteOrder order);
// The next so many bytes of a table, good until the next call; fewer where there are no more.
using NextTableBytes = std::function<std::span<const std::byte>(std::size_t)>;
// The list that the table at the place of the file tells; nothing when a byte of it is wrong or it tells of what there
// cannot be between `begin`, the first byte of the blocks, and itself. It is read in pieces, each of which is looked at
// before the next: what it tells sizes no memory.
std::optional<ZlibBlockList> LoadTable(const NextTableBytes& next, std::int64_t begin, std::int64_t place,
                                       ByteOrder order);
// The size of a table of so many blocks.
constexpr std::size_t TableSize(std::size_t blocks) {
  return kTableHeadSize + blocks * kTableEntrySize + kTableTailSize;
}

#endif
