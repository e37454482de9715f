// Where one stream and the worker meet: a buffer of one block that goes from hand to hand. The protocol is told in
// dataPoolManager.h.
//
// Threads: one stream's caller; the worker has the Data.

#ifndef DATASRC_SRC_STORAGE_SORTTEMP_BASEDATASTREAM_H
#define DATASRC_SRC_STORAGE_SORTTEMP_BASEDATASTREAM_H

#include <memory>

#include "Platform/threads/sfMutex.h"
#include "Platform/threads/sfSemaphore.h"
#include "storage/sortTemp/blockManager.h"

class dataPoolManager;

// The bytes of a block before compression.
constexpr unsigned long kSortBlockSize = 0x3FF000;

using SortBuffer = std::unique_ptr<char[]>;
// For a block, with room for its padding.
SortBuffer MakeSortBuffer();

class baseDataStream {
 public:
  struct Data {
    // With the token.
    SortBuffer buffer = MakeSortBuffer();
    unsigned long size = 0;  // the bytes in it
    long position = -1;      // its block's, in the stream
    int error = 0;           // an errno: the block could not be read

    // Guarded by the lock; while the writing lasts, the writer's alone.
    long first = -1;  // the first position used; -1: the token is the caller's still
    long next = 0;    // to be read ahead

    sfSemaphore filled{0};
    sfSemaphore freed{0};
    sfMutex lock;
    int id = -1;  // in the pool, which sets it before the worker sees the meeting
  };

  // Registers with the pool, which outlives it.
  explicit baseDataStream(dataPoolManager& pool);
  baseDataStream(const baseDataStream&) = delete;
  baseDataStream& operator=(const baseDataStream&) = delete;
  ~baseDataStream();

  // For the writer: takes the buffer and its `size` bytes, and leaves another one, empty, in its place.
  void Write(SortBuffer& buffer, unsigned long size, long position);
  // For a copy: the block, and the one behind it is read ahead. The buffer may be another one then. Answers 0 or an
  // errno; `size` is 0 on a failure.
  int Read(SortBuffer& buffer, unsigned long& size, const blockInfo& block);
  // For any stream, past the worker. `size` is 0 too when no block holds the position.
  int directRead(SortBuffer& buffer, unsigned long& size, long position);

 private:
  bool IsReadAhead(const blockInfo& block);
  bool TakeReadAhead(SortBuffer& buffer, unsigned long& size, const blockInfo& block, int& error);

  dataPoolManager& m_pool;
  Data m_data;
};

#endif
