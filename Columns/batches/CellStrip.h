// Moves cells from cases to columns, a strip of eight adjacent cells of each case at a time. A faster version turns tiles
// of eight (or four) cases, so that it reads and writes several cells with each instruction. It marks the cells that have
// a value while it has them: a later pass over the columns would take a third of its time again.
//
// Threads: functions without state.

#ifndef COLUMNS_BATCHES_CELLSTRIP_H
#define COLUMNS_BATCHES_CELLSTRIP_H

#include <cstddef>
#include <vector>

#include "Columns/batches/CellTarget.h"
#include "core/Avx512.h"
#include "datasrc/Obs.h"

inline constexpr std::size_t kStripWidth = 8;  // in cells

// Case r has its strip at `cells` + r * `caseSize`. Stores cell c of the strips of `count` cases from row `row` of
// targets[c] on, with the bits of presence. Where the cells of a target are null, it is for no cell, but all cells of a
// strip can be read.
using StripMover = void(const OBS* cells, std::size_t caseSize, int row, int count, const CellTarget* targets);

// Calls the version that this process uses (core/Kernels.h).
StripMover MoveStrip;

// Returns all versions that this processor can run, the fastest last. The others must match the first, plain one.
std::vector<StripMover*> StripMovers();

StripMover MoveStripPlainly;
#ifdef DATASRC_AVX2
StripMover MoveStripAvx2;
#else
constexpr StripMover* MoveStripAvx2 = nullptr;
#endif
#ifdef DATASRC_AVX512
StripMover MoveStripAvx512;
#else
constexpr StripMover* MoveStripAvx512 = nullptr;
#endif

#endif
