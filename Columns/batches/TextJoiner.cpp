#include "Columns/batches/TextJoiner.h"

#include <algorithm>
#include <bit>

#include "Platform/text/Ascii.h"
#include "core/Kernels.h"

static_assert(std::endian::native == std::endian::little, "the first byte of a cell is its low one");

namespace {

constexpr KernelTable<TextJoiner> kJoiners = {JoinTextsPlainly, nullptr, nullptr, JoinTextsAvx512};

// Longer texts are mostly blank at their end.
constexpr std::size_t kShortText = 8;  // in cells

// Bytes of the last cell after the end of the field do not belong to it, whatever they are.
inline OBS CellOf(const TextBlock& block, std::size_t cell, std::size_t row) {
  const OBS whole = block.cells[cell * block.step + row];
  if (cell + 1 != block.count) return whole;
  return {(whole.bits & block.lastMask.bits) | (kBlankCell.bits & ~block.lastMask.bits)};
}

// Returns `before` and the number of bytes before the trailing blanks of the cell; 0 if all of them are blank.
inline std::size_t EndOfText(OBS cell, std::size_t before) {
  const std::uint64_t ink = cell.bits ^ kBlankCell.bits;
  const std::size_t end = before + (static_cast<std::size_t>(std::bit_width(ink | 1)) + 7) / 8;
  return end & (0 - std::size_t{ink != 0});
}

// Returns the number of cells before the trailing blank ones.
inline std::size_t CellsBeforeBlanks(const TextBlock& block, std::size_t row) {
  std::size_t count = block.count;
  while (count != 0 && CellOf(block, count - 1, row) == kBlankCell) --count;
  return count;
}

}  // namespace

std::vector<TextJoiner*> TextJoiners() { return Runnable(kJoiners); }

JoinedTexts JoinTexts(const TextBlock& block, std::size_t rows, char* out, std::int32_t start, std::int32_t* ends) {
  static TextJoiner* const chosen = Chosen(kJoiners);
  return chosen(block, rows, out, start, ends);
}

// Deliberate: no branch depends on the length of a short text, which can rarely be predicted.
JoinedTexts JoinTextsPlainly(const TextBlock& given, std::size_t rows, char* out, std::int32_t start,
                             std::int32_t* ends) {
  const TextBlock block = given;  // a copy, which the bytes written cannot change
  std::size_t size = 0;
  quavmb::Word notPrintable = 0;
  for (std::size_t row = 0; row < rows; ++row) {
    const std::size_t cells = block.count > kShortText ? CellsBeforeBlanks(block, row) : block.count;
    std::size_t length = 0;
    for (std::size_t cell = 0; cell < cells; ++cell) {
      const OBS bytes = CellOf(block, cell, row);
      quavmb::StoreWord(out + size + cell * sizeof(OBS), bytes.bits);
      notPrintable |= quavmb::NotPrintable(bytes.bits);
      length = std::max(length, EndOfText(bytes, cell * sizeof(OBS)));
    }
    size += length;
    ends[row] = start + static_cast<std::int32_t>(size);
  }
  return {size, notPrintable == 0};
}
