#include "Columns/batches/CellStrip.h"

#ifdef DATASRC_AVX512

#include "Columns/batches/TileAvx512.h"

namespace {

// Returns four cells of a case, then those of the case two after it.
DATASRC_AVX512 inline __m512i LoadHalves(const OBS* cells, std::size_t caseSize) {
  const __m512i low = _mm512_castsi256_si512(LoadFourCells(cells));
  return _mm512_maskz_inserti64x4(kAllCells, low, LoadFourCells(cells + 2 * caseSize), 1);
}

DATASRC_AVX512 inline void StoreTurned(__m512i cells, int row, const CellTarget& target) {
  if (target.cells == nullptr) return;
  StoreEightCells(target.cells + row, cells);
  if (target.present != nullptr)
    target.present[row / 8] = _mm512_cmpneq_epi64_mask(cells, EightTimes(kSystemMissingCell));
}

// Moves four cells of eight cases.
DATASRC_AVX512 inline void MoveHalfTile(const OBS* cells, std::size_t caseSize, int row, const CellTarget* targets) {
  const TurnedHalf turned =
      TurnHalf(LoadHalves(cells, caseSize), LoadHalves(cells + caseSize, caseSize),
               LoadHalves(cells + 4 * caseSize, caseSize), LoadHalves(cells + 5 * caseSize, caseSize));
#pragma GCC unroll 4
  for (std::size_t c = 0; c < 4; ++c) StoreTurned(turned.cells[c], row, targets[c]);
}

}  // namespace

DATASRC_AVX512 void MoveStripAvx512(const OBS* cells, std::size_t caseSize, int row, int count,
                                    const CellTarget* targets) {
  constexpr int kTile = 8;  // cases, with a byte of presence for each cell
  if (row % kTile != 0) return MoveStripPlainly(cells, caseSize, row, count, targets);
  for (; count >= kTile; count -= kTile, row += kTile, cells += kTile * caseSize) {
    MoveHalfTile(cells, caseSize, row, targets);
    MoveHalfTile(cells + 4, caseSize, row, targets + 4);
  }
  if (count != 0) MoveStripPlainly(cells, caseSize, row, count, targets);
}

#endif
