// Where one sort stream and the worker meet: a buffer of one block that the two pass to each other. The protocol is
// described in dataPoolManager.h.
//
// Threads: the stream's caller and the worker; the side that has the token owns the buffer.

#ifndef DATASRC_SRC_STORAGE_SORTTEMP_SORTMEETING_H
#define DATASRC_SRC_STORAGE_SORTTEMP_SORTMEETING_H

#include <memory>

#include "Platform/threads/sfMutex.h"
#include "Platform/threads/sfSemaphore.h"

// The bytes of a block before compression.
constexpr unsigned long kSortBlockSize = 0x3FF000;

using SortBuffer = std::unique_ptr<char[]>;
// Makes a buffer for one block, with room for the block's padding.
SortBuffer MakeSortBuffer();

struct SortMeeting {
  // Owned by the side that has the token.
  SortBuffer buffer = MakeSortBuffer();
  unsigned long size = 0;  // the bytes in the buffer
  long position = -1;      // the position of its block in the stream
  int error = 0;           // the errno when the block could not be read, else 0

  // Guarded by the lock. While the writing lasts, only the writer uses them.
  long first = -1;  // the first position used; -1: the caller still has the token
  long next = 0;    // the position to read ahead

  sfSemaphore filled{0};
  sfSemaphore freed{0};
  sfMutex lock;
  int id = -1;  // the id in the pool, which sets it before the worker sees the meeting
};

#endif
