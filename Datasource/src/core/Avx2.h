// The common part of the kernels for processors with AVX2. A function marked DATASRC_AVX2 is compiled for AVX2,
// whatever the library is compiled for, and is called only where HasAvx2() returns true. Helpers that use AVX2
// instructions are marked too.
//
// Permutations move four cells, each a pair of 32-bit lanes. Bit 0 of a mask of cells is for the first cell.

#ifndef DATASRC_SRC_CORE_AVX2_H
#define DATASRC_SRC_CORE_AVX2_H

#include <array>
#include <bit>
#include <cstddef>

#include "datasrc/Obs.h"

#ifdef __x86_64__

#include <immintrin.h>

#define DATASRC_AVX2 [[gnu::target("avx2,popcnt")]]

// POPCNT is older than AVX2, but a separate feature.
inline bool HasAvx2() { return __builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("popcnt") != 0; }

// The source lane of each lane in a permutation. LanesOfMask has a permutation for each mask of four cells.
struct alignas(32) CellLanes {
  std::array<int, 8> lanes{};
};
using LanesOfMask = std::array<CellLanes, 16>;

enum class Moving { kSpread, kGather };

constexpr LanesOfMask MakeLanes(Moving moving) {
  LanesOfMask result{};
  for (std::size_t mask = 0; mask < result.size(); ++mask) {
    std::size_t next = 0;
    for (std::size_t place = 0; place < 4; ++place) {
      if ((mask >> place & 1) == 0) continue;
      const std::size_t from = moving == Moving::kSpread ? next : place;
      const std::size_t to = moving == Moving::kSpread ? place : next;
      for (std::size_t half = 0; half < 2; ++half)
        result[mask].lanes[2 * to + half] = static_cast<int>(2 * from + half);
      ++next;
    }
  }
  return result;
}

// kSpread moves the first cells to the places in the mask. kGather moves the cells in the mask to the front.
inline constexpr LanesOfMask kSpread = MakeLanes(Moving::kSpread);
inline constexpr LanesOfMask kGather = MakeLanes(Moving::kGather);

DATASRC_AVX2 inline __m256i LoadFourCells(const void* cells) {
  return _mm256_loadu_si256(static_cast<const __m256i*>(cells));
}
DATASRC_AVX2 inline void StoreFourCells(void* place, __m256i cells) {
  _mm256_storeu_si256(static_cast<__m256i*>(place), cells);
}
DATASRC_AVX2 inline __m256i FourTimes(OBS cell) { return _mm256_set1_epi64x(std::bit_cast<long long>(cell.bits)); }

DATASRC_AVX2 inline __m256i Permute(__m256i cells, const LanesOfMask& permutations, unsigned mask) {
  return _mm256_permutevar8x32_epi32(cells, LoadFourCells(&permutations[mask]));
}

// Takes `yes` where all bits of `choice` are set, and `no` where none is.
DATASRC_AVX2 inline __m256i Choose(__m256i choice, __m256i yes, __m256i no) {
  return _mm256_blendv_epi8(no, yes, choice);
}

#else

inline bool HasAvx2() { return false; }

#endif

#endif
