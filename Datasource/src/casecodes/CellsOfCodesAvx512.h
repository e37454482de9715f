// The cells that eight codes stand for, for the kernels that are marked DATASRC_AVX512.

#ifndef DATASRC_SRC_CASECODES_CELLSOFCODESAVX512_H
#define DATASRC_SRC_CASECODES_CELLSOFCODESAVX512_H

#include "core/Avx512.h"

#ifdef DATASRC_AVX512

#include "casecodes/CaseCodes.h"

// Starts with the number that each code would stand for, then puts in the blanks and missing values. The cell of a
// literal has no meaning. The codes have 64 bits each.
DATASRC_AVX512 inline __m512i CellsOfCodes(__m512i codes) {
  const __m512i special = _mm512_set_epi64(std::bit_cast<long long>(kSystemMissingCell.bits),
                                           std::bit_cast<long long>(kBlankCell.bits), 0, 0, 0, 0, 0, 0);
  static_assert(kCodeSystemMissing % 8 == 7 && kCodeBlanks % 8 == 6);
  const __m512i numbers =
      _mm512_castpd_si512(_mm512_cvtepi64_pd(_mm512_sub_epi64(codes, _mm512_set1_epi64(kCodeBias))));
  const __mmask8 areSpecial = _mm512_cmpgt_epu64_mask(codes, _mm512_set1_epi64(kCodeLiteral));
  return _mm512_mask_permutexvar_epi64(numbers, areSpecial, codes, special);
}

#endif

#endif
