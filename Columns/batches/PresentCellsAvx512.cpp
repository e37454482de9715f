#include "Columns/batches/PresentCells.h"

#ifdef DATASRC_AVX512

DATASRC_AVX512 void MarkPresentAvx512(const OBS* cells, int count, std::uint8_t* bits) {
  for (; count >= 8; count -= 8, cells += 8)
    *bits++ = _mm512_cmpneq_epi64_mask(LoadEightCells(cells), EightTimes(kSystemMissingCell));
  MarkPresentPlainly(cells, count, bits);
}

#endif
