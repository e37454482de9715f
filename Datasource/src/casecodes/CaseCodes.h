// The case codes: one byte for each cell. Format: docs/system-file.md, "Case codes".
//
// A code stands for a small whole number, for eight blanks or for the system-missing value, or says that the cell
// itself follows. Codes do not separate strings from numbers: a string that looks like a small number is coded as one.
//
// Deliberate: the bias is 100 whatever the header of a file says.

#ifndef DATASRC_SRC_CASECODES_CASECODES_H
#define DATASRC_SRC_CASECODES_CASECODES_H

#include <array>
#include <cstddef>
#include <cstdint>

#include "core/systemfileformat.h"
#include "datasrc/Obs.h"

// The cell of each code that stands for one. The other entries exist so that a look-up needs no test.
inline constexpr std::array<OBS, 256> kCellOfCode = [] {
  std::array<OBS, 256> cells{};
  for (int code = 0; code < 256; ++code) cells[static_cast<std::size_t>(code)] = NumberCell(code - kCodeBias);
  cells[kCodeBlanks] = kBlankCell;
  cells[kCodeSystemMissing] = kSystemMissingCell;
  return cells;
}();

// Returns the code of a cell; kCodeLiteral when no code stands for it.
inline constexpr std::uint8_t CodeOfCell(OBS cell) {
  if (cell == kSystemMissingCell) return kCodeSystemMissing;
  if (cell == kBlankCell) return kCodeBlanks;
  // A whole number of up to 8 bits has zeros in the low half, and an exponent from 0 to 7. This test also excludes
  // -0.0, whose high half is not 0.
  const auto high = static_cast<std::uint32_t>(cell.bits >> 32);
  if (static_cast<std::uint32_t>(cell.bits) != 0) return kCodeLiteral;
  if (high != 0 && (high & 0x7FF00000) - 0x3FF00000 > 0x700000) return kCodeLiteral;
  const double number = CellNumber(cell);
  const int whole = static_cast<int>(number);
  if (whole + kCodeBias - 1 < 0 || whole + kCodeBias - 1 > 250) return kCodeLiteral;
  if (whole != number) return kCodeLiteral;
  return static_cast<std::uint8_t>(whole + kCodeBias);
}

// Returns the index of a cell's code in kCodeOfPlace: no two cells that have a code share an index. The index
// consists of the sign, the top bit of the exponent (set for 2 and above, clear for 0 and 1), the low three bits of
// the exponent and the first seven bits of the mantissa. A whole number of up to 8 bits has no other bits.
inline constexpr std::size_t PlaceOfCell(OBS cell) { return (cell.bits >> 62) << 10 | (cell.bits >> 45 & 0x3FF); }

inline constexpr std::array<std::uint8_t, 4096> kCodeOfPlace = [] {
  std::array<std::uint8_t, 4096> codes{};
  codes.fill(kCodeLiteral);
  for (std::size_t code = 1; code < kCellOfCode.size(); ++code) {
    if (code == kCodeEndOfGroup || code == kCodeLiteral) continue;
    std::uint8_t& place = codes[PlaceOfCell(kCellOfCode[code])];
    if (place != kCodeLiteral) throw "two cells share a place";  // stops the compiler
    place = static_cast<std::uint8_t>(code);
  }
  return codes;
}();

// Does the same as CodeOfCell, without a branch: takes the code from the table if the cell of that code is this cell.
inline std::uint8_t CodeOfCellBranchFree(OBS cell) {
  const unsigned code = kCodeOfPlace[PlaceOfCell(cell)];
  // All bits are set when it is, else none.
  const unsigned mask = 0 - unsigned{kCellOfCode[code] == cell};
  return static_cast<std::uint8_t>(kCodeLiteral ^ ((kCodeLiteral ^ code) & mask));
}

#endif
