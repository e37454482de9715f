// The abstract stream: bytes, a position, and a record of whether an operation failed.
//
//   Clear      forgets a failure
//   Good       whether no operation has failed since the stream was made or cleared
//   Read       returns the number of bytes read; less than requested at the end of the data or on a failure
//   Write      returns the number of bytes written; less than given only on a failure
//   Seek       returns 0 when the position was set
//   Tell       returns the position of the next byte, from the start of the data
//   EndOfFile  returns nonzero when the end of the data has been reached
//
// Contract: the order of these operations. Threads: one thread at a time for each stream.

#ifndef PLATFORM_STREAM_QUAV_STRBASEIO_H
#define PLATFORM_STREAM_QUAV_STRBASEIO_H

#include "Platform/Export.h"

// The origin of the offset of Seek.
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
