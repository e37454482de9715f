// Finds the codes of eight cells with AVX2, for the kernels that are marked DATASRC_AVX2.

#ifndef DATASRC_SRC_CASECODES_CELLCODESAVX2_H
#define DATASRC_SRC_CASECODES_CELLCODESAVX2_H

#include "core/Avx2.h"

#ifdef DATASRC_AVX2

#include "casecodes/CaseCodes.h"

DATASRC_AVX2 inline __m256i FourCodes(int code) { return _mm256_set1_epi64x(code); }

// Returns the codes of four cells, 64 bits each.
DATASRC_AVX2 inline __m256i CodesOfFour(__m256i cells) {
  // If the conversion to a whole number and back gives the same bits, the cell is that number.
  const __m256d numbers = _mm256_castsi256_pd(cells);
  const __m128i whole = _mm256_cvttpd_epi32(numbers);
  const __m256i areWhole = _mm256_cmpeq_epi64(cells, _mm256_castpd_si256(_mm256_cvtepi32_pd(whole)));
  const __m256d areSmall =
      _mm256_and_pd(_mm256_cmp_pd(numbers, _mm256_set1_pd(kCodeNothing - kCodeBias), _CMP_GT_OQ),
                    _mm256_cmp_pd(numbers, _mm256_set1_pd(kCodeEndOfGroup - kCodeBias), _CMP_LT_OQ));
  const __m256i biased = _mm256_cvtepi32_epi64(_mm_add_epi32(whole, _mm_set1_epi32(kCodeBias)));

  __m256i codes = FourCodes(kCodeLiteral);
  codes = Choose(_mm256_and_si256(areWhole, _mm256_castpd_si256(areSmall)), biased, codes);
  codes = Choose(_mm256_cmpeq_epi64(cells, FourTimes(kBlankCell)), FourCodes(kCodeBlanks), codes);
  return Choose(_mm256_cmpeq_epi64(cells, FourTimes(kSystemMissingCell)), FourCodes(kCodeSystemMissing), codes);
}

// Packs two times four codes of 64 bits each into eight bytes.
DATASRC_AVX2 inline __m128i BytesOf(__m256i first, __m256i second) {
  // In each lane of 128 bits: the even 32-bit words of `first`, then those of `second`.
  const __m256i both = _mm256_castps_si256(
      _mm256_shuffle_ps(_mm256_castsi256_ps(first), _mm256_castsi256_ps(second), _MM_SHUFFLE(2, 0, 2, 0)));
  const __m128i low = _mm256_castsi256_si128(both);
  const __m128i high = _mm256_extracti128_si256(both, 1);
  const __m128i shorts = _mm_packus_epi32(_mm_unpacklo_epi64(low, high), _mm_unpackhi_epi64(low, high));
  return _mm_packus_epi16(shorts, shorts);
}

// Returns the codes of two times four cells, in the low eight bytes.
DATASRC_AVX2 inline __m128i CodesOfEight(__m256i first, __m256i second) {
  return BytesOf(CodesOfFour(first), CodesOfFour(second));
}

// Returns a bit for each of the eight codes, 1 for a literal.
DATASRC_AVX2 inline unsigned LiteralsAmong(__m128i codes) {
  const __m128i are = _mm_cmpeq_epi8(codes, _mm_set1_epi8(static_cast<char>(kCodeLiteral)));
  return static_cast<unsigned>(_mm_movemask_epi8(are)) & 0xFF;
}

#endif

#endif
