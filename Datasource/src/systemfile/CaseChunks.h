// Chunks of a file in byte codes, for threads that each want few cells of all cases.
//
// Where a chunk's first group begins, and which cell it has, is known only after the chunk before it. What is long can be
// done without that, and so side by side:
//
//   Load    reads a chunk, and finds its groups (ChunkGroups)
//   Join    says what the chunk begins with, and returns the same for the next one; for one chunk after the other
//   Pick    decodes chosen cells
//
// Cells are counted from the first of the first case that is wanted: cell c of case r has the number r * cells of a case
// + c. Those before it have negative numbers.
//
// Threads: what ChunkedCases has never changes. One thread at a time for a chunk.

#ifndef DATASRC_SRC_SYSTEMFILE_CASECHUNKS_H
#define DATASRC_SRC_SYSTEMFILE_CASECHUNKS_H

#include <cstddef>
#include <vector>

#include "Platform/stream/QUAV_File.h"
#include "casecodes/ChunkGroups.h"
#include "datasrc/Obs.h"
#include "systemfile/CasePlace.h"
#include "systemfile/CaseStretches.h"

// What a chunk begins with.
struct ChunkStart {
  long group = 0;      // the byte of the file where its first group begins
  long long cell = 0;  // the number of the first cell
  CasePlace lastCase;  // the last case that begins before that cell, or with it
};

struct ChunkedCases {
  const QUAV_File* file = nullptr;  // not owned
  long row0 = 0;                    // a byte offset in the file
  long length = 0;                  // of the file when reading began
  int cellsPerCase = 0;
  long long firstRow = 0;
  ChunkStart start;  // of the first chunk, which begins at this group
  std::size_t chunkSize = kUsualSize;

  // So many bytes, and the starts of their groups, stay in a second-level cache until their cells are picked.
  static constexpr std::size_t kUsualSize = std::size_t{256} << 10;
};

class CaseChunk {
 public:
  // `index` counts the chunks from 0.
  void Load(const ChunkedCases& cases, long index);
  ChunkStart Join(const ChunkedCases& cases, const ChunkStart& start);

  // Only after Join. Returns whether the data end in the chunk, or their readable part.
  bool IsLast() const { return !m_groups.IsWhole(); }
  // Returns the number of the cell after those of the chunk.
  long long EndCell() const { return m_firstCell + m_groups.Cells(); }
  // Stores the given cell, which is not before the chunk, and every `step`-th after it, `count` together.
  void Pick(long long cell, int step, int count, OBS* out) const {
    m_groups.Pick(static_cast<int>(cell - m_firstCell), step, count, out);
  }
  long long FirstCell() const { return m_firstCell; }
  // To be called for the last chunk only. Makes a stretch that begins with the last case that begins in the data, and has
  // the end of the data, or the fault. `end` is what Join has returned.
  void MakeTail(const ChunkedCases& cases, const ChunkStart& end, CaseStretch& tail) const;

 private:
  std::vector<std::byte> m_bytes;
  long m_begin = 0;        // in the file
  std::size_t m_size = 0;  // what was read
  int m_error = 0;         // of reading
  long long m_firstCell = 0;
  ChunkGroups m_groups;
};

#endif
