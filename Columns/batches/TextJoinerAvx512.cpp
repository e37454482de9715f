// Texts of at most eight cells are joined eight at a time. A tile of their cells is turned, so that each text is in one
// register, or in half of one, and is written by one instruction. The next text begins at its end, over the blanks.

#include "Columns/batches/TextJoiner.h"

#ifdef DATASRC_AVX512

#include <algorithm>
#include <bit>

#include "Columns/batches/TileAvx512.h"
#include "Platform/text/Ascii.h"

namespace {

constexpr std::size_t kTile = 8;      // texts, or cells of one
constexpr std::size_t kHalfTile = 4;  // cells of a text

// What is written so far. It is a variable of each function, so that it stays in registers: the bytes that are written
// might change one that others can see.
struct Joining {
  char* out;
  std::int32_t start;
  std::int32_t* ends;
  std::size_t size = 0;
};

// Takes in the end of a text, which is written at the end of those before it. Bit k of the mask is set where byte k of
// the text is no blank.
DATASRC_AVX512 inline void AddText(std::uint64_t ink, std::size_t row, Joining& joining) {
  joining.size += static_cast<std::size_t>(std::bit_width(ink));
  joining.ends[row] = joining.start + static_cast<std::int32_t>(joining.size);
}

// Returns a mask of the bytes that belong to a text.
inline __mmask64 BytesOfText(const TextBlock& block) {
  const std::size_t lastBytes = static_cast<std::size_t>(std::popcount(block.lastMask.bits)) / 8;
  const std::size_t bytes = (block.count - 1) * sizeof(OBS) + lastBytes;
  return bytes == 64 ? ~std::uint64_t{0} : (std::uint64_t{1} << bytes) - 1;
}

// Makes the bytes blank that belong to no text, and notes the greatest of the others.
class Cleaner {
 public:
  DATASRC_AVX512 explicit Cleaner(__mmask64 belongs)
      : m_belongs(belongs), m_blanks(EightTimes(kBlankCell)), m_most(_mm512_setzero_si512()) {}

  DATASRC_AVX512 __m512i Clean(__m512i texts) {
    const __m512i cleaned = _mm512_mask_mov_epi8(m_blanks, m_belongs, texts);
    m_most = _mm512_max_epu8(m_most, _mm512_sub_epi8(cleaned, m_blanks));
    return cleaned;
  }
  // Returns a mask of the bytes that are no blanks.
  DATASRC_AVX512 std::uint64_t Ink(__m512i cleaned) const { return _mm512_cmpneq_epi8_mask(cleaned, m_blanks); }
  DATASRC_AVX512 bool ArePrintable() const {
    constexpr char kLastPrintable = '~' - ' ';
    return _mm512_cmpgt_epu8_mask(m_most, _mm512_set1_epi8(kLastPrintable)) == 0;
  }

