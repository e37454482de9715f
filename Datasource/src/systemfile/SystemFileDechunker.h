// Glues very long strings together on reading.
//
// A string wider than 255 bytes stands in the file as a run of strings of 255 bytes, its segments; docs/system-file.md,
// "Very long strings", tells their layout. The dechunker holds a plan, made once for a file, of one line for each such
// string: glue it, then copy the ordinary cells up to the next.
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
  // Makes the plan. `source` still has the segments as its variables; the list has the first column and the whole width
  // of each very long string, by ascending columns.
  void SetEStringVars(const QUAV_DataSource& source, const std::vector<std::pair<int, int>>& list);

  // Whether there is anything to glue.
  bool Active() const { return !m_lines.empty(); }
  // From the file's case to the caller's. Does nothing when not active.
  void Dechunk(const OBS* in, OBS* out) const {
    for (const Line& line : m_lines) CopyLine(line, in, out);
  }

 private:
  struct Line {
    std::uint64_t fileCell;     // where the string begins in the file's case
    std::uint64_t width;        // in bytes; 0 for a line that only copies
    std::uint64_t logicalCell;  // where it begins in the caller's case
    std::uint64_t fileNext;     // the cell behind it, in both
    std::uint64_t logicalNext;
    std::uint64_t plainCells;  // how many ordinary cells follow
  };

  static void CopyLine(const Line& line, const OBS* in, OBS* out);

  std::vector<Line> m_lines;
};

#endif
