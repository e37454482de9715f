#include "casecodes/GroupFinder.h"

#ifdef DATASRC_AVX512

#include "casecodes/CellsOfCodesAvx512.h"

namespace {

// Decodes a plain group.
DATASRC_AVX512 inline void DecodeGroup(const std::byte* group, OBS* out) {
  const __m512i codes = _mm512_cvtepu8_epi64(_mm_loadu_si64(group));
  const __mmask8 areLiteral = _mm512_cmpeq_epi64_mask(codes, _mm512_set1_epi64(kCodeLiteral));
  const __m512i literals = LoadEightCells(group + kCodesPerGroup);
  StoreEightCells(out, _mm512_mask_expand_epi64(CellsOfCodes(codes), areLiteral, literals));
}

}  // namespace

DATASRC_AVX512 int DecodeGroupsAvx512(const std::byte*& in, const std::byte* inEnd, int count, OBS* out,
                                      const std::byte** starts) {
  int done = 0;
  // Runs of groups with nothing but literals are faster to predict than to find first.
  for (; done < count && inEnd - in >= static_cast<std::ptrdiff_t>(kMaxGroupSize) &&
         Load<std::uint64_t>(in) == EveryByte(kCodeLiteral);
       ++done, in += kMaxGroupSize, out += kCodesPerGroup) {
    starts[done] = in;
    StoreEightCells(out, LoadEightCells(in + kCodesPerGroup));
  }
  const int all = done + FindGroupsAvx512(in, inEnd, count - done, starts + done);
  for (; done < all; ++done, out += kCodesPerGroup) DecodeGroup(starts[done], out);
  return all;
}

#endif
