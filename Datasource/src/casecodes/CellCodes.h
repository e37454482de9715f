// Finds the case codes of many cells at once, with a bit for each cell that says whether it is a literal.
//
// Threads: functions without state.

#ifndef DATASRC_SRC_CASECODES_CELLCODES_H
#define DATASRC_SRC_CASECODES_CELLCODES_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "core/Avx512.h"
#include "datasrc/Obs.h"

// 64 cells share a word of `literals`, the first cell in its low bit. A last word that is not full is filled with
// ones. Writes `count` codes and nothing after them.
using CodeFinder = void(const OBS* cells, int count, std::byte* codes, std::uint64_t* literals);

inline constexpr int kCellsPerWord = 64;

// Calls the version that this process uses (core/Kernels.h).
CodeFinder FindCodes;

// Returns all versions that this processor can run, the fastest last. The others must match the first, plain one.
std::vector<CodeFinder*> CodeFinders();

CodeFinder FindCodesPlainly;
CodeFinder FindCodesPortably;
#ifdef DATASRC_AVX2
CodeFinder FindCodesAvx2;
#else
constexpr CodeFinder* FindCodesAvx2 = nullptr;
#endif
#ifdef DATASRC_AVX512
CodeFinder FindCodesAvx512;
#else
constexpr CodeFinder* FindCodesAvx512 = nullptr;
#endif

#endif
