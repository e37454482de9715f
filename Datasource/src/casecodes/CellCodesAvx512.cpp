#include "casecodes/CellCodesAvx512.h"

#include "casecodes/CellCodes.h"

#ifdef DATASRC_AVX512

#include "core/ByteOrder.h"

DATASRC_AVX512 void FindCodesAvx512(const OBS* cells, int count, std::byte* codes, std::uint64_t* literals) {
  for (int start = 0; start < count; start += kCellsPerWord) {
    std::uint64_t word = ~std::uint64_t{0};
    const int end = count - start < kCellsPerWord ? count : start + kCellsPerWord;
    for (int i = start; i < end; i += 8) {
      const auto some = static_cast<__mmask8>(end - i < 8 ? (1U << (end - i)) - 1 : 0xFF);
      const EightCodes eight = CodesOfEight512(_mm512_maskz_loadu_epi64(some, cells + i));
      _mm_mask_storeu_epi8(codes + i, some, eight.codes);
      word ^= std::uint64_t{static_cast<std::uint8_t>(some & ~unsigned{eight.literals})} << (i - start);
    }
    literals[start / kCellsPerWord] = word;
  }
}

#endif
