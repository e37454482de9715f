#include "datasrc/QUAV_DSObs.h"

#include <algorithm>

#include "Platform/Assert.h"

int QUAV_DSObs::GetObsIndex(int var_index) const {
  const int lth = static_cast<int>(m_firstCells.size());
  QUAV_ASSERT(var_index >= -1, "var_index >= -1");
  QUAV_ASSERT(var_index <= lth, "var_index <= lth");
  if (var_index == -1) return -1;
  return static_cast<int>(var_index == lth ? m_totalCells : m_firstCells[static_cast<std::size_t>(var_index)]);
}

void QUAV_DSObs::AddVariable(int type) { InsertVariable(static_cast<unsigned int>(m_firstCells.size()), type); }

void QUAV_DSObs::InsertVariable(unsigned int index, int type) {
  const std::size_t place = std::min<std::size_t>(index, m_firstCells.size());
  const unsigned int firstCell = place < m_firstCells.size() ? m_firstCells[place] : m_totalCells;
  const auto inserted = m_firstCells.insert(m_firstCells.begin() + static_cast<std::ptrdiff_t>(place), firstCell);
  const unsigned int cells = CellCount(type);
  std::for_each(inserted + 1, m_firstCells.end(), [cells](unsigned int& first) { first += cells; });
  if (place + 1 == m_firstCells.size()) m_lastCells = cells;
  m_totalCells += cells;
}

void QUAV_DSObs::SetVariable(unsigned int index, int oldType, int newType) {
  // Unsigned numbers wrap: for a narrower type, adding `growth` subtracts.
  const unsigned int growth = CellCount(newType) - CellCount(oldType);
  if (growth == 0) return;
  for (std::size_t i = std::size_t{index} + 1; i < m_firstCells.size(); ++i) m_firstCells[i] += growth;
  m_totalCells += growth;
  if (std::size_t{index} + 1 == m_firstCells.size()) m_lastCells += growth;
}

void QUAV_DSObs::DeleteVariables(unsigned int start, unsigned int finish) {
  const std::size_t columnCount = m_firstCells.size();
  QUAV_ASSERT(finish < columnCount, "finish < columnCount");
  QUAV_ASSERT(start <= finish + 1, "start <= finish + 1");
  const auto firstCell = [this](unsigned int index) {
    return static_cast<unsigned int>(GetObsIndex(static_cast<int>(index)));
  };
  if (finish + 1 == columnCount) m_lastCells = start == 0 ? 0 : firstCell(start) - firstCell(start - 1);
  const unsigned int removedCells = firstCell(finish + 1) - firstCell(start);
  const auto behind = m_firstCells.begin() + finish + 1;
  const auto end = std::transform(behind, m_firstCells.end(), m_firstCells.begin() + start,
                                  [removedCells](unsigned int first) { return first - removedCells; });
  m_firstCells.erase(end, m_firstCells.end());
  m_totalCells -= removedCells;
}
