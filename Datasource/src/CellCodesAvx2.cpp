#include "CellCodesAvx2.h"

#include "CellCodes.h"

#ifdef DATASRC_AVX2

#include "ByteOrder.h"

DATASRC_AVX2 void FindCodesAvx2(const OBS* cells, int count, std::byte* codes, std::byte* literals) {
  for (; count >= 8; count -= 8, cells += 8, codes += 8) {
    const __m128i eight = CodesOfEight(LoadFourCells(cells), LoadFourCells(cells + 4));
    Store(codes, _mm_cvtsi128_si64(eight));
    *literals++ = static_cast<std::byte>(LiteralsAmong(eight));
  }
  if (count > 0) FindCodesPortably(cells, count, codes, literals);
}

#endif
