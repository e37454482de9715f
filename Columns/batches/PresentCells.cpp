#include "Columns/batches/PresentCells.h"

#include "core/Kernels.h"

namespace {

constexpr KernelTable<PresenceMarker> kMarkers = {MarkPresentPlainly, nullptr, MarkPresentAvx2, MarkPresentAvx512};

}  // namespace

std::vector<PresenceMarker*> PresenceMarkers() { return Runnable(kMarkers); }

int MarkPresent(const OBS* cells, int count, std::uint8_t* bits) {
  static PresenceMarker* const chosen = Chosen(kMarkers);
  return chosen(cells, count, bits);
}

int MarkPresentPlainly(const OBS* cells, int count, std::uint8_t* bits) {
  int missing = 0;
  for (int cell = 0; cell < count; ++cell) {
    if (cell % 8 == 0) bits[cell / 8] = 0;
    if (cells[cell] == kSystemMissingCell)
      ++missing;
    else
      bits[cell / 8] = static_cast<std::uint8_t>(bits[cell / 8] | 1U << cell % 8);
  }
  return missing;
}
