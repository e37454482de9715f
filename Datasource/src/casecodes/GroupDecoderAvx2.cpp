#include "casecodes/GroupDecoder.h"

#ifdef DATASRC_AVX2

#include <bit>

namespace {

// Returns a mask of the high bits, with bit 0 for the first byte of the word.
DATASRC_AVX2 inline unsigned MaskOfHighBits(std::uint64_t word) {
  return static_cast<unsigned>(_mm_movemask_epi8(_mm_cvtsi64_si128(std::bit_cast<long long>(word))));
}

DATASRC_AVX2 inline __m256i AreCode(__m256i numbers, int code) {
  return _mm256_cmpeq_epi64(numbers, _mm256_set1_epi64x(code - kCodeBias));
}

// Returns four cells: starts with the number that each code would stand for, then puts in the blanks, the missing
// values and the literals. `numbers` are the codes minus the bias, 32 bits each.
DATASRC_AVX2 inline __m256i FourCells(__m128i numbers, unsigned literals, const std::byte* literal) {
  const __m256i wide = _mm256_cvtepi32_epi64(numbers);
  __m256i cells = _mm256_castpd_si256(_mm256_cvtepi32_pd(numbers));
  cells = Choose(AreCode(wide, kCodeBlanks), FourTimes(kBlankCell), cells);
  cells = Choose(AreCode(wide, kCodeSystemMissing), FourTimes(kSystemMissingCell), cells);
  return Choose(AreCode(wide, kCodeLiteral), Permute(LoadFourCells(literal), kSpread, literals), cells);
}

// Decodes a plain group. Bit 0 of `literals` is for its first code.
DATASRC_AVX2 inline void DecodeGroup(std::uint64_t codes, unsigned literals, const std::byte* literal, OBS* out) {
  const __m128i bytes = _mm_cvtsi64_si128(std::bit_cast<long long>(codes));
  const __m256i numbers = _mm256_sub_epi32(_mm256_cvtepu8_epi32(bytes), _mm256_set1_epi32(kCodeBias));
  const unsigned low = literals & 0xF;
  StoreFourCells(out, FourCells(_mm256_castsi256_si128(numbers), low, literal));
  literal += static_cast<std::size_t>(std::popcount(low)) * sizeof(OBS);
  StoreFourCells(out + 4, FourCells(_mm256_extracti128_si256(numbers, 1), literals >> 4, literal));
}

}  // namespace

DATASRC_AVX2 int DecodeGroupsAvx2(const std::byte*& in, const std::byte* inEnd, int count, OBS* out,
                                  const std::byte** starts) {
  const std::byte* group = in;
  int done = 0;
  for (; done < count && inEnd - group >= static_cast<std::ptrdiff_t>(kMaxGroupSize); ++done) {
    const auto codes = Load<std::uint64_t>(group);
    const auto [literals, ends] = MarkCodes(codes);
    if (ends != 0 || HasZeroByte(codes)) break;
    starts[done] = group;
    const std::byte* const literal = group + kCodesPerGroup;
    if (literals == kHighBits) {
      StoreFourCells(out, LoadFourCells(literal));
      StoreFourCells(out + 4, LoadFourCells(literal + 4 * sizeof(OBS)));
      group += kMaxGroupSize;
    } else {
      // The steps from here to the next group limit the speed of the loop: there are as few as possible.
      group = literal + static_cast<std::size_t>(std::popcount(literals)) * sizeof(OBS);
      DecodeGroup(codes, MaskOfHighBits(literals), literal, out);
    }
    out += kCodesPerGroup;
  }
  in = group;
  return done;
}

#endif
