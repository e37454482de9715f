#include "Columns/batches/CellStrip.h"

#include "Columns/batches/PresentCells.h"
#include "core/Kernels.h"

namespace {

constexpr KernelTable<StripMover> kMovers = {MoveStripPlainly, nullptr, MoveStripAvx2, MoveStripAvx512};

}  // namespace

std::vector<StripMover*> StripMovers() { return Runnable(kMovers); }

void MoveStrip(const OBS* cells, std::size_t caseSize, int row, int count, const CellTarget* targets) {
  static StripMover* const chosen = Chosen(kMovers);
  chosen(cells, caseSize, row, count, targets);
}

void MoveStripPlainly(const OBS* cells, std::size_t caseSize, int row, int count, const CellTarget* targets) {
  for (std::size_t c = 0; c < kStripWidth; ++c) {
    const auto& [column, present] = targets[c];
    if (column == nullptr) continue;
    for (int r = 0; r < count; ++r) {
      const OBS cell = cells[static_cast<std::size_t>(r) * caseSize + c];
      column[row + r] = cell;
      if (present != nullptr) MarkCell(cell, static_cast<unsigned>(row + r), present);
    }
  }
}
