#include "Columns/batches/PresentCells.h"

#include <bit>

#include "core/Kernels.h"

namespace {

constexpr KernelTable<PresenceMarker> kMarkers = {MarkPresentPlainly, nullptr, MarkPresentAvx2, MarkPresentAvx512};
constexpr KernelTable<PresenceCounter> kCounters = {CountPresentPlainly, nullptr, CountPresentAvx2, nullptr};

}  // namespace

std::vector<PresenceMarker*> PresenceMarkers() { return Runnable(kMarkers); }
std::vector<PresenceCounter*> PresenceCounters() { return Runnable(kCounters); }

void MarkPresent(const OBS* cells, int count, std::uint8_t* bits) {
  static PresenceMarker* const chosen = Chosen(kMarkers);
  chosen(cells, count, bits);
}

std::size_t CountPresent(const std::uint64_t* words, std::size_t count) {
  static PresenceCounter* const chosen = Chosen(kCounters);
  return chosen(words, count);
}

void MarkPresentPlainly(const OBS* cells, int count, std::uint8_t* bits) {
  for (int cell = 0; cell < count; ++cell) MarkCell(cells[cell], static_cast<unsigned>(cell), bits);
}

std::size_t CountPresentPlainly(const std::uint64_t* words, std::size_t count) {
  std::size_t present = 0;
  for (std::size_t i = 0; i < count; ++i) present += static_cast<std::size_t>(std::popcount(words[i]));
  return present;
}
