// Texts of at most eight cells are joined eight at a time: a tile of their cells is turned, so that each text is in one
// register and is written by one instruction. The next text begins at its end, over the blanks.

#include "Columns/batches/TextJoiner.h"

#ifdef DATASRC_AVX512

#include <bit>

#include "Columns/batches/TileAvx512.h"

namespace {

constexpr std::size_t kTile = 8;

struct TextTile {
  __m512i lines[kTile];
};

// Loads cells of eight texts, a register for each cell; blanks where a text has no such cell.
DATASRC_AVX512 inline void LoadCells(const TextBlock& block, std::size_t row, TextTile& tile) {
  const __m512i blanks = EightTimes(kBlankCell);
#pragma GCC unroll 8
  for (std::size_t cell = 0; cell < kTile; ++cell)
    tile.lines[cell] = cell < block.count ? LoadEightCells(block.cells + cell * block.step + row) : blanks;
}

// Turns the tile: from a register for each cell to one for each text.
DATASRC_AVX512 inline void Turn(TextTile& tile) {
  auto& l = tile.lines;
  const TurnedHalf low = TurnHalf(JoinLow(l[0], l[2]), JoinLow(l[1], l[3]), JoinLow(l[4], l[6]), JoinLow(l[5], l[7]));
  const TurnedHalf high =
      TurnHalf(JoinHigh(l[0], l[2]), JoinHigh(l[1], l[3]), JoinHigh(l[4], l[6]), JoinHigh(l[5], l[7]));
#pragma GCC unroll 4
  for (std::size_t row = 0; row < 4; ++row) {
    l[row] = low.cells[row];
    l[row + 4] = high.cells[row];
  }
}

// Returns a mask of the bytes that belong to a text.
inline __mmask64 BytesOfText(const TextBlock& block) {
  const std::size_t lastBytes = static_cast<std::size_t>(std::popcount(block.lastMask.bits)) / 8;
  const std::size_t bytes = (block.count - 1) * sizeof(OBS) + lastBytes;
  return bytes == 64 ? ~std::uint64_t{0} : (std::uint64_t{1} << bytes) - 1;
}

}  // namespace

DATASRC_AVX512 JoinedTexts JoinTextsAvx512(const TextBlock& given, std::size_t rows, char* out,
                                           std::uint16_t* lengths) {
  if (given.count > kTile) return JoinTextsPlainly(given, rows, out, lengths);
  TextBlock block = given;  // a copy, which the bytes written cannot change
  const __m512i blanks = EightTimes(kBlankCell);
  const __mmask64 belongs = BytesOfText(block);
  __m512i most = _mm512_setzero_si512();  // of the bytes, counted from the blank
  std::size_t size = 0;
  std::size_t row = 0;
  for (; row + kTile <= rows; row += kTile) {
    TextTile tile;
    LoadCells(block, row, tile);
    Turn(tile);
#pragma GCC unroll 8
    for (std::size_t k = 0; k < kTile; ++k) {
      const __m512i text = _mm512_mask_mov_epi8(blanks, belongs, tile.lines[k]);
      most = _mm512_max_epu8(most, _mm512_sub_epi8(text, blanks));
      const auto length =
          static_cast<std::size_t>(std::bit_width(std::uint64_t{_mm512_cmpneq_epi8_mask(text, blanks)}));
      _mm512_storeu_si512(out + size, text);
      lengths[row + k] = static_cast<std::uint16_t>(length);
      size += length;
    }
  }
  constexpr char kLastPrintable = '~' - ' ';
  const bool arePrintable = _mm512_cmpgt_epu8_mask(most, _mm512_set1_epi8(kLastPrintable)) == 0;
  block.cells += row;
  const JoinedTexts rest = JoinTextsPlainly(block, rows - row, out + size, lengths + row);
  return {size + rest.size, arePrintable && rest.arePrintable};
}

#endif
