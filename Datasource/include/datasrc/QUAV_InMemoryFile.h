// A stream that lives in memory.
//
// It grows in blocks, which never move. It never fails, but that memory may run out (std::bad_alloc).
//
// Threads: one thread at a time.

#ifndef DATASRC_QUAV_INMEMORYFILE_H
#define DATASRC_QUAV_INMEMORYFILE_H

#include <memory>

#include "Platform/Export.h"
#include "Platform/stream/QUAV_StrBaseIO.h"

class DATASRC_API QUAV_InMemoryFile : public QUAV_StrBaseIO {
 public:
  // Reserves memory for so many bytes. The stream is empty.
  explicit QUAV_InMemoryFile(unsigned long initialSize);
  QUAV_InMemoryFile(const QUAV_InMemoryFile&) = delete;
  QUAV_InMemoryFile& operator=(const QUAV_InMemoryFile&) = delete;
  ~QUAV_InMemoryFile() override;

  void Clear() override;
  bool Good() override;
  unsigned long Read(void* buffer, unsigned long count) override;
  unsigned long Write(const void* buffer, unsigned long count) override;
  // Counts from the highest position written, with kSeekFromEnd. -1 for a position below 0 or above that one, -2 for an
  // unknown direction; the position stays then.
  int Seek(long offset, SeekDirection direction) override;
  long Tell() const override;
  // Deliberate: whether the position has come to the number of blocks, which has nothing to do with the end of the
  // data. Callers know it so.
  int EndOfFile() override;

  static constexpr unsigned long kBlockSize = 0xFFFC0;

 private:
  struct DATASRC_LOCAL Data;
  std::unique_ptr<Data> m_data;
};

#endif
