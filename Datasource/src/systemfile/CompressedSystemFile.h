// The byte-code form of the case data. Format: docs/system-file.md, "Case codes".
//
//   group := 8 code bytes, then 8 bytes for each code 253 that no 252 precedes
//   code     0 no cell    1..251 the number code - 100    252 end of group
//            253 literal  254 eight blanks                255 system-missing
//
// Cases run on from group to group. A position is 64 bits: the group's byte offset from row 0, plus the index 0..7 of a
// code in it; a group begins at a multiple of 8.
//
// Reading decodes in the window of the stream, straight into the caller's cells.
//
// Threads: none of its own; one thread at a time, and one at a time for all that share a sparse index.

#ifndef DATASRC_SRC_SYSTEMFILE_COMPRESSEDSYSTEMFILE_H
#define DATASRC_SRC_SYSTEMFILE_COMPRESSEDSYSTEMFILE_H

#include <memory>

#include "Platform/stream/QUAV_FileStream.h"
#include "datasrc/Obs.h"

class QUAV_SparseFileIndex;
class SystemFileOptions;

class CompressedSystemFile {
 public:
  class CompressionBuffer;

  // Seeks the stream to row 0, a byte of the file. Options, stream and index are not owned.
  CompressedSystemFile(const SystemFileOptions& options, QUAV_FileStream& file, QUAV_SparseFileIndex& index, long row0);
  CompressedSystemFile(const CompressedSystemFile&) = delete;
  CompressedSystemFile& operator=(const CompressedSystemFile&) = delete;
  // Flushes what was written.
  ~CompressedSystemFile();

  // Reads the next case into `cells` (the caller's, one case long). `numericMap` is null or has a flag for each cell:
  // true, turn a literal's bytes over. Returns the cells per case; 0 at a clean end of the data.
  // Throws SystemFileException 1205 when the data ends inside a case.
  int Read(OBS* cells, const bool* numericMap);
  // Writes the next case. Throws SystemFileException 1202 when that fails, and from then on.
  void Write(const OBS* cells);
  // The row that the next Read or Write is about. Seek only stores it.
  void Seek(long long row);
  long long Tell() const;
  // Brings the stream to that row, or as far as there are rows, and returns the position there.
  long FilePosition();
  // Makes ready to write behind the last case, whose number is row - 1. With `reopen` the stream is opened again for
  // writing; throws SystemFileException 1201 when that fails.
  void BeginAppend(long long row, bool reopen);
  // Writes the group in hand, filled up, and flushes the stream; when anything was written.
  void Flush();

 private:
  struct Data;
  std::unique_ptr<Data> m_;
};

#endif
