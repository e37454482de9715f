// What shows whether a file is still the same, on any machine that has it.
//
// Its identity in the file system is not part of it: another machine, or a copy, has another one.
//
// Threads: values and functions without state.

#ifndef COLUMNS_SPLITS_FILEMARK_H
#define COLUMNS_SPLITS_FILEMARK_H

#include <cstdint>
#include <optional>

#include "Platform/stream/ExtNameStr.h"

struct FileMark {
  std::int64_t size = 0;       // in bytes
  std::int64_t changedAt = 0;  // nanoseconds from 1970

  bool operator==(const FileMark&) const = default;
};

// Returns nothing when the file does not exist, is not a regular one, or cannot be asked.
std::optional<FileMark> MarkOf(const ExtNameStr& file);

// Returns the CRC-32 of the first `headSize` bytes of the file, and of the last ones. Throws the library's error 1201
// when they cannot be read.
std::uint32_t ChecksumOf(const ExtNameStr& file, std::int64_t headSize);

#endif
