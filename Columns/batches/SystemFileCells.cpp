#include "Columns/batches/SystemFileCells.h"

#include <algorithm>
#include <utility>

#include "Platform/messages/ThrowError.h"

namespace {

// So many bytes of cases stay in a first-level cache until their cells are taken. The number of cases is a multiple of
// those that fill a line of 64 bytes in a column: each line is then written at once. Wide cases come at least a few at a
// time, and only those that are very long one by one.
constexpr std::size_t kBlockBytes = std::size_t{16} << 10;
constexpr std::size_t kMostBlockBytes = std::size_t{8} << 20;
constexpr std::size_t kCasesOfLine = 64 / sizeof(OBS);
constexpr std::size_t kLeastBlockRows = 2 * kCasesOfLine;
// A cell on its own costs about as much as so many that are decoded in order.
constexpr std::size_t kCostOfChosen = 6;

std::size_t BlockRows(std::size_t caseSize) {
  const std::size_t caseBytes = std::max<std::size_t>(caseSize, 1) * sizeof(OBS);
  if (caseBytes > kMostBlockBytes / kLeastBlockRows) return 1;
  const std::size_t rows = kBlockBytes / caseBytes;
  return std::max(rows - rows % kCasesOfLine, kLeastBlockRows);
}

}  // namespace

bool SystemFileCells::AreFew(const SystemFileDataSource::Iterator& cases, std::size_t cells) {
  return cases.CanReadChosen() && cells * kCostOfChosen <= static_cast<std::size_t>(cases.CellsOfCase());
}

SystemFileCells::SystemFileCells(std::unique_ptr<SystemFileDataSource::Iterator> cases, std::vector<std::size_t> cells)
    : m_cases(std::move(cases)),
      m_cells(std::move(cells)),
      m_caseSize(static_cast<std::size_t>(m_cases->CellsOfCase())),
      m_areFew(AreFew(*m_cases, m_cells.size())),
      m_blockRows(static_cast<int>(BlockRows(m_caseSize))),
      m_transposer(m_cells, m_caseSize),
      m_block(m_areFew ? 0 : BlockRows(m_caseSize) * m_caseSize + Transposer::kCellsAfter) {}

int SystemFileCells::Read(const CellTarget* targets, int most) {
  return m_areFew ? ReadChosen(targets, most) : ReadCases(targets, most);
}

int SystemFileCells::ReadChosen(const CellTarget* targets, int most) {
  int count = 0;
  if (Fault()) return count;
  m_columns.clear();
  for (std::size_t k = 0; k < m_cells.size(); ++k) m_columns.push_back(targets[k].cells);
  try {
    m_cases->ReadChosen(m_cells, m_columns.data(), most, count);
  } catch (const QuavServerError&) {
    m_fault = std::current_exception();
  }
  MarkPresent({targets, m_cells.size()}, count);
  return count;
}

int SystemFileCells::ReadCases(const CellTarget* targets, int most) {
  m_transposer.Aim(targets);
  int row = 0;
  while (row < most && !Fault()) {
    const int wanted = std::min(most - row, m_blockRows);
    int count = 0;
    try {
      m_cases->ReadCases(m_block.data(), wanted, count);
    } catch (const QuavServerError&) {
      m_fault = std::current_exception();
    }
    m_transposer.Move(m_block.data(), row, count);
    row += count;
    if (count < wanted) break;
  }
  return row;
}
