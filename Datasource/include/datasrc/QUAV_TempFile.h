// One logical stream over a stripe file in each temp directory, so that several disks share the load.
//
// The stream is divided into stripes of 65,536 bytes. With n files, stripe s is in file s mod n, from byte
// (s / n) * 65,536 on. A single file is not divided.
//
// The files have no name that another process could open, and only the process's user may read them. A file exists as
// long as a copy uses it, at most until the process ends. If compression is on (Settings.h) when a temp file is made,
// the kind of its files depends on the prefix; otherwise all are plain:
//
//   prefix           kind of file            Close                                   Close and Flush return
//   "xfrm"           plain                   writes the held bytes, closes the file  0, or 1 after a failure
//   "sort", "merge"  zcmpsSort_FileStream    drops what Flush has not written (1)    1
//   any other        ZCompressed_FileStream  flushes; the file stays open            1
//
// (1) For the writer; it also gives up the file. On a copy Close does nothing.
//
// Files of the two compressed kinds are written in sequence. After a write that failed, every later write fails with
// the same reason, also after Clear.
//
// A copy reads and writes the same files at its own position, which is at first the other's. The copy also takes the
// other's length as its own; later writes of the other do not change it. A write beyond the end leaves a gap; a read in
// the gap may come up short.
//
// Failures: a Read or Write comes up short, and Good returns false until Clear. A Read at the end of the data comes up
// short without a failure.
//
// Threads: one thread at a time for each object. Whether copies may be on different threads depends on the kind of the
// files: see QUAV_FileStream.h, ZCompressed_FileStream.h, zcmpsSort_FileStream.h.

#ifndef DATASRC_QUAV_TEMPFILE_H
#define DATASRC_QUAV_TEMPFILE_H

#include <cstddef>
#include <memory>
#include <optional>

#include "Platform/Export.h"
#include "Platform/stream/QUAV_FileStream.h"

class DATASRC_API QUAV_TempFile : public QUAV_FileStream {
 public:
  // Creates the files; their names begin with the prefix. With `encrypt` each of them is enciphered on disk
  // (QUAV_FileStream.h), without it none. Throws QuavServerError 1001, with the name, when a file cannot be made, or
  // when the environment names no usable temp directory. Asserts "n" when the last QuavTempDirs::Set found none.
  explicit QUAV_TempFile(const char* prefix);
  QUAV_TempFile(const char* prefix, bool encrypt);
  // Writes the other's held bytes first. The first copy of a "sort" or "merge" file ends the writing.
  QUAV_TempFile(const QUAV_TempFile& other);
  ~QUAV_TempFile() override;

  void Clear() override;
  bool Good() override;
  unsigned long Read(void* buffer, unsigned long count) override;
  unsigned long Write(const void* buffer, unsigned long count) override;
  // Always returns 0 and does not touch the files: the next Read or Write shows whether the position exists.
  int Seek(long offset, SeekDirection direction) override;
  // Returns nonzero after a Read or Peek has asked for more than there was, until the next Seek.
  int EndOfFile() override;
  // Closes each file as the table says. A plain file is gone when no copy uses it any more. Returns 1 when any file
  // returns nonzero, else 0.
  int Close() override;
  // The const form is not for temp files: it does nothing.
  using QUAV_FileStream::Close;
  // Flushes each file. Returns 1 when any file returns nonzero, else 0.
  int Flush() override;
  // The names of the files, with "," between them. The text lives as long as the object.
  const char* Name() const override;
  // Returns the bytes of memory of the first file's stream, times the number of files.
  unsigned long Footprint() const override;
  Window Peek(std::size_t wanted) override;
  void Skip(std::size_t count) override;
  // Returns the highest position written: by this object, or by the other one before it was copied.
  long Length() override;
  // Whether all of the files are open. Close leaves those open that it only flushes.
  bool IsOpen() const override;
  // The errno of the first of the files that is not good, 0 for none.
  int Error() const override;

  static constexpr long kStripeSize = 65536;

 private:
  struct DATASRC_LOCAL Data;

  void MakeStripes(const char* prefix, std::optional<bool> encrypt);

  int m_kind = 0;  // a StripeKind: the kind of the files
  std::unique_ptr<Data> m_data;
};

#endif
