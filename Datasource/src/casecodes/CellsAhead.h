// Cells that were decoded ahead of the next case: those of whole plain groups, in order.
//
// Threads: one thread at a time.

#ifndef DATASRC_SRC_CASECODES_CELLSAHEAD_H
#define DATASRC_SRC_CASECODES_CELLSAHEAD_H

#include <algorithm>
#include <array>
#include <cstddef>

#include "casecodes/GroupDecoder.h"
#include "core/systemfileformat.h"
#include "datasrc/Obs.h"

class CellsAhead {
 public:
  int Left() const { return m_end - m_next; }
  // Returns the first byte of the group that holds the next cell. Left() must not be 0.
  const std::byte* Group() const { return m_groups[static_cast<std::size_t>(m_next / kCodesPerGroup)]; }
  // Returns the index of the next cell in its group.
  int Code() const { return m_next % kCodesPerGroup; }

  // Take copies the next cells to `out`, Skip drops them. `count` is at most Left().
  void Take(OBS* out, int count) {
    std::copy_n(m_cells.data() + m_next, count, out);
    m_next += count;
  }
  void Skip(int count) { m_next += count; }
  void Clear() { m_next = m_end = 0; }
  // Replaces all cells with those of the plain groups at `in`; advances `in`.
  void Decode(const std::byte*& in, const std::byte* inEnd) {
    m_next = 0;
    m_end = kCodesPerGroup * DecodeGroups(in, inEnd, kGroups, m_cells.data(), m_groups.data());
  }

 private:
  // The cells of so many groups take half of a usual first-level cache.
  static constexpr int kGroups = 256;

  int m_next = 0;
  int m_end = 0;
  std::array<const std::byte*, kGroups> m_groups;
  std::array<OBS, std::size_t{kGroups} * kCodesPerGroup> m_cells;
};

#endif
