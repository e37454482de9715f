// One stream's side of the meeting with the worker. The protocol is described in dataPoolManager.h.
//
// Threads: the stream's caller; the worker uses only the meeting.

#ifndef DATASRC_SRC_STORAGE_SORTTEMP_BASEDATASTREAM_H
#define DATASRC_SRC_STORAGE_SORTTEMP_BASEDATASTREAM_H

#include "storage/sortTemp/SortMeeting.h"
#include "storage/sortTemp/blockManager.h"

class dataPoolManager;

class baseDataStream {
 public:
  using Data = SortMeeting;

  // Registers its meeting with the pool. The pool outlives the stream.
  explicit baseDataStream(dataPoolManager& pool);
  baseDataStream(const baseDataStream&) = delete;
  baseDataStream& operator=(const baseDataStream&) = delete;
  ~baseDataStream();

  // For the writer: takes the buffer and its `size` bytes, and leaves another, empty one in its place.
  void Write(SortBuffer& buffer, unsigned long size, long position);
  // For a copy: reads the block, and has the worker read the block after it ahead. May exchange the buffer for another
  // one. Returns 0 or an errno; `size` is 0 on a failure.
  int Read(SortBuffer& buffer, unsigned long& size, const blockInfo& block);
  // For any stream: reads without the worker. `size` is also 0 when no block holds the position.
  int directRead(SortBuffer& buffer, unsigned long& size, long position);

 private:
  bool IsReadAhead(const blockInfo& block);
  bool TakeReadAhead(SortBuffer& buffer, unsigned long& size, const blockInfo& block, int& error);

  dataPoolManager& m_pool;
  Data m_data;
};

#endif
