#include "casecodes/CellPicker.h"

#ifdef DATASRC_AVX512

#include "casecodes/CellsOfCodesAvx512.h"

DATASRC_AVX512 void PickCellsAvx512(const std::byte* const* starts, int first, int step, int count, OBS* out) {
  const __m512i steps = _mm512_mullo_epi64(_mm512_set_epi64(7, 6, 5, 4, 3, 2, 1, 0), _mm512_set1_epi64(step));
  __m512i cells = _mm512_add_epi64(_mm512_set1_epi64(first), steps);
  const __m512i zero = _mm512_setzero_si512();
  for (int i = 0; i < count; i += 8) {
    const auto some = static_cast<__mmask8>(count - i < 8 ? (1U << (count - i)) - 1 : 0xFF);
    const __m512i groups = _mm512_mask_i64gather_epi64(zero, some, _mm512_srli_epi64(cells, 3), starts, 8);
    const __m512i codes = _mm512_mask_i64gather_epi64(zero, some, groups, nullptr, 1);
    const __m512i shift = _mm512_slli_epi64(_mm512_and_si512(cells, _mm512_set1_epi64(7)), 3);
    const __m512i code = _mm512_and_si512(_mm512_srlv_epi64(codes, shift), _mm512_set1_epi64(0xFF));

    // A 1 in each byte that is a literal; shifted so that only those before the code are left, which are added up.
    const __m512i literal =
        _mm512_maskz_set1_epi8(_mm512_cmpeq_epi8_mask(codes, _mm512_set1_epi8(static_cast<char>(kCodeLiteral))), 1);
    const __m512i before = _mm512_sllv_epi64(literal, _mm512_sub_epi64(_mm512_set1_epi64(64), shift));
    const __m512i offset = _mm512_slli_epi64(_mm512_sad_epu8(before, zero), 3);
    const __mmask8 areLiteral = _mm512_mask_cmpeq_epi64_mask(some, code, _mm512_set1_epi64(kCodeLiteral));
    const __m512i places = _mm512_add_epi64(_mm512_add_epi64(groups, _mm512_set1_epi64(kCodesPerGroup)), offset);
    const __m512i result = _mm512_mask_i64gather_epi64(CellsOfCodes(code), areLiteral, places, nullptr, 1);
    _mm512_mask_storeu_epi64(out + i, some, result);
    cells = _mm512_add_epi64(cells, _mm512_set1_epi64(8LL * step));
  }
}

#endif
