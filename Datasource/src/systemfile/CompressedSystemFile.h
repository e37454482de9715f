// The byte-code form of the case data. Format: docs/system-file.md, "Case codes".
//
//   group := 8 code bytes, then 8 bytes for each code 253 that no 252 precedes
//   code     0 no cell    1..251 the number code - 100    252 end of group
//            253 literal  254 eight blanks                255 system-missing
//
// Cases continue from group to group. A position is 64 bits: the group's byte offset from row 0, plus the index 0..7
// of a code in it; a group begins at a multiple of 8.
//
// Reading decodes in place, in the window of the stream.
//
// Threads: one thread at a time for an object; objects that share a sparse index may be on different threads.

#ifndef DATASRC_SRC_SYSTEMFILE_COMPRESSEDSYSTEMFILE_H
#define DATASRC_SRC_SYSTEMFILE_COMPRESSEDSYSTEMFILE_H

#include <cstddef>
#include <memory>
#include <span>

#include "Platform/stream/QUAV_FileStream.h"
#include "datasrc/Obs.h"
#include "systemfile/BegunGroup.h"

class QUAV_SparseFileIndex;
class SystemFileOptions;

class CompressedSystemFile {
 public:
  // Seeks the stream to row 0, a byte offset in the file. Options and stream are not owned. Shares the table of
  // the index.
  CompressedSystemFile(const SystemFileOptions& options, QUAV_FileStream& file, QUAV_SparseFileIndex& index, long row0);
  CompressedSystemFile(const CompressedSystemFile&) = delete;
  CompressedSystemFile& operator=(const CompressedSystemFile&) = delete;
  // Flushes what was written.
  ~CompressedSystemFile();

  // Reads the next case into `cells` (the caller's, one case long). `numericMap` is null or has a flag for each cell;
  // where it is true, a literal is byte-swapped. Returns the cells per case; 0 at a clean end of the data. Throws
  // SystemFileException 1205 when the data ends inside a case.
  int Read(OBS* cells, const bool* numericMap);
  // Both read the next cases, at most `most`, and set `count` to their number, also when they throw as Read does; less
  // than `most` otherwise is the end of the data. Only for files in this machine's byte order whose cases have cells.
  // The first stores the cases after one another, the second only chosen cells: `chosen[k]` of case r from here on goes
  // to columns[k][r].
  void ReadCases(OBS* cells, int most, int& count);
  void ReadChosen(std::span<const std::size_t> chosen, OBS* const* columns, int most, int& count);
  // Moves to the first case whose first cell is in a group that begins at the position `target` or after it, and not
  // before the present case: Tell and FilePosition then say which case it is. Returns false at the end of the data.
  // Throws as Read does; Tell then returns the number of whole cases.
  bool SkipTo(long target);
  // Writes the next case. Throws SystemFileException 1202 when that fails, and in every later call.
  void Write(const OBS* cells);
  // The next row. Seek only stores it; the next Read or FilePosition moves there.
  void Seek(long long row);
  long long Tell() const;
  // Forgets where the stream is: its bytes have changed. The next Read seeks its case.
  void Forget();
  // Moves the stream to that row, or as far as rows exist, and returns the position there.
  long FilePosition();
  // Prepares to write the case `row`, or the one after the last case when there are fewer or `row` is negative; Tell
  // then says which one. Returns the position of that case. With `reopen` opens the stream again for writing; throws
  // SystemFileException 1201 when that fails.
  long BeginAppend(long long row, bool reopen);
  // Returns what BeginAppend found of the group at that position: the first group that is written replaces it.
  const BegunGroup& FoundByAppend() const;
  // Returns the number of whole cases before row `most`. Data that end inside a case are no failure here.
  long long CountCases(long long most);
  // If any case was written: fills up and writes the current group, and flushes the stream.
  void Flush();

 private:
  struct Data;
  std::unique_ptr<Data> m_;
};

#endif
