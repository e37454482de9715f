#include "Columns/batches/PresentCells.h"

#ifdef DATASRC_AVX2

#include <bit>

DATASRC_AVX2 void MarkPresentAvx2(const OBS* cells, int count, std::uint8_t* bits) {
  for (; count >= 8; count -= 8, cells += 8) {
    const unsigned areMissing = MissingOfFour(LoadFourCells(cells)) | MissingOfFour(LoadFourCells(cells + 4)) << 4;
    *bits++ = static_cast<std::uint8_t>(~areMissing);
  }
  MarkPresentPlainly(cells, count, bits);
}

// The processor has an instruction for a word.
DATASRC_AVX2 std::size_t CountPresentAvx2(const std::uint64_t* words, std::size_t count) {
  std::size_t present = 0;
  for (std::size_t i = 0; i < count; ++i) present += static_cast<std::size_t>(std::popcount(words[i]));
  return present;
}

#endif
