// Writes a stream in zlib blocks, including the table at its end.
//
// Write fills a block; full blocks are deflated, on threads if there are any, and go to the file in their order. The
// writer overwrites nothing in the file: a block that replaces an earlier one is stored after it, and the new table
// after the old one. So a write that breaks off leaves the old contents as they were.
//
// Failures are remembered, including lack of memory (ENOMEM). After one every call fails, and no table is written.
// (The blocks that were written can be read without one.)
//
// Threads: one thread at a time. The writer's own threads only deflate, and do not use the file.

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
  // `file` is open for writing and outlives the writer. The blocks go to the byte `fileEnd` and after it; everything
  // there is cut off first. `list` has the earlier blocks, up to the position at which the writer begins. `isNew`:
  // there is no table yet, so Finish writes one even without a block. `threads` is the number of threads that
  // deflate; 0: the caller's thread does it.
  ZlibBlockWriter(StreamBeneath& file, ByteOrder order, ZlibBlockList list, std::int64_t fileEnd, bool isNew,
                  int threads);
  // Does not write the held bytes: Finish does that.
  ~ZlibBlockWriter();

  // Starts the block in hand with these bytes, which are already in the file. Call it before the first Write. The
  // bytes move the position, but are no reason to write anything.
  void Preload(std::span<const std::byte> bytes);
  std::int64_t Position() const;
  // Returns the number of bytes written: less than given only on a failure.
  std::size_t Write(const std::byte* from, std::size_t count);
  // Writes all held bytes to the system, even if the block in hand is short. Returns whether everything succeeded so
  // far.
  bool Flush();
  // Flushes, and writes the table, when anything was written or the stream is new.
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
  bool m_isAtEnd = false;  // the file was cut at its end, and its position is there
  int m_error = 0;
  std::int64_t m_blockStart;      // the position of the block in hand
  std::unique_ptr<Pack> m_block;  // the block in hand; null while it has no byte
  std::unique_ptr<Pack> m_spare;  // memory to reuse
  std::unique_ptr<OrderedJobs<Pack>> m_jobs;
};

#endif
