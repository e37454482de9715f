#include "Columns/batches/PresentCells.h"

#ifdef DATASRC_AVX512

#include <bit>

DATASRC_AVX512 int MarkPresentAvx512(const OBS* cells, int count, std::uint8_t* bits) {
  int missing = 0;
  for (; count >= 8; count -= 8, cells += 8) {
    const unsigned areMissing = _mm512_cmpeq_epi64_mask(LoadEightCells(cells), EightTimes(kSystemMissingCell));
    *bits++ = static_cast<std::uint8_t>(~areMissing);
    missing += std::popcount(areMissing);
  }
  return missing + MarkPresentPlainly(cells, count, bits);
}

#endif
