// The stream of temporary files for sorting: one long run is written once, in sequence, and then read by many copies at
// once, each at a place of its own.
//
// One thread for each file compresses blocks while they are written, and reads ahead for the copies afterwards. How
// callers and thread meet is told in src/sortTemp/dataPoolManager.h. The file is private to the process: where its
// blocks lie is kept in memory alone.
//
//   Open            by the writer
//   Write, Flush    in sequence: what is written goes behind what was, wherever the position stands
//   copy            the first copy ends the writing: from then on a write is refused with EBADF
//   Read, Seek      on the copies, from any place; on the writer too, without the thread's help
//
// The writer should outlive its copies: with it goes the thread, and copies that are left read by themselves. What the
// writer has not flushed when it is closed or destroyed is dropped.
//
// Failures: what goes wrong on the disk is remembered by the next operation (Good, Error, errno), which comes up short.
// A write that failed stays so: the writer's calls tell it, and each copy, whose data end there. A read that failed is
// tried anew. Bytes in the file that are no longer those written end the process.
//
// Threads: one at a time for each stream; copies may be on different threads, and be made and destroyed there. The
// first copy is made on the writer's.

#ifndef DATASRC_ZCMPSSORT_FILESTREAM_H
#define DATASRC_ZCMPSSORT_FILESTREAM_H

#include <memory>

#include "Platform/Export.h"
#include "Platform/stream/QUAV_FileStream.h"

class DATASRC_API zcmpsSort_FileStream : public QUAV_FileStream {
 public:
  zcmpsSort_FileStream();
  // With the flag, the file is enciphered on disk, and its blocks are padded to multiples of 16 bytes.
  explicit zcmpsSort_FileStream(bool encrypt);
  // Opens too; IsOpen tells whether that went well.
  zcmpsSort_FileStream(const char* name, const char* mode, bool encrypt);
  // A reader, at the same position.
  zcmpsSort_FileStream(const zcmpsSort_FileStream& other);
  zcmpsSort_FileStream& operator=(const zcmpsSort_FileStream&) = delete;
  ~zcmpsSort_FileStream() override;

  // As the base's; an appending mode is refused with EINVAL too.
  int Open(const char* name, const char* mode) override;
  int Open(const ExtNameStr& name, const char* mode) override;
  // The password is ignored.
  int Open(const char* name, const char* password, const char* mode) override;
  int Open(const ExtNameStr& name, const ExtNameStr& password, const char* mode) override;

  unsigned long Read(void* buffer, unsigned long count) override;
  unsigned long Write(const void* buffer, unsigned long count) override;
  // Contract: 0. A position outside of the data reads as empty, be it negative.
  int Seek(long offset, SeekDirection direction) override;
  // Contract: 1, whatever happened; a failure is remembered. Closing the writer ends the thread and gives up its file;
  // closing a copy does nothing.
  int Close() override;
  int Close() const override;
  int Flush() override;
  int Flush() const;
  // The bytes of a block, and what belongs to it.
  unsigned long Footprint() const override;

  // There is no window: none is given, and ENOTSUP is remembered.
  Window Peek(std::size_t wanted) override;
  // Of the uncompressed stream.
  long Length() override;

 private:
  struct DATASRC_LOCAL Data;

  DATASRC_LOCAL int Start();

  std::unique_ptr<Data> m_data;
};

#endif
