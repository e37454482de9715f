// Takes cells from a system file, many cases at a time. If few of the cells are chosen, the others are not decoded,
// where the form of the file allows it.
//
// Threads: one thread at a time.

#ifndef COLUMNS_BATCHES_SYSTEMFILECELLS_H
#define COLUMNS_BATCHES_SYSTEMFILECELLS_H

#include <cstddef>
#include <memory>
#include <vector>

#include "Columns/batches/CellSource.h"
#include "Columns/batches/Transposer.h"
#include "systemfile/SystemFileIterator.h"

class SystemFileCells final : public CellSource {
 public:
  // Returns whether these cells of a case are so few that each is read on its own.
  static bool AreFew(const SystemFileDataSource::Iterator& cases, std::size_t cells);

  // `cells` are cells of the file's logical case.
  SystemFileCells(std::unique_ptr<SystemFileDataSource::Iterator> cases, std::vector<std::size_t> cells);

  void Seek(long long row) override {
    m_fault = nullptr;
    m_cases->Seek(row);
  }
  // For an iterator that reads stretches: moves to the first case of one.
  void Enter(CaseStretch& stretch, long length) {
    m_fault = nullptr;
    m_cases->Enter(stretch, length);
  }
  int Read(const CellTarget* targets, int most) override;

 private:
  int ReadCases(const CellTarget* targets, int most);
  int ReadChosen(const CellTarget* targets, int most);

  std::unique_ptr<SystemFileDataSource::Iterator> m_cases;
  std::vector<std::size_t> m_cells;
  std::size_t m_caseSize;  // in cells
  bool m_areFew;           // the chosen cells
  int m_blockRows;
  Transposer m_transposer;
  std::vector<OBS> m_block;  // m_blockRows cases; empty if the chosen cells are few
  std::vector<OBS*> m_columns;
};

#endif
