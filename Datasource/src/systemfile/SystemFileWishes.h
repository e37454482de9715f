// What a caller may set for a file before it is written. Of a file that is read: what it has.
//
// Threads: one writer, or several readers.

#ifndef DATASRC_SRC_SYSTEMFILE_SYSTEMFILEWISHES_H
#define DATASRC_SRC_SYSTEMFILE_SYSTEMFILEWISHES_H

#include <cstdint>
#include <string>

#include "Platform/stream/ExtNameStr.h"
#include "core/systemfileformat.h"

struct SystemFileWishes {
  std::string eyeCatcher = kDefaultEyeCatcher;
  std::int32_t compression = kCompressionNone;
  std::string characterEncoding;  // empty: the character code decides
  ExtNameStr _password;
  bool passwordMangled = false;
};

#endif
