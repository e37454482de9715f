// The case codes of many cells at once, with a bit for each that says whether the cell is a literal.
//
// Threads: none of its own; functions without state.

#ifndef DATASRC_SRC_CASECODES_CELLCODES_H
#define DATASRC_SRC_CASECODES_CELLCODES_H

#include <cstddef>
#include <cstdint>
#include <span>

#include "core/Avx2.h"
#include "datasrc/Obs.h"

// 64 cells share a word of `literals`, the first cell in its low bit. A last word that is not full is filled up with
// ones. Codes are written for `count` cells, and nothing behind them is touched.
using CodeFinder = void(const OBS* cells, int count, std::byte* codes, std::uint64_t* literals);

inline constexpr int kCellsPerWord = 64;

// The last of CodeFinders().
CodeFinder FindCodes;

// All that this processor can run, the fastest last. The first, plain one is the truth that the others are held
// against.
std::span<CodeFinder* const> CodeFinders();

CodeFinder FindCodesPlainly;
CodeFinder FindCodesPortably;
#ifdef DATASRC_AVX2
CodeFinder FindCodesAvx2;
#else
constexpr CodeFinder* FindCodesAvx2 = nullptr;
#endif

#endif
