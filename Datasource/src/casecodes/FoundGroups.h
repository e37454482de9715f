// The groups of a stretch of case codes, found in order; their cells are taken later, a few of them.
//
// Plain groups are kept in runs, so that the cells of a run are counted and picked without a look at each group. Any other
// group is a run of its own.
//
// Threads: one thread at a time.

#ifndef DATASRC_SRC_CASECODES_FOUNDGROUPS_H
#define DATASRC_SRC_CASECODES_FOUNDGROUPS_H

#include <cstddef>
#include <vector>

#include "datasrc/Obs.h"

class FoundGroups {
 public:
  // Where a cell is: the first byte of its group, and the index of its code.
  struct Place {
    const std::byte* group;
    int code;
  };

  // Replaces all groups with those from `in` on that begin before `until`. Stops at the first that is not whole before
  // `end`; at least kMaxGroupSize bytes after `end` can be read. Returns the place after the groups.
  const std::byte* Find(const std::byte* in, const std::byte* until, const std::byte* end);
  void Clear();

  // The number of cells. The operations below count cells from 0.
  int Cells() const { return m_cells; }
  Place PlaceOf(int cell) const;
  // Stores the given cell and every `step`-th after it, `count` together, at `out`.
  void Pick(int cell, int step, int count, OBS* out) const;

 private:
  struct Run {
    int firstGroup;
    int firstCell;
    bool isPlain;
  };

  void Add(int groups, int cells, bool arePlain);
  std::size_t RunOf(int cell) const;
  int EndOf(std::size_t run) const { return run + 1 < m_runs.size() ? m_runs[run + 1].firstCell : m_cells; }

  std::vector<const std::byte*> m_starts;  // the first m_groups of them are groups
  std::vector<Run> m_runs;
  int m_groups = 0;
  int m_cells = 0;
};

// Returns the number of cells of the first `codes` codes of a group.
int CountCells(const std::byte* group, int codes);

#endif
