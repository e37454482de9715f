// The common part of the kernels for processors with AVX-512: its byte permutations (VBMI) and expansions (VBMI2) as
// well. A function marked DATASRC_AVX512 is compiled for them, whatever the library is compiled for, and is called only
// where HasAvx512() returns true. Helpers that use such instructions are marked too.
//
// Bit 0 of a mask of cells is for the first cell.

#ifndef DATASRC_SRC_CORE_AVX512_H
#define DATASRC_SRC_CORE_AVX512_H

#include "core/Avx2.h"
#include "datasrc/Obs.h"

#ifdef __x86_64__

#define DATASRC_AVX512 \
  [[gnu::target("avx512f,avx512bw,avx512dq,avx512vl,avx512vbmi,avx512vbmi2,avx2,bmi,bmi2,lzcnt,popcnt")]]

inline bool HasAvx512() {
  return HasAvx2() && __builtin_cpu_supports("avx512f") != 0 && __builtin_cpu_supports("avx512bw") != 0 &&
         __builtin_cpu_supports("avx512dq") != 0 && __builtin_cpu_supports("avx512vl") != 0 &&
         __builtin_cpu_supports("avx512vbmi") != 0 && __builtin_cpu_supports("avx512vbmi2") != 0 &&
         __builtin_cpu_supports("bmi") != 0 && __builtin_cpu_supports("bmi2") != 0 &&
         __builtin_cpu_supports("lzcnt") != 0;
}

DATASRC_AVX512 inline __m512i LoadEightCells(const void* cells) { return _mm512_loadu_si512(cells); }
DATASRC_AVX512 inline void StoreEightCells(void* place, __m512i cells) { _mm512_storeu_si512(place, cells); }
DATASRC_AVX512 inline __m512i EightTimes(OBS cell) { return _mm512_set1_epi64(std::bit_cast<long long>(cell.bits)); }

#else

inline bool HasAvx512() { return false; }

#endif

#endif
