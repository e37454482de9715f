#include "casecodes/GroupFinder.h"

#ifdef DATASRC_AVX512

namespace {

// Decodes a plain group: starts with the number that each code would stand for, then puts in the blanks and missing
// values, then the literals.
DATASRC_AVX512 inline void DecodeGroup(const std::byte* group, OBS* out) {
  const __m512i codes = _mm512_cvtepu8_epi64(_mm_loadu_si64(group));
  const __m512i special = _mm512_set_epi64(std::bit_cast<long long>(kSystemMissingCell.bits),
                                           std::bit_cast<long long>(kBlankCell.bits), 0, 0, 0, 0, 0, 0);
  static_assert(kCodeSystemMissing % 8 == 7 && kCodeBlanks % 8 == 6);
  __m512i cells = _mm512_castpd_si512(_mm512_cvtepi64_pd(_mm512_sub_epi64(codes, _mm512_set1_epi64(kCodeBias))));
  const __m512i literal = _mm512_set1_epi64(kCodeLiteral);
  cells = _mm512_mask_permutexvar_epi64(cells, _mm512_cmpgt_epu64_mask(codes, literal), codes, special);
  cells =
      _mm512_mask_expand_epi64(cells, _mm512_cmpeq_epi64_mask(codes, literal), LoadEightCells(group + kCodesPerGroup));
  StoreEightCells(out, cells);
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
