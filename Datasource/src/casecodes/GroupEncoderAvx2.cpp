#include "casecodes/GroupEncoder.h"

#ifdef DATASRC_AVX2

#include <bit>

#include "casecodes/CellCodesAvx2.h"

namespace {

// The cells in the mask, in order; what is behind them in the 32 bytes is of no use. Answers what is behind the last.
DATASRC_AVX2 inline std::byte* StoreLiterals(std::byte* out, __m256i cells, unsigned mask) {
  StoreFourCells(out, Permute(cells, kGather, mask));
  return out + static_cast<std::size_t>(std::popcount(mask)) * sizeof(OBS);
}

}  // namespace

DATASRC_AVX2 std::byte* EncodeGroupsAvx2(const OBS* cells, int count, std::byte* out) {
  for (int group = 0; group < count; ++group, cells += kCodesPerGroup) {
    const __m256i first = LoadFourCells(cells);
    const __m256i second = LoadFourCells(cells + 4);
    const __m128i codes = CodesOfEight(first, second);
    const unsigned literals = LiteralsAmong(codes);
    Store(out, _mm_cvtsi128_si64(codes));
    out = StoreLiterals(out + kCodesPerGroup, first, literals & 0xF);
    out = StoreLiterals(out, second, literals >> 4);
  }
  return out;
}

#endif
