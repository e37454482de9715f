// Moves chosen cells of successive cases to columns. Which cells stand in which strip is planned once.
//
// Threads: any, once it is made.

#ifndef COLUMNS_BATCHES_TRANSPOSER_H
#define COLUMNS_BATCHES_TRANSPOSER_H

#include <array>
#include <cstddef>
#include <span>
#include <vector>

#include "Columns/batches/CellStrip.h"
#include "Columns/batches/CellTarget.h"
#include "datasrc/Obs.h"

class Transposer {
 public:
  // So many cells after the last case are read, but not used.
  static constexpr std::size_t kCellsAfter = kStripWidth - 1;

  // `cells` are cells of a case of `caseSize` cells, in any order; one may come more than once.
  Transposer(std::span<const std::size_t> cells, std::size_t caseSize);

  // Moves `count` cases that stand after one another at `cases`: cells[k] of case r goes to row `row` + r of targets[k].
  void Move(const OBS* cases, int row, int count, const CellTarget* targets) const;

 private:
  struct Strip {
    std::size_t firstCell;                              // of the case
    std::array<std::size_t, kStripWidth> targets = {};  // an index of targets for each cell, or kNone
  };
  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

  std::size_t m_caseSize;
  std::vector<Strip> m_strips;
};

#endif
