#include "systemfile/SystemFileLayout.h"

#include <algorithm>

#include "core/systemfileformat.h"

namespace {

// Null when the dictionary has no numbers.
std::unique_ptr<bool[]> MapOfNumbers(const QUAV_DataSource& inFile) {
  std::unique_ptr<bool[]> map;
  for (int column = 0; column < static_cast<int>(inFile.ColumnCount()); ++column) {
    if (inFile.GetVariable(column).GetType() != 0) continue;
    if (map == nullptr) map = std::make_unique<bool[]>(inFile.GetObsAreaSize());
    map[static_cast<std::size_t>(inFile.ObsIndex(column))] = true;
  }
  return map;
}

}  // namespace

SystemFileLayout::SystemFileLayout(const QUAV_DataSource& inFile, const ColumnWidths& veryLong, ByteOrder order)
    : SystemFileLayout(static_cast<std::int32_t>(inFile.GetObsAreaSize())) {
  if (order == ByteOrder::reversed) m_numericCells = MapOfNumbers(inFile);
  m_dechunker.SetEStringVars(inFile, veryLong);
  int joined = 0;  // columns that the logical dictionary does not have
  for (const auto& [column, width] : veryLong) {
    m_veryLong.emplace_back(column - joined, width);
    joined += SegmentCount(width) - 1;
    m_logicalCaseSize -= static_cast<std::int32_t>(FileCells(static_cast<unsigned long>(width)) - CellCount(width));
  }
}

bool SystemFileLayout::Takes(const QUAV_DataSource& logical) const {
  const auto columns = static_cast<std::int64_t>(logical.ColumnCount());
  return static_cast<std::int64_t>(logical.GetObsAreaSize()) >= m_logicalCaseSize &&
         std::ranges::all_of(m_veryLong, [&](const auto& string) {
           return string.first < columns && logical.GetVariable(string.first).GetType() == string.second;
         });
}
