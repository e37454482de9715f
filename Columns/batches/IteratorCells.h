// Takes cells from an iterator, case by case: works for every source.
//
// Threads: one thread at a time.

#ifndef COLUMNS_BATCHES_ITERATORCELLS_H
#define COLUMNS_BATCHES_ITERATORCELLS_H

#include <cstddef>
#include <memory>
#include <vector>

#include "Columns/batches/CellSource.h"
#include "datasrc/QUAV_InputCaseIterator.h"

class IteratorCells final : public CellSource {
 public:
  IteratorCells(std::unique_ptr<QUAV_InputCaseIterator> cases, std::vector<std::size_t> cells);

  void Seek(long long row) override;
  int Read(const CellTarget* targets, int most) override;

 private:
  // For an iterator that cannot seek. Returns whether there are so many cases.
  bool WalkTo(long long row);

  std::unique_ptr<QUAV_InputCaseIterator> m_cases;
  const OBS* m_case;
  std::vector<std::size_t> m_cells;
  bool m_isPastEnd = false;
};

#endif
