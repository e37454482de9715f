// Joins the cells of texts, without trailing blanks.
//
// Threads: functions without state.

#ifndef COLUMNS_BATCHES_TEXTJOINER_H
#define COLUMNS_BATCHES_TEXTJOINER_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "core/Avx512.h"
#include "datasrc/Obs.h"

// The cells of texts: cell c of text r is at cells[c * step + r].
struct TextBlock {
  const OBS* cells;
  std::size_t step;
  std::size_t count;  // of the cells of a text, at least 1
  OBS lastMask;       // has all bits set in the bytes of the last cell that belong to the text
};

struct JoinedTexts {
  std::size_t size;   // the sum of the lengths
  bool arePrintable;  // whether all of them are printable ASCII
};

// So many bytes may be written after the texts.
inline constexpr std::size_t kJoinSlack = 64;

// Writes the first `rows` texts of a block after one another to `out`, which has room for all their cells and kJoinSlack
// bytes, and to `ends` where each of them ends, if the first begins at `start`.
using TextJoiner = JoinedTexts(const TextBlock& block, std::size_t rows, char* out, std::int32_t start,
                               std::int32_t* ends);

// Calls the version that this process uses (core/Kernels.h).
TextJoiner JoinTexts;

// Returns all versions that this processor can run, the fastest last. The others must match the first, plain one.
std::vector<TextJoiner*> TextJoiners();

TextJoiner JoinTextsPlainly;
#ifdef DATASRC_AVX512
TextJoiner JoinTextsAvx512;
#else
constexpr TextJoiner* JoinTextsAvx512 = nullptr;
#endif

#endif
