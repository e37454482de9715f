#include "casecodes/CellCodesAvx2.h"

#include "casecodes/CellCodes.h"

#ifdef DATASRC_AVX2

#include <utility>

#include "core/ByteOrder.h"

DATASRC_AVX2 void FindCodesAvx2(const OBS* cells, int count, std::byte* codes, std::uint64_t* literals) {
  const int fast = count & ~7;
  std::uint64_t word = 0;
  for (int i = 0; i < fast; i += 8) {
    const __m128i eight = CodesOfEight(LoadFourCells(cells + i), LoadFourCells(cells + i + 4));
    Store(codes + i, _mm_cvtsi128_si64(eight));
    word |= std::uint64_t{LiteralsAmong(eight)} << i % kCellsPerWord;
    if (i % kCellsPerWord == kCellsPerWord - 8) literals[i / kCellsPerWord] = std::exchange(word, 0);
  }
  if (fast % kCellsPerWord == 0)
    return FindCodesPortably(cells + fast, count - fast, codes + fast, literals + fast / kCellsPerWord);
  std::uint64_t rest = ~std::uint64_t{0};
  FindCodesPortably(cells + fast, count - fast, codes + fast, &rest);
  literals[fast / kCellsPerWord] = word | rest << fast % kCellsPerWord;
}

#endif
