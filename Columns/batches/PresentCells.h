// Says which cells of a number have a value: all but the system-missing ones.
//
// Threads: functions without state.

#ifndef COLUMNS_BATCHES_PRESENTCELLS_H
#define COLUMNS_BATCHES_PRESENTCELLS_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "core/Avx512.h"
#include "datasrc/Obs.h"

// Writes a bit for each of `count` cells, as ColumnBatch.h describes validity; the bits after them in the last byte are
// 0.
using PresenceMarker = void(const OBS* cells, int count, std::uint8_t* bits);

// Returns how many of the bits in so many words are set.
using PresenceCounter = std::size_t(const std::uint64_t* words, std::size_t count);

// Both call the version that this process uses (core/Kernels.h).
PresenceMarker MarkPresent;
PresenceCounter CountPresent;

// Both return all versions that this processor can run, the fastest last. The others must match the first, plain one.
std::vector<PresenceMarker*> PresenceMarkers();
std::vector<PresenceCounter*> PresenceCounters();

PresenceMarker MarkPresentPlainly;
PresenceCounter CountPresentPlainly;
// Does the same for one cell. Those before it in its byte are marked.
inline void MarkCell(OBS cell, unsigned index, std::uint8_t* bits) {
  const unsigned before = index % 8 == 0 ? 0U : bits[index / 8];
  bits[index / 8] = static_cast<std::uint8_t>(before | unsigned{cell != kSystemMissingCell} << index % 8);
}

#ifdef DATASRC_AVX2
// Returns a bit for each of four cells that is system-missing.
DATASRC_AVX2 inline unsigned MissingOfFour(__m256i cells) {
  const __m256i areMissing = _mm256_cmpeq_epi64(cells, FourTimes(kSystemMissingCell));
  return static_cast<unsigned>(_mm256_movemask_pd(_mm256_castsi256_pd(areMissing)));
}
PresenceMarker MarkPresentAvx2;
PresenceCounter CountPresentAvx2;
#else
constexpr PresenceMarker* MarkPresentAvx2 = nullptr;
constexpr PresenceCounter* CountPresentAvx2 = nullptr;
#endif
#ifdef DATASRC_AVX512
PresenceMarker MarkPresentAvx512;
#else
constexpr PresenceMarker* MarkPresentAvx512 = nullptr;
#endif

#endif
