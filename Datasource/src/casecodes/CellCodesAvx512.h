// Finds the codes of eight cells with AVX-512, for the kernels that are marked DATASRC_AVX512.

#ifndef DATASRC_SRC_CASECODES_CELLCODESAVX512_H
#define DATASRC_SRC_CASECODES_CELLCODESAVX512_H

#include "core/Avx512.h"

#ifdef DATASRC_AVX512

#include "casecodes/CaseCodes.h"

struct EightCodes {
  __m128i codes;      // in the low eight bytes
  __mmask8 literals;  // bit 0 for the first cell
};

DATASRC_AVX512 inline EightCodes CodesOfEight512(__m512i cells) {
  // If the conversion to a whole number and back gives the same bits, the cell is that number. One that is too large
  // to be converted gives a number that has no code.
  const __m512i whole = _mm512_cvttpd_epi64(_mm512_castsi512_pd(cells));
  const __mmask8 areWhole = _mm512_cmpeq_epi64_mask(cells, _mm512_castpd_si512(_mm512_cvtepi64_pd(whole)));
  const __m512i codesLessOne = _mm512_add_epi64(whole, _mm512_set1_epi64(kCodeBias - 1));
  const __mmask8 areSmall =
      _mm512_mask_cmplt_epu64_mask(areWhole, codesLessOne, _mm512_set1_epi64(kCodeEndOfGroup - 1));
  const __mmask8 areBlank = _mm512_cmpeq_epi64_mask(cells, EightTimes(kBlankCell));
  const __mmask8 areMissing = _mm512_cmpeq_epi64_mask(cells, EightTimes(kSystemMissingCell));

  __m512i codes = _mm512_mask_add_epi64(_mm512_set1_epi64(kCodeLiteral), areSmall, codesLessOne, _mm512_set1_epi64(1));
  codes = _mm512_mask_mov_epi64(codes, areBlank, _mm512_set1_epi64(kCodeBlanks));
  codes = _mm512_mask_mov_epi64(codes, areMissing, _mm512_set1_epi64(kCodeSystemMissing));
  return {_mm512_cvtepi64_epi8(codes), static_cast<__mmask8>(~(areSmall | areBlank | areMissing))};
}

#endif

#endif
