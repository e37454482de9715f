#include "casecodes/GroupEncoder.h"

#ifdef DATASRC_AVX2

#include <bit>

#include "casecodes/CellCodesAvx2.h"
#include "core/ByteOrder.h"

namespace {

// Stores the cells in the mask, in order; the rest of the 32 bytes has no meaning. Returns the end of these cells.
DATASRC_AVX2 inline std::byte* StoreLiterals(std::byte* out, __m256i cells, unsigned mask) {
  StoreFourCells(out, Permute(cells, kGather, mask));
  return out + static_cast<std::size_t>(std::popcount(mask)) * sizeof(OBS);
}

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

}  // namespace

DATASRC_AVX2 std::byte* EncodeCellsAvx2(const OBS* cells, int count, OpenGroup& open, std::byte* out) {
  return EncodeCellsWith(EncodeGroupsAvx2, cells, count, open, out);
}

#endif
