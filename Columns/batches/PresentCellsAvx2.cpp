#include "Columns/batches/PresentCells.h"

#ifdef DATASRC_AVX2

#include <bit>

namespace {

// Returns a bit for each of four cells that is system-missing.
DATASRC_AVX2 inline unsigned MissingOfFour(const OBS* cells) {
  const __m256i areMissing = _mm256_cmpeq_epi64(LoadFourCells(cells), FourTimes(kSystemMissingCell));
  return static_cast<unsigned>(_mm256_movemask_pd(_mm256_castsi256_pd(areMissing)));
}

}  // namespace

DATASRC_AVX2 int MarkPresentAvx2(const OBS* cells, int count, std::uint8_t* bits) {
  int missing = 0;
  for (; count >= 8; count -= 8, cells += 8) {
    const unsigned areMissing = MissingOfFour(cells) | MissingOfFour(cells + 4) << 4;
    *bits++ = static_cast<std::uint8_t>(~areMissing);
    missing += std::popcount(areMissing);
  }
  return missing + MarkPresentPlainly(cells, count, bits);
}

#endif
