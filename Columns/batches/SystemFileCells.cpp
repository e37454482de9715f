#include "Columns/batches/SystemFileCells.h"

#include <algorithm>
#include <utility>

#include "Platform/messages/ThrowError.h"

namespace {

// So many bytes of cases stay in a first-level cache until their cells are taken.
constexpr std::size_t kBlockBytes = std::size_t{16} << 10;
// A cell on its own costs about as much as so many that are decoded in order.
constexpr std::size_t kCostOfChosen = 6;

}  // namespace

SystemFileCells::SystemFileCells(std::unique_ptr<SystemFileDataSource::Iterator> cases, std::vector<std::size_t> cells)
    : m_cases(std::move(cases)),
      m_cells(std::move(cells)),
      m_caseSize(static_cast<std::size_t>(m_cases->CellsOfCase())),
      m_areFew(m_cases->CanReadChosen() && m_cells.size() * kCostOfChosen <= m_caseSize),
      m_blockRows(
          static_cast<int>(std::max<std::size_t>(kBlockBytes / sizeof(OBS) / std::max<std::size_t>(m_caseSize, 1), 1))),
      m_block(m_areFew ? 0 : static_cast<std::size_t>(m_blockRows) * m_caseSize) {}

int SystemFileCells::Read(OBS* const* columns, int most) {
  return m_areFew ? ReadChosen(columns, most) : ReadCases(columns, most);
}

int SystemFileCells::ReadChosen(OBS* const* columns, int most) {
  int count = 0;
  if (Fault()) return count;
  try {
    m_cases->ReadChosen(m_cells, columns, most, count);
  } catch (const QuavServerError&) {
    m_fault = std::current_exception();
  }
  return count;
}

int SystemFileCells::ReadCases(OBS* const* columns, int most) {
  int row = 0;
  while (row < most && !Fault()) {
    const int wanted = std::min(most - row, m_blockRows);
    int count = 0;
    try {
      m_cases->ReadCases(m_block.data(), wanted, count);
    } catch (const QuavServerError&) {
      m_fault = std::current_exception();
    }
    for (std::size_t k = 0; k < m_cells.size(); ++k) {
      const OBS* from = m_block.data() + m_cells[k];
      OBS* const to = columns[k] + row;
      for (int i = 0; i < count; ++i, from += m_caseSize) to[i] = *from;
    }
    row += count;
    if (count < wanted) break;
  }
  return row;
}
