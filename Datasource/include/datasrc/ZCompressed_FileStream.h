// A stream whose file holds zlib blocks: the kind of temporary file that is written once, in sequence, and read back.
//
// All compressing and decompressing runs on a thread of its own, one for each file, behind a pair of buffers: the
// caller's thread only copies memory. The file is private to the process: where its blocks lie is kept in memory alone,
// for as long as a stream is open on it. How caller and thread meet is told in src/zcompressedfilestr.h.
//
// Writing goes in sequence: a write stands just behind the last one. Elsewhere it is refused with ESPIPE, and inside a
// buffer that is being filled it is asserted. One write may have kBufferSize bytes at most, which is asserted too.
//
// Flush hands on what is written and ends the thread. Reads and writes go on behind it: either starts the thread anew,
// and so does a step back between reads or a read straight after a write, which flush by themselves.
//
// Copies share the file, its blocks and its thread. Each has a position of its own; those that read by turns from
// places far apart have the thread begin anew each time.
//
// Failures: what goes wrong on the disk is remembered by the next operation (Good, Error, errno), which comes up short.
// A write that failed stays so: what is behind it is lost. A read that failed is tried anew. Bytes in the file that are
// no longer those written end the process.
//
// Threads: one for all streams of this kind in the process. They have no lock against one another.

#ifndef DATASRC_ZCOMPRESSED_FILESTREAM_H
#define DATASRC_ZCOMPRESSED_FILESTREAM_H

#include <cstddef>

#include "Platform/Export.h"
#include "Platform/stream/QUAV_FileStream.h"

class ZCompressionTask;

class DATASRC_API ZCompressed_FileStream : public QUAV_FileStream {
 public:
  // Half of what is held, and the bytes of a block before compression.
  static constexpr std::size_t kBufferSize = 0x3FFC00;

  // With the flag, the file is enciphered on disk.
  explicit ZCompressed_FileStream(bool encrypt = false);
  // Opens too; IsOpen tells whether that went well.
  ZCompressed_FileStream(const char* name, const char* mode, bool encrypt);
  // At the same position, on the same file.
  ZCompressed_FileStream(const ZCompressed_FileStream& other);
  ZCompressed_FileStream& operator=(const ZCompressed_FileStream&) = delete;
  // Closes. The last of the copies gives up the table of the blocks.
  ~ZCompressed_FileStream() override;

  // Both answer the bytes transferred: none when nothing is open. A stream that was never written reads as empty.
  unsigned long Read(void* buffer, unsigned long count) override;
  unsigned long Write(const void* buffer, unsigned long count) override;
  // From the end: the end of what was written, uncompressed.
  int Seek(long offset, SeekDirection direction) override;
  // Contract: 1, whatever happened; a failure is remembered. Closing flushes, and leaves the file to the destructor.
  int Close() override;
  int Close() const override;
  int Flush() override;
  int Flush() const;
  // The bytes of two buffers, whether they are there yet or not.
  unsigned long Footprint() const override;

  // There is no window: none is given, and ENOTSUP is remembered.
  Window Peek(std::size_t wanted) override;
  // Of the uncompressed stream.
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

  int m_index = -1;  // of the task in the pool; -1 before the first write
};

#endif
