// The file stream under a layer. It gives the layer its open file, because layers also transfer at their own positions.
//
// Threads: one thread at a time, as for the stream.

#ifndef PLATFORM_STREAM_STREAMBENEATH_H
#define PLATFORM_STREAM_STREAMBENEATH_H

#include "Platform/stream/QUAV_File.h"
#include "Platform/stream/QUAV_FileStream.h"

class StreamBeneath : public QUAV_FileStream {
 public:
  explicit StreamBeneath(const QUAV_FileStream& stream) : QUAV_FileStream(stream) {}

  // Null when no file is open. Bytes that the stream has not written yet are not in the file.
  using QUAV_FileStream::GetFile;
};

#endif
