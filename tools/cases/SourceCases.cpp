#include "tools/cases/SourceCases.h"

#include <algorithm>

namespace tool {

SourceCases::SourceCases(const QUAV_DataSource& source)
    : m_source(source), m_cases(source.MakeIterator(nullptr)), m_read(m_cases->GetObsPointer(0)) {}

SourceCases::SourceCases(const QUAV_DataSource& source, const QUAV_DataSource& dictionary,
                         const std::vector<int>& columns)
    : SourceCases(source) {
  if (std::ranges::is_sorted(columns)) return;
  m_moved.resize(dictionary.GetObsAreaSize());
  for (int column = 0; column < static_cast<int>(columns.size()); ++column)
    m_moves.push_back({static_cast<std::size_t>(source.ObsIndex(columns[static_cast<std::size_t>(column)])),
                       static_cast<std::size_t>(dictionary.ObsIndex(column)),
                       CellCount(dictionary.GetVariable(column).GetType())});
}

bool SourceCases::Next() {
  // Without variables there is nothing to read, but the library would return empty cases forever.
  if (m_source.ColumnCount() == 0 || m_cases->Next() == 0) return false;
  for (const Move& move : m_moves) std::copy_n(m_read + move.from, move.cells, m_moved.data() + move.to);
  return true;
}

}  // namespace tool
