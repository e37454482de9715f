#include "Columns/batches/IteratorCells.h"

#include <utility>

#include "Platform/messages/ThrowError.h"

IteratorCells::IteratorCells(std::unique_ptr<QUAV_InputCaseIterator> cases, std::vector<std::size_t> cells)
    : m_cases(std::move(cases)), m_case(m_cases->GetObsPointer(0)), m_cells(std::move(cells)) {}

void IteratorCells::Seek(long long row) {
  m_fault = nullptr;
  m_isPastEnd = m_cases->IsSeekOK() != 0 ? m_cases->Seek(row) == 0 : !WalkTo(row);
}

bool IteratorCells::WalkTo(long long row) {
  while (m_cases->Tell() < row) {
    if (m_cases->Next() == 0) return false;
  }
  return true;
}

int IteratorCells::Read(const CellTarget* targets, int most) {
  if (m_isPastEnd) return 0;
  int row = 0;
  try {
    const long long first = m_cases->Tell();
    for (; row < most && m_cases->Next() != 0; ++row) {
      // Contract: cases without cells never end, and the iterator does not advance.
      if (row == 0 && m_cases->Tell() == first) return 0;
      for (std::size_t cell = 0; cell < m_cells.size(); ++cell) targets[cell].cells[row] = m_case[m_cells[cell]];
    }
  } catch (const QuavServerError&) {
    m_fault = std::current_exception();
  }
  MarkPresent({targets, m_cells.size()}, row);
  return row;
}
