// The case codes: one byte for each cell. Format: docs/system-file.md, "Case codes".
//
// A code stands for a small whole number, for eight blanks, for the system-missing value, or says that the cell follows
// as it is. Nothing tells a string from a number: a string that looks like a small number is coded as one.
//
// Deliberate: the bias is 100 whatever the header of a file says.

#ifndef DATASRC_SRC_CASECODES_H
#define DATASRC_SRC_CASECODES_H

#include <array>
#include <cstdint>

#include "datasrc/Obs.h"
#include "systemfileformat.h"

// The cell of each code that stands for one. The others are there so that a look-up needs no test.
inline constexpr std::array<OBS, 256> kCellOfCode = [] {
  std::array<OBS, 256> cells{};
  for (int code = 0; code < 256; ++code) cells[static_cast<std::size_t>(code)] = NumberCell(code - kCodeBias);
  cells[kCodeBlanks] = kBlankCell;
  cells[kCodeSystemMissing] = kSystemMissingCell;
  return cells;
}();

// The code of a cell; kCodeLiteral when none stands for it.
inline constexpr std::uint8_t CodeOfCell(OBS cell) {
  if (cell == kSystemMissingCell) return kCodeSystemMissing;
  if (cell == kBlankCell) return kCodeBlanks;
  // Whole numbers of up to 8 bits: nothing in the low half, and an exponent from 0 to 7. This also sorts out -0.0,
  // whose high half is not 0.
  const auto high = static_cast<std::uint32_t>(cell.bits >> 32);
  if (static_cast<std::uint32_t>(cell.bits) != 0) return kCodeLiteral;
  if (high != 0 && (high & 0x7FF00000) - 0x3FF00000 > 0x700000) return kCodeLiteral;
  const double number = CellNumber(cell);
  const int whole = static_cast<int>(number);
  if (whole + kCodeBias - 1 < 0 || whole + kCodeBias - 1 > 250) return kCodeLiteral;
  if (whole != number) return kCodeLiteral;
  return static_cast<std::uint8_t>(whole + kCodeBias);
}

// As CodeOfCell, without a branch for numbers.
//
// To add 1.5 * 2^52 to a number below 2^51 makes the bits of the sum count up by one for each whole number, and to
// subtract that again gives the number back when it was whole. By bits, so that -0.0 does not come back; what is
// larger, and what is no number, leaves the range.
inline std::uint8_t CodeOfCellBranchFree(OBS cell) {
  constexpr double kWholeInLowBits = 6755399441055744.0;
  constexpr unsigned kFirstCode = 1;
  constexpr std::uint64_t kCodes = kCodeEndOfGroup - kFirstCode;
  constexpr std::uint64_t kLeast = NumberCell(kWholeInLowBits + kFirstCode - kCodeBias).bits;
  const double sum = CellNumber(cell) + kWholeInLowBits;
  const std::uint64_t place = NumberCell(sum).bits - kLeast;
  const unsigned isWhole{NumberCell(sum - kWholeInLowBits) == cell};
  const unsigned isInRange{place < kCodes};
  // All ones for a cell that a code stands for, else none.
  const unsigned mask = 0 - (isWhole & isInRange);
  const unsigned other = kCodeLiteral + unsigned{cell == kBlankCell} + 2 * unsigned{cell == kSystemMissingCell};
  return static_cast<std::uint8_t>(other ^ ((other ^ (static_cast<unsigned>(place) + kFirstCode)) & mask));
}
static_assert(kCodeBlanks == kCodeLiteral + 1 && kCodeSystemMissing == kCodeLiteral + 2);

#endif
