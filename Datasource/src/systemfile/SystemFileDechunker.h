// Joins the segments of very long strings when a file is read.
//
// A string wider than 255 bytes is stored in the file as a run of strings of 255 bytes, its segments;
// docs/system-file.md, "Very long strings", describes their layout. The dechunker holds a plan, made once for a file,
// with a line for each such string: join its segments, then copy the ordinary cells up to the next such string.
//
// Threads: one writer, or several readers.

#ifndef DATASRC_SRC_SYSTEMFILE_SYSTEMFILEDECHUNKER_H
#define DATASRC_SRC_SYSTEMFILE_SYSTEMFILEDECHUNKER_H

#include <cstdint>
#include <utility>
#include <vector>

#include "datasrc/Obs.h"
#include "datasrc/QUAV_DataSource.h"

class SystemFileDechunker {
 public:
  // Makes the plan. In `source` the segments are still variables. The list has the first column and the whole width
  // of each very long string, in ascending order of the columns.
  void SetEStringVars(const QUAV_DataSource& source, const std::vector<std::pair<int, int>>& list);

  // Returns whether there is anything to join.
  bool Active() const { return !m_lines.empty(); }
  // Converts the file's case to the caller's. Does nothing when not active.
  void Dechunk(const OBS* in, OBS* out) const {
    for (const Line& line : m_lines) CopyLine(line, in, out);
  }

 private:
  struct Line {
    std::uint64_t fileCell;     // where the string begins in the file's case
    std::uint64_t width;        // in bytes; 0 for a line that only copies
    std::uint64_t logicalCell;  // where it begins in the caller's case
    std::uint64_t fileNext;     // the cell after it, in both
    std::uint64_t logicalNext;
    std::uint64_t plainCells;  // how many ordinary cells follow
  };

  static void CopyLine(const Line& line, const OBS* in, OBS* out);

  std::vector<Line> m_lines;
};

#endif
