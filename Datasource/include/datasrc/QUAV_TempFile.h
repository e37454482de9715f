// One logical stream over a stripe file in each temp directory, so that several disks share the load.
//
// The stream is cut into stripes of 65,536 bytes. With n files, stripe s lies in file s mod n, from byte
// (s / n) * 65,536 on. With one file the two are the same.
//
// The files have no name that another process could open, are for the process's user alone, and go with the last copy
// that uses them, also when the process is killed. With compression switched on (Settings.h) when a temp file is made,
// what its stripe files are follows from its prefix:
//
//   "xfrm"            plain
//   "sort", "merge"   made to be written by one and read by many copies at once
//   any other         compressed on a thread of their own
//
// Those that are compressed are written in sequence, and a write that failed is their last one: what comes behind it
// fails like it. Closing them is flushing them; what they answer to Close and Flush is always 1.
//
// A copy reads and writes the same files at a position of its own, which is the other's at first. It has the other's
// size as its own end to seek from. A write far behind the end leaves a gap, which need not be there to be read.
//
// Failures: a Read or Write comes up short, and Good tells no until Clear.
//
// Threads: one thread at a time; copies may be on different threads as far as their stripe files allow it.

#ifndef DATASRC_QUAV_TEMPFILE_H
#define DATASRC_QUAV_TEMPFILE_H

#include <cstddef>
#include <memory>
#include <optional>

#include "Platform/Export.h"
#include "Platform/stream/QUAV_FileStream.h"

class DATASRC_API QUAV_TempFile : public QUAV_FileStream {
 public:
  // Makes the files; the prefix begins their names. Throws QuavServerError 1001 with the name of one that cannot be
  // made. Asserts "n" when there is no temp directory. `encrypt` is the flag of QUAV_FileStream, for each of the files;
  // without it they have what their kind of stream has.
  explicit QUAV_TempFile(const char* prefix);
  QUAV_TempFile(const char* prefix, bool encrypt);
  // Writes first what the other still holds.
  QUAV_TempFile(const QUAV_TempFile& other);
  ~QUAV_TempFile() override;

  void Clear() override;
  bool Good() override;
  unsigned long Read(void* buffer, unsigned long count) override;
  unsigned long Write(const void* buffer, unsigned long count) override;
  // Always 0. The files are not touched: a position where there is nothing shows with the next Read or Write.
  int Seek(long offset, SeekDirection direction) override;
  // Whether a Read has asked for more than there was; Seek takes it back.
  int EndOfFile() override;
  // Nonzero when closing any of the files answers so. They are gone then, unless copies use them.
  int Close() override;
  // Not for temp files.
  using QUAV_FileStream::Close;
  // Nonzero when flushing any of the files answers so.
  int Flush() override;
  // The names that the files were made with, "," between them. It lives as long as the object.
  const char* Name() const override;
  // Of all files, taken to be like the first.
  unsigned long Footprint() const override;
  Window Peek(std::size_t wanted) override;
  void Skip(std::size_t count) override;
  // The highest position written, by this object or by the one that it is a copy of before that.
  long Length() override;
  // Whether all of the files are open. Close leaves those open that it only flushes.
  bool IsOpen() const override;
  // The errno of the first of the files that is not good, 0 for none.
  int Error() const override;

  static constexpr long kStripeSize = 65536;

 private:
  struct DATASRC_LOCAL Data;

  void MakeStripes(const char* prefix, std::optional<bool> encrypt);

  int m_kind = 0;  // of the stripe files, a StripeKind
  std::unique_ptr<Data> m_data;
};

#endif
