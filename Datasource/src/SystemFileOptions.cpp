#include "SystemFileOptions.h"

#include <algorithm>
#include <utility>

void SystemFileOptions::SetNominalCaseSize(std::int32_t cells) {
  if (m_numericCells != nullptr) {
    auto flags = std::make_unique<bool[]>(static_cast<std::size_t>(cells));
    std::copy_n(m_numericCells.get(), std::min(cells, nominalCaseSize), flags.get());
    m_numericCells = std::move(flags);
  }
  nominalCaseSize = cells;
}

void SystemFileOptions::MarkNumericCell(int cell) {
  if (m_numericCells == nullptr) m_numericCells = std::make_unique<bool[]>(static_cast<std::size_t>(nominalCaseSize));
  m_numericCells[static_cast<std::size_t>(cell)] = true;
}

void SystemFileOptions::NoteExtension(int subtype) {
  if (0 <= subtype && static_cast<std::size_t>(subtype) < extensionsFound.size())
    extensionsFound[static_cast<std::size_t>(subtype)] = true;
}
