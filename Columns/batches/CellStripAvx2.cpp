#include "Columns/batches/CellStrip.h"

#ifdef DATASRC_AVX2

#include "Columns/batches/PresentCells.h"

namespace {

DATASRC_AVX2 inline __m128i LoadTwoCells(const OBS* cells) {
  return _mm_loadu_si128(static_cast<const __m128i*>(static_cast<const void*>(cells)));
}

// Two cells of four cases: those of the cases 0 and 2 in one register, those of 1 and 3 in another, because the
// instructions that interleave work on halves.
struct HalfTile {
  __m256i even;
  __m256i odd;
};

DATASRC_AVX2 inline HalfTile LoadHalfTile(const OBS* cells, std::size_t caseSize) {
  return {_mm256_set_m128i(LoadTwoCells(cells + 2 * caseSize), LoadTwoCells(cells)),
          _mm256_set_m128i(LoadTwoCells(cells + 3 * caseSize), LoadTwoCells(cells + caseSize))};
}

DATASRC_AVX2 inline void StoreTurned(__m256i low, __m256i high, int row, const CellTarget& target) {
  if (target.cells == nullptr) return;
  StoreFourCells(target.cells + row, low);
  StoreFourCells(target.cells + row + 4, high);
  if (target.present != nullptr)
    target.present[row / 8] = static_cast<std::uint8_t>(~(MissingOfFour(low) | MissingOfFour(high) << 4));
}

// Moves two cells of eight cases.
DATASRC_AVX2 inline void MoveTile(const OBS* cells, std::size_t caseSize, int row, const CellTarget* targets) {
  const HalfTile low = LoadHalfTile(cells, caseSize);
  const HalfTile high = LoadHalfTile(cells + 4 * caseSize, caseSize);
  StoreTurned(_mm256_unpacklo_epi64(low.even, low.odd), _mm256_unpacklo_epi64(high.even, high.odd), row, targets[0]);
  StoreTurned(_mm256_unpackhi_epi64(low.even, low.odd), _mm256_unpackhi_epi64(high.even, high.odd), row, targets[1]);
}

}  // namespace

DATASRC_AVX2 void MoveStripAvx2(const OBS* cells, std::size_t caseSize, int row, int count, const CellTarget* targets) {
  constexpr int kTile = 8;  // cases, with a byte of presence for each cell
  if (row % kTile != 0) return MoveStripPlainly(cells, caseSize, row, count, targets);
  for (; count >= kTile; count -= kTile, row += kTile, cells += kTile * caseSize)
    for (std::size_t c = 0; c < kStripWidth; c += 2) MoveTile(cells + c, caseSize, row, targets + c);
  if (count != 0) MoveStripPlainly(cells, caseSize, row, count, targets);
}

#endif
