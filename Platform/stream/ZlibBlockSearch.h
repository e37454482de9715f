// Finds the blocks of a file: by the table at its end or, where that is missing or spoilt, by walking from head to
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
  std::int64_t fileEnd = 0;  // behind the last whole block or table
  // Whether the file ends with its table. If not, its end is missing, or a byte is wrong: of the stream there is what
  // the walk could reach.
  bool isWhole = false;
  // The errno of a file that could not be read, 0 for none; then nothing else is told.
  int error = 0;
};

// `begin` is the first byte of the first block.
ZlibBlocksFound FindZlibBlocks(const QUAV_File& file, std::int64_t begin, ByteOrder order);

#endif
