#include "Columns/batches/CellStrip.h"

#include "core/Kernels.h"

namespace {

constexpr KernelTable<StripMover> kMovers = {MoveStripPlainly, nullptr, MoveStripAvx2, MoveStripAvx512};

}  // namespace

std::vector<StripMover*> StripMovers() { return Runnable(kMovers); }

void MoveStrip(const OBS* cells, std::size_t caseSize, int row, int count, OBS* const* columns) {
  static StripMover* const chosen = Chosen(kMovers);
  chosen(cells, caseSize, row, count, columns);
}

void MoveStripPlainly(const OBS* cells, std::size_t caseSize, int row, int count, OBS* const* columns) {
  for (std::size_t c = 0; c < kStripWidth; ++c) {
    if (columns[c] == nullptr) continue;
    for (int r = 0; r < count; ++r) columns[c][row + r] = cells[static_cast<std::size_t>(r) * caseSize + c];
  }
}
