// Tiles of eight times eight cells, for the kernels that are marked DATASRC_AVX512.

#ifndef COLUMNS_BATCHES_TILEAVX512_H
#define COLUMNS_BATCHES_TILEAVX512_H

#include "core/Avx512.h"

#ifdef DATASRC_AVX512

// With this mask an instruction does the same as without one. GCC 12 warns of the header's own form without a mask.
inline constexpr __mmask8 kAllCells = 0xFF;

// Turns a half tile: four cells of eight lines become eight cells of four lines. lines02 has four cells of line 0, then
// those of line 2, and so on. That the halves come in this order lets two steps put the lines in order: the first joins
// the cells of two neighbours, the second takes four such pairs.
struct TurnedHalf {
  __m512i cells[4];
};

DATASRC_AVX512 inline TurnedHalf TurnHalf(__m512i lines02, __m512i lines13, __m512i lines46, __m512i lines57) {
  const __m512i low0123 = _mm512_maskz_unpacklo_epi64(kAllCells, lines02, lines13);   // cells 0 and 2
  const __m512i high0123 = _mm512_maskz_unpackhi_epi64(kAllCells, lines02, lines13);  // cells 1 and 3
  const __m512i low4567 = _mm512_maskz_unpacklo_epi64(kAllCells, lines46, lines57);
  const __m512i high4567 = _mm512_maskz_unpackhi_epi64(kAllCells, lines46, lines57);
  constexpr int kEven = 0b10'00'10'00;  // quarters 0 and 2 of both
  constexpr int kOdd = 0b11'01'11'01;
  return {{_mm512_maskz_shuffle_i64x2(kAllCells, low0123, low4567, kEven),
           _mm512_maskz_shuffle_i64x2(kAllCells, high0123, high4567, kEven),
           _mm512_maskz_shuffle_i64x2(kAllCells, low0123, low4567, kOdd),
           _mm512_maskz_shuffle_i64x2(kAllCells, high0123, high4567, kOdd)}};
}

// Joins the low, or the high, halves of two lines.
DATASRC_AVX512 inline __m512i JoinLow(__m512i a, __m512i b) {
  return _mm512_maskz_shuffle_i64x2(kAllCells, a, b, 0b01'00'01'00);
}
DATASRC_AVX512 inline __m512i JoinHigh(__m512i a, __m512i b) {
  return _mm512_maskz_shuffle_i64x2(kAllCells, a, b, 0b11'10'11'10);
}

#endif

#endif