 private:
  __mmask64 m_belongs;
  __m512i m_blanks;
  __m512i m_most;  // of the bytes, counted from the blank
};

// ---- Texts of five to eight cells, each in one register ----

struct TextTile {
  __m512i lines[kTile];
};

// Loads cells of eight texts, a register for each cell; anything where a text has no such cell.
DATASRC_AVX512 inline void LoadCells(const TextBlock& block, std::size_t row, TextTile& tile) {
#pragma GCC unroll 8
  for (std::size_t cell = 0; cell < kTile; ++cell)
    tile.lines[cell] = LoadEightCells(block.cells + std::min(cell, block.count - 1) * block.step + row);
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

DATASRC_AVX512 JoinedTexts JoinEightCells(const TextBlock& given, std::size_t rows, char* out, std::int32_t start,
                                          std::int32_t* ends) {
  const TextBlock block = given;
  Joining joining{out, start, ends};
  Cleaner cleaner(BytesOfText(block));
  for (std::size_t row = 0; row < rows; row += kTile) {
    TextTile tile;
    LoadCells(block, row, tile);
    Turn(tile);
#pragma GCC unroll 8
    for (std::size_t k = 0; k < kTile; ++k) {
      const __m512i text = cleaner.Clean(tile.lines[k]);
      _mm512_storeu_si512(joining.out + joining.size, text);
      AddText(cleaner.Ink(text), row + k, joining);
    }
  }
  return {joining.size, cleaner.ArePrintable()};
}

// ---- Texts of two to four cells, two in a register ----

struct TextPairs {
  __m512i texts[kHalfTile];  // texts 0 and 2, 1 and 3, 4 and 6, 5 and 7
};

DATASRC_AVX512 inline TextPairs LoadPairs(const TextBlock& block, std::size_t row) {
  __m512i l[kHalfTile];
#pragma GCC unroll 4
  for (std::size_t cell = 0; cell < kHalfTile; ++cell)
    l[cell] = LoadEightCells(block.cells + std::min(cell, block.count - 1) * block.step + row);
  const __m512i firstOfEven = _mm512_maskz_unpacklo_epi64(kAllCells, l[0], l[1]);
  const __m512i firstOfOdd = _mm512_maskz_unpackhi_epi64(kAllCells, l[0], l[1]);
  const __m512i lastOfEven = _mm512_maskz_unpacklo_epi64(kAllCells, l[2], l[3]);
  const __m512i lastOfOdd = _mm512_maskz_unpackhi_epi64(kAllCells, l[2], l[3]);
  const __m512i first = _mm512_setr_epi64(0, 1, 8, 9, 2, 3, 10, 11);
  const __m512i last = _mm512_setr_epi64(4, 5, 12, 13, 6, 7, 14, 15);
  return {{_mm512_permutex2var_epi64(firstOfEven, first, lastOfEven),
           _mm512_permutex2var_epi64(firstOfOdd, first, lastOfOdd),
           _mm512_permutex2var_epi64(firstOfEven, last, lastOfEven),
           _mm512_permutex2var_epi64(firstOfOdd, last, lastOfOdd)}};
}

// Writes texts 0 to 3 of such pairs.
DATASRC_AVX512 [[gnu::always_inline]] inline void AddFourTexts(__m512i even, __m512i odd, std::size_t row,
                                                               Cleaner& cleaner, Joining& joining) {
  even = cleaner.Clean(even);
  odd = cleaner.Clean(odd);
  const std::uint64_t evenInk = cleaner.Ink(even);
  const std::uint64_t oddInk = cleaner.Ink(odd);
  StoreFourCells(joining.out + joining.size, _mm512_maskz_extracti64x4_epi64(kAllCells, even, 0));
  AddText(evenInk & 0xFFFF'FFFF, row, joining);
  StoreFourCells(joining.out + joining.size, _mm512_maskz_extracti64x4_epi64(kAllCells, odd, 0));
  AddText(oddInk & 0xFFFF'FFFF, row + 1, joining);
  StoreFourCells(joining.out + joining.size, _mm512_maskz_extracti64x4_epi64(kAllCells, even, 1));
  AddText(evenInk >> 32, row + 2, joining);
  StoreFourCells(joining.out + joining.size, _mm512_maskz_extracti64x4_epi64(kAllCells, odd, 1));
  AddText(oddInk >> 32, row + 3, joining);
}

DATASRC_AVX512 JoinedTexts JoinFourCells(const TextBlock& given, std::size_t rows, char* out, std::int32_t start,
                                         std::int32_t* ends) {
  const TextBlock block = given;
  Joining joining{out, start, ends};
  const __mmask64 belongs = BytesOfText(block);
  Cleaner cleaner(belongs | belongs << 32);
  for (std::size_t row = 0; row < rows; row += kTile) {
    const auto& [even, odd, laterEven, laterOdd] = LoadPairs(block, row).texts;
    AddFourTexts(even, odd, row, cleaner, joining);
    AddFourTexts(laterEven, laterOdd, row + 4, cleaner, joining);
  }
  return {joining.size, cleaner.ArePrintable()};
}

// ---- Texts of one cell, eight in a register ----

DATASRC_AVX512 JoinedTexts JoinOneCell(const TextBlock& given, std::size_t rows, char* out, std::int32_t start,
                                       std::int32_t* ends) {
  const TextBlock block = given;
  const std::uint64_t padding = kBlankCell.bits & ~block.lastMask.bits;
  Joining joining{out, start, ends};
  Cleaner cleaner(BytesOfText(block) * 0x0101'0101'0101'0101);
  for (std::size_t row = 0; row < rows; row += kTile) {
    std::uint64_t ink = cleaner.Ink(cleaner.Clean(LoadEightCells(block.cells + row)));
#pragma GCC unroll 8
    for (std::size_t k = 0; k < kTile; ++k, ink >>= 8) {
      const std::uint64_t text = (block.cells[row + k].bits & block.lastMask.bits) | padding;
      quavmb::StoreWord(joining.out + joining.size, text);
      AddText(ink & 0xFF, row + k, joining);
    }
  }
  return {joining.size, cleaner.ArePrintable()};
}

}  // namespace

DATASRC_AVX512 JoinedTexts JoinTextsAvx512(const TextBlock& given, std::size_t rows, char* out, std::int32_t start,
                                           std::int32_t* ends) {
  if (given.count > kTile) return JoinTextsPlainly(given, rows, out, start, ends);
  TextJoiner* const join = given.count == 1 ? JoinOneCell : given.count <= kHalfTile ? JoinFourCells : JoinEightCells;
  const std::size_t inTiles = rows - rows % kTile;
  const JoinedTexts joined = join(given, inTiles, out, start, ends);
  TextBlock last = given;
  last.cells += inTiles;
  const JoinedTexts rest = JoinTextsPlainly(last, rows - inTiles, out + joined.size,
                                            start + static_cast<std::int32_t>(joined.size), ends + inTiles);
  return {joined.size + rest.size, joined.arePrintable && rest.arePrintable};
}

#endif
