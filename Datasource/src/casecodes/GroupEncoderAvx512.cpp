#include "casecodes/GroupEncoder.h"

#ifdef DATASRC_AVX512

#include <bit>

#include "casecodes/CellCodesAvx512.h"

DATASRC_AVX512 std::byte* EncodeGroupsAvx512(const OBS* cells, int count, std::byte* out) {
  for (int group = 0; group < count; ++group, cells += kCodesPerGroup) {
    const __m512i eight = LoadEightCells(cells);
    const auto [codes, literals] = CodesOfEight512(eight);
    Store(out, _mm_cvtsi128_si64(codes));
    out += kCodesPerGroup;
    // Stored as a whole: what comes after the literals has no meaning. A compressing store would take far longer.
    StoreEightCells(out, _mm512_maskz_compress_epi64(literals, eight));
    out += static_cast<std::size_t>(std::popcount(static_cast<unsigned>(literals))) * sizeof(OBS);
  }
  return out;
}

#endif
