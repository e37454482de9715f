// Finds the blocks of a file: with the table at its end or, when that is missing or damaged, by walking from head to
// head.
//
// Threads: functions without state.

#ifndef PLATFORM_STREAM_ZLIBBLOCKSEARCH_H
#define PLATFORM_STREAM_ZLIBBLOCKSEARCH_H

#include <cstdint>

#include "Platform/stream/QUAV_File.h"
#include "Platform/stream/ZlibBlocks.h"

struct ZlibBlocksFound {
  ZlibBlockList list;
  std::int64_t fileEnd = 0;  // the end of the last whole block or table
  // Whether the file ends with its table. If not, the end is missing or a byte is wrong: `list` then has the part of
  // the stream that the walk reached.
  bool isWhole = false;
  // The errno of a failed read, 0 for none. After a failure the other members mean nothing.
  int error = 0;
};

// `begin` is the first byte of the first block.
ZlibBlocksFound FindZlibBlocks(const QUAV_File& file, std::int64_t begin, ByteOrder order);

#endif
