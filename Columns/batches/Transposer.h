// Moves chosen cells of successive cases to columns. Which cells stand in which strip is planned once.
//
// Threads: one thread at a time.

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

  // Says where the cells go from now on: cells[k] to targets[k].
  void Aim(const CellTarget* targets);
  // Moves `count` cases that stand after one another at `cases`: those of case r go to row `row` + r of their targets.
  void Move(const OBS* cases, int row, int count) const;

 private:
  struct Strip {
    std::size_t firstCell;                              // of the case
    std::array<std::size_t, kStripWidth> indices = {};  // for each cell that of its target, or kNone
    std::array<CellTarget, kStripWidth> targets = {};
  };
  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

  std::size_t m_caseSize;
  std::vector<Strip> m_strips;
};

#endif
