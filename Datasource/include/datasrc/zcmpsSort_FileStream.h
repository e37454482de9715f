// The stream of temporary files for sorting: it is written once, in sequence, and then read by many copies at once,
// each at its own place.
//
// Each file has a thread, which compresses blocks while they are written, and later reads ahead for the copies.
// src/storage/sortTemp/dataPoolManager.h describes how callers and thread work together. The file is private to the
// process: the table of its blocks is only in memory.
//
//   Open            the stream becomes the writer
//   Write, Flush    in sequence: bytes go after those written before, whatever the position is
//   copy            the first copy ends the writing: later writes fail with EBADF
//   Read, Seek      on the copies, at any place; on the writer, too, without the thread's help
//
// The writer should outlive its copies: the thread ends with the writer, and the remaining copies then read without it.
// Bytes that the writer has not flushed when it is closed or destroyed are dropped.
//
// Failures: the next operation after a failure of the disk remembers it (Good, Error, errno) and comes up short. A
// failed write is final: the writer's calls report it, and so does each copy; its data end there. A failed read is
// tried again. If the bytes of a compressed block have changed since they were written, the process ends by an
// assertion; if they are still a block, but of another size, the read fails with EIO. A block that does not become
// shorter is stored as it is, and its bytes are not checked.
//
// Threads: one thread at a time for each stream. Copies may be on different threads, and may be made and destroyed
// there; the first copy must be made on the writer's thread.

#ifndef DATASRC_ZCMPSSORT_FILESTREAM_H
#define DATASRC_ZCMPSSORT_FILESTREAM_H

#include <memory>

#include "Platform/Export.h"
#include "Platform/stream/QUAV_FileStream.h"

class DATASRC_API zcmpsSort_FileStream : public QUAV_FileStream {
 public:
  zcmpsSort_FileStream();
  // With the flag, the file is enciphered on disk (QUAV_FileStream.h), and its blocks are padded to multiples of 16
  // bytes.
  explicit zcmpsSort_FileStream(bool encrypt);
  // Opens the file, too; IsOpen says whether that succeeded.
  zcmpsSort_FileStream(const char* name, const char* mode, bool encrypt);
  // Makes a reader at the same position; flushes the writer before.
  zcmpsSort_FileStream(const zcmpsSort_FileStream& other);
  zcmpsSort_FileStream& operator=(const zcmpsSort_FileStream&) = delete;
  ~zcmpsSort_FileStream() override;

  // These do what those of QUAV_FileStream do, but an appending mode fails with EINVAL.
  int Open(const char* name, const char* mode) override;
  int Open(const ExtNameStr& name, const char* mode) override;
  // The password is ignored.
  int Open(const char* name, const char* password, const char* mode) override;
  int Open(const ExtNameStr& name, const ExtNameStr& password, const char* mode) override;

  unsigned long Read(void* buffer, unsigned long count) override;
  unsigned long Write(const void* buffer, unsigned long count) override;
  // Contract: always returns 0. A read at a position outside the data, even a negative one, returns 0.
  int Seek(long offset, SeekDirection direction) override;
  // Contract: these always return 1; a failure is remembered. Closing the writer ends the thread, drops unflushed bytes
  // and closes its file; closing a copy does nothing.
  int Close() override;
  int Close() const override;
  int Flush() override;
  int Flush() const;
  // Returns the bytes of a block and of the data that belongs to it.
  unsigned long Footprint() const override;

  // Always returns an empty window; remembers the failure ENOTSUP when `wanted` is not 0.
  Window Peek(std::size_t wanted) override;
  // Returns the length of the uncompressed stream in bytes.
  long Length() override;

 private:
  struct DATASRC_LOCAL Data;

  DATASRC_LOCAL int Start();

  std::unique_ptr<Data> m_data;
};

#endif
