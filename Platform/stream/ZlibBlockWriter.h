// Writes a stream in zlib blocks, the table at its end included.
//
// What is written fills a block; full blocks are deflated, on threads when there are any, and go to the file in their
// order. Nothing that stands in the file already is written over: a block that takes the place of an earlier one
// stands behind it, as does the new table behind the old. So whatever breaks off leaves what was there before.
//
// Failures are remembered, memory that runs out (ENOMEM) among them; from then on every call answers with a failure,
// and no table is written. (The blocks that did go out can be read without one.)
//
// Threads: one thread at a time. The threads of its own deflate, and touch no file.

#ifndef PLATFORM_STREAM_ZLIBBLOCKWRITER_H
#define PLATFORM_STREAM_ZLIBBLOCKWRITER_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "Platform/stream/OrderedJobs.h"
#include "Platform/stream/StreamBeneath.h"
#include "Platform/stream/ZlibBlocks.h"

class ZlibBlockWriter {
 public:
  // `file` is open for writing and outlives the writer. The blocks go behind the byte `fileEnd`, and what stands there
  // is cut off. `list` has the blocks in front, up to the position at which the writer begins; `isNew`: there is no
  // table yet, so that one is due even without a block. `threads` deflate; 0: the caller's does.
  ZlibBlockWriter(StreamBeneath& file, ByteOrder order, ZlibBlockList list, std::int64_t fileEnd, bool isNew,
                  int threads);
  // Does not write what is held: that is Finish.
  ~ZlibBlockWriter();

  // The bytes that the block in hand begins with, which are in the file already; before the first Write. They move the
  // position on, but are no reason to write anything.
  void Preload(std::span<const std::byte> bytes);
  std::int64_t Position() const;
  // The count of bytes written: less than given only on a failure.
  std::size_t Write(const std::byte* from, std::size_t count);
  // Brings everything held to the system, the block in hand as short as it is. Whether all went well up to here.
  bool Flush();
  // Flush, and the table; when anything was written, or the stream is new.
  bool Finish();

  int Error() const { return m_error; }
  std::size_t Footprint() const;

 private:
  struct Pack;
  class Packer;

  bool Fail(int reason);
  std::size_t Fill(const std::byte* from, std::size_t count);
  void NeedBlock();
  bool GiveBlock();
  bool WriteOldest();
  bool WriteHeld();
  bool PutBytes(std::span<const std::byte> bytes);
  bool StandAtEnd();

  StreamBeneath& m_file;
  const ByteOrder m_order;
  ZlibBlockList m_list;
  std::int64_t m_fileEnd;
  const int m_threadCount;
  bool m_needsTable;
  bool m_isAtEnd = false;  // the file was cut off at its end, and stands there
  int m_error = 0;
  std::int64_t m_blockStart;      // the position of the block in hand
  std::unique_ptr<Pack> m_block;  // it; null while it has no byte
  std::unique_ptr<Pack> m_spare;  // memory to use again
  std::unique_ptr<OrderedJobs<Pack>> m_jobs;
};

#endif
