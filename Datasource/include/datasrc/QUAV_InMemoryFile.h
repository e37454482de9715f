// A stream in memory.
//
// It grows in blocks, which never move. No operation fails, except that memory may run out (std::bad_alloc).
//
// Threads: one thread at a time for each object.

#ifndef DATASRC_QUAV_INMEMORYFILE_H
#define DATASRC_QUAV_INMEMORYFILE_H

#include <memory>

#include "Platform/Export.h"
#include "Platform/stream/QUAV_StrBaseIO.h"

class DATASRC_API QUAV_InMemoryFile : public QUAV_StrBaseIO {
 public:
  // Makes an empty stream with memory for that many bytes.
  explicit QUAV_InMemoryFile(unsigned long initialSize);
  QUAV_InMemoryFile(const QUAV_InMemoryFile&) = delete;
  QUAV_InMemoryFile& operator=(const QUAV_InMemoryFile&) = delete;
  ~QUAV_InMemoryFile() override;

  void Clear() override;
  bool Good() override;
  unsigned long Read(void* buffer, unsigned long count) override;
  unsigned long Write(const void* buffer, unsigned long count) override;
  // kSeekFromEnd counts from the highest position written. Returns 0; -1 for a position below 0 or above the highest
  // one, -2 for an unknown direction. On failure the position does not change.
  int Seek(long offset, SeekDirection direction) override;
  long Tell() const override;
  // Deliberate: returns whether the position is at least the number of blocks, which has nothing to do with the end
  // of the data. Callers rely on it.
  int EndOfFile() override;

  static constexpr unsigned long kBlockSize = 0xFFFC0;

 private:
  struct DATASRC_LOCAL Data;
  std::unique_ptr<Data> m_data;
};

#endif
