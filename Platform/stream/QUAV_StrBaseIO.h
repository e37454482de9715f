// The abstract stream: bytes, a position, and a memory of whether an operation failed.
//
//   Clear      forgets a failure
//   Good       whether no operation has failed since the stream was made or cleared
//   Read       the count of bytes read; less than asked for at the end of the data or on a failure
//   Write      the count of bytes written; less than given only on a failure
//   Seek       0 when the position was set
//   Tell       the position of the next byte, from the start of the data
//   EndOfFile  nonzero when the end of the data has been reached
//
// Contract: the order of these operations.
// Threads: one thread at a time for each stream.

#ifndef PLATFORM_STREAM_QUAV_STRBASEIO_H
#define PLATFORM_STREAM_QUAV_STRBASEIO_H

#include "Platform/Export.h"

// Where Seek counts from.
enum SeekDirection : int { kSeekFromStart = 0, kSeekFromPresent = 1, kSeekFromEnd = 2 };

class DATASRC_API QUAV_StrBaseIO {
 public:
  virtual ~QUAV_StrBaseIO();
  virtual void Clear() = 0;
  virtual bool Good() = 0;
  virtual unsigned long Read(void* buffer, unsigned long count) = 0;
  virtual unsigned long Write(const void* buffer, unsigned long count) = 0;
  virtual int Seek(long offset, SeekDirection direction) = 0;
  virtual long Tell() const = 0;
  virtual int EndOfFile() = 0;
};

#endif
