#include "Columns/batches/CellStrip.h"

#ifdef DATASRC_AVX2

namespace {

DATASRC_AVX2 inline __m128i LoadTwoCells(const OBS* cells) {
  return _mm_loadu_si128(static_cast<const __m128i*>(static_cast<const void*>(cells)));
}

// Moves two cells of four cases. Those of the cases 0 and 2 are in one register, those of 1 and 3 in another, because
// the instructions that interleave work on halves.
DATASRC_AVX2 inline void MoveTile(const OBS* cells, std::size_t caseSize, int row, OBS* const* columns) {
  const __m256i even = _mm256_set_m128i(LoadTwoCells(cells + 2 * caseSize), LoadTwoCells(cells));
  const __m256i odd = _mm256_set_m128i(LoadTwoCells(cells + 3 * caseSize), LoadTwoCells(cells + caseSize));
  if (columns[0] != nullptr) StoreFourCells(columns[0] + row, _mm256_unpacklo_epi64(even, odd));
  if (columns[1] != nullptr) StoreFourCells(columns[1] + row, _mm256_unpackhi_epi64(even, odd));
}

}  // namespace

DATASRC_AVX2 void MoveStripAvx2(const OBS* cells, std::size_t caseSize, int row, int count, OBS* const* columns) {
  constexpr int kTile = 4;
  for (; count >= kTile; count -= kTile, row += kTile, cells += kTile * caseSize)
    for (std::size_t c = 0; c < kStripWidth; c += 2) MoveTile(cells + c, caseSize, row, columns + c);
  MoveStripPlainly(cells, caseSize, row, count, columns);
}

#endif
