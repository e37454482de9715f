// Says which cells of a number have a value: all but the system-missing ones.
//
// Threads: functions without state.

#ifndef COLUMNS_BATCHES_PRESENTCELLS_H
#define COLUMNS_BATCHES_PRESENTCELLS_H

#include <cstdint>
#include <vector>

#include "core/Avx512.h"
#include "datasrc/Obs.h"

// Writes a bit for each of `count` cells, as ColumnBatch.h describes validity; the bits after them in the last byte are
// 0. Returns the number of cells without a value.
using PresenceMarker = int(const OBS* cells, int count, std::uint8_t* bits);

// Calls the version that this process uses (core/Kernels.h).
PresenceMarker MarkPresent;

// Returns all versions that this processor can run, the fastest last. The others must match the first, plain one.
std::vector<PresenceMarker*> PresenceMarkers();

PresenceMarker MarkPresentPlainly;
#ifdef DATASRC_AVX2
PresenceMarker MarkPresentAvx2;
#else
constexpr PresenceMarker* MarkPresentAvx2 = nullptr;
#endif
#ifdef DATASRC_AVX512
PresenceMarker MarkPresentAvx512;
#else
constexpr PresenceMarker* MarkPresentAvx512 = nullptr;
#endif

#endif
