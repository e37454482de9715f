// A stream whose file has zlib blocks: the kind of temporary file that is written once, in sequence, and then read.
//
// Each file has its own thread, which compresses and decompresses; the caller's thread only copies to and from a pair
// of buffers. The file is private to the process: the table of its blocks is only in memory, as long as a stream is
// open on the file. src/storage/zcompressedfilestr.h describes how caller and thread work together.
//
// Writes must be in sequence, each directly after the one before it. A write at another place fails with ESPIPE, but
// while a buffer is partly filled it asserts. A write must have at most kBufferSize bytes; more may assert.
//
// Flush gives all written bytes to the thread, waits for it and ends it. Reads and writes may follow: both start the
// thread again. A read directly after a write, and a read at a place before the present buffer, flush by themselves and
// restart the thread, too.
//
// Copies share the file, its blocks and its thread. Each copy has its own position. Copies may read in turn from places
// far apart: a copy keeps the block that it was in when another one reads, and no block is inflated again before the
// copy has left it. Each time a copy enters a block, the thread restarts there, and inflates up to three blocks ahead
// in vain. A copy that has kept a block takes the memory of one buffer more.
//
// Failures: the next operation after a failure of the disk remembers it (Good, Error, errno) and comes up short. A
// failed write is final: all later bytes are lost. A failed read is tried again. If the bytes in the file have
// changed since they were written, the process ends by an assertion.
//
// Threads: one thread at a time for a stream and its copies; streams on different files may be on different threads.

#ifndef DATASRC_ZCOMPRESSED_FILESTREAM_H
#define DATASRC_ZCOMPRESSED_FILESTREAM_H

#include <cstddef>
#include <memory>

#include "Platform/Export.h"
#include "Platform/stream/QUAV_FileStream.h"

class ZCompressionTask;

class DATASRC_API ZCompressed_FileStream : public QUAV_FileStream {
 public:
  // The size of each of the two buffers, and of a block before compression, in bytes.
  static constexpr std::size_t kBufferSize = 0x3FFC00;

  // With the flag, the file is enciphered on disk (QUAV_FileStream.h).
  explicit ZCompressed_FileStream(bool encrypt = false);
  // Opens the file, too; IsOpen says whether that succeeded.
  ZCompressed_FileStream(const char* name, const char* mode, bool encrypt);
  // Makes a copy on the same file, at the same position.
  ZCompressed_FileStream(const ZCompressed_FileStream& other);
  ZCompressed_FileStream& operator=(const ZCompressed_FileStream&) = delete;
  // Flushes and closes. With the last copy the table of the blocks is lost.
  ~ZCompressed_FileStream() override;

  // Both return the number of bytes transferred, 0 when nothing is open. A stream that was never written reads as
  // empty. A write in an appending mode, or in one that only reads, fails with EBADF.
  unsigned long Read(void* buffer, unsigned long count) override;
  unsigned long Write(const void* buffer, unsigned long count) override;
  // kSeekFromEnd counts from the end of the uncompressed bytes.
  int Seek(long offset, SeekDirection direction) override;
  // Contract: these always return 1; a failure is remembered. Close flushes; only the destructor closes the file.
  int Close() override;
  int Close() const override;
  int Flush() override;
  int Flush() const;
  // Returns the bytes of the two buffers of the thread, even before they exist.
  unsigned long Footprint() const override;

  // Always returns an empty window; remembers the failure ENOTSUP when `wanted` is not 0.
  Window Peek(std::size_t wanted) override;
  // Returns the length of the uncompressed stream in bytes.
  long Length() override;

  struct DATASRC_LOCAL ReadRequest;
  struct DATASRC_LOCAL WriteRequest;
  class DATASRC_LOCAL DataBuffer;

 private:
  DATASRC_LOCAL ZCompressionTask* Task() const;
  DATASRC_LOCAL void TakeIndex(int index);
  DATASRC_LOCAL bool Runs(bool write) const;
  DATASRC_LOCAL long WrittenLength();
  DATASRC_LOCAL void FindTask();
  DATASRC_LOCAL int WriteAll(WriteRequest& request);
  DATASRC_LOCAL int ReadAll(ReadRequest& request);

  int m_index = -1;                    // the task's index in the pool; -1 before the first write
  ZCompressionTask* m_task = nullptr;  // that task, owned by the pool; null without an index
  std::unique_ptr<DataBuffer> m_kept;  // the block that it was in when another copy read, or the thread ended; or null
};

#endif
