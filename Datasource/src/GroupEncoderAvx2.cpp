#include "GroupEncoder.h"

#ifdef DATASRC_AVX2

#include <bit>

namespace {

DATASRC_AVX2 inline __m256i FourCodes(int code) { return _mm256_set1_epi64x(code); }

// The codes of four cells, of 64 bits each.
DATASRC_AVX2 inline __m256i CodesOf(__m256i cells) {
  // Where the way to a whole number and back ends at the same bits, the cell is that number.
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

// Two times four codes of 64 bits each as the 8 bytes of a group.
DATASRC_AVX2 inline __m128i Bytes(__m256i first, __m256i second) {
  // From lane to lane of 128 bits: the even 32 bits of the first, then those of the second.
  const __m256i both = _mm256_castps_si256(
      _mm256_shuffle_ps(_mm256_castsi256_ps(first), _mm256_castsi256_ps(second), _MM_SHUFFLE(2, 0, 2, 0)));
  const __m128i low = _mm256_castsi256_si128(both);
  const __m128i high = _mm256_extracti128_si256(both, 1);
  const __m128i shorts = _mm_packus_epi32(_mm_unpacklo_epi64(low, high), _mm_unpackhi_epi64(low, high));
  return _mm_packus_epi16(shorts, shorts);
}

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
    const __m128i codes = Bytes(CodesOf(first), CodesOf(second));
    const __m128i areLiterals = _mm_cmpeq_epi8(codes, _mm_set1_epi8(static_cast<char>(kCodeLiteral)));
    const unsigned literals = static_cast<unsigned>(_mm_movemask_epi8(areLiterals)) & 0xFF;
    Store(out, _mm_cvtsi128_si64(codes));
    out = StoreLiterals(out + kCodesPerGroup, first, literals & 0xF);
    out = StoreLiterals(out, second, literals >> 4);
  }
  return out;
}

#endif
