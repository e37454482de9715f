// The file stream that a layer stands on, with its open file in reach: layers transfer at places of their own, too.
//
// Threads: as the stream.

#ifndef PLATFORM_STREAM_STREAMBENEATH_H
#define PLATFORM_STREAM_STREAMBENEATH_H

#include "Platform/stream/QUAV_File.h"
#include "Platform/stream/QUAV_FileStream.h"

class StreamBeneath : public QUAV_FileStream {
 public:
  explicit StreamBeneath(const QUAV_FileStream& stream) : QUAV_FileStream(stream) {}

  // Null when none is open. What the stream holds unwritten is not in it yet.
  using QUAV_FileStream::GetFile;
};

#endif
