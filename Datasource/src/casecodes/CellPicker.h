// Decodes single cells of plain groups: those of a column, which are as far apart as a case is long.
//
// Threads: functions without state.

#ifndef DATASRC_SRC_CASECODES_CELLPICKER_H
#define DATASRC_SRC_CASECODES_CELLPICKER_H

#include <cstddef>
#include <vector>

#include "core/Avx512.h"
#include "datasrc/Obs.h"

// `starts` has the starts of successive plain groups, of which kMaxGroupSize bytes can be read each. Their cells are
// counted from 0. Stores `count` of them, `first` and every `step`-th after it, at `out`.
using CellPicker = void(const std::byte* const* starts, int first, int step, int count, OBS* out);

// Calls the version that this process uses (core/Kernels.h).
CellPicker PickCells;

// Returns all versions that this processor can run, the fastest last. The others must match the first, plain one.
std::vector<CellPicker*> CellPickers();

CellPicker PickCellsPlainly;
#ifdef DATASRC_AVX512
CellPicker PickCellsAvx512;
#else
constexpr CellPicker* PickCellsAvx512 = nullptr;
#endif

#endif
