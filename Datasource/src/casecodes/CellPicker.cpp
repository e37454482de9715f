#include "casecodes/CellPicker.h"

#include "casecodes/GroupDecoder.h"
#include "core/Kernels.h"

namespace {

constexpr KernelTable<CellPicker> kPickers = {PickCellsPlainly, nullptr, nullptr, PickCellsAvx512};

OBS CellAt(const std::byte* group, int index) {
  const auto codes = Load<std::uint64_t>(group);
  const int shift = 8 * index;
  const auto code = static_cast<std::uint8_t>(codes >> shift);
  if (code != kCodeLiteral) return kCellOfCode[code];
  const std::uint64_t before = MarkCodes(codes).literals & ((std::uint64_t{1} << shift) - 1);
  return Load<OBS>(group + kCodesPerGroup + static_cast<std::size_t>(CountHighBits(before)) * sizeof(OBS));
}

}  // namespace

std::vector<CellPicker*> CellPickers() { return Runnable(kPickers); }

void PickCells(const std::byte* const* starts, int first, int step, int count, OBS* out) {
  static CellPicker* const chosen = Chosen(kPickers);
  chosen(starts, first, step, count, out);
}

void PickCellsPlainly(const std::byte* const* starts, int first, int step, int count, OBS* out) {
  for (int i = 0, cell = first; i < count; ++i, cell += step)
    out[i] = CellAt(starts[cell / kCodesPerGroup], cell % kCodesPerGroup);
}
