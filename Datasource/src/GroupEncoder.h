// The inner loop of case writing: from cells to groups of case codes.
//
// Threads: none of its own; functions without state.

#ifndef DATASRC_SRC_GROUPENCODER_H
#define DATASRC_SRC_GROUPENCODER_H

#include <cstddef>
#include <cstdint>

#include "ByteOrder.h"
#include "CaseCodes.h"
#include "datasrc/Obs.h"
#include "systemfileformat.h"

// As CodeOfCell, without a branch.
//
// To add 1.5 * 2^52 to a number below 2^31 leaves its whole part in the low half of the sum, and to subtract that again
// gives the number back when it was whole. By bits, -0.0 does not come back.
inline std::uint8_t CodeOfCellBranchFree(OBS cell) {
  constexpr double kWholeInLowHalf = 6755399441055744.0;
  constexpr std::uint32_t kBias = kCodeBias;
  constexpr std::uint32_t kLeast = 1 - kBias;  // below 0, as are negative numbers
  constexpr std::uint32_t kValues = kCodeEndOfGroup - 1;
  constexpr std::uint64_t kExponentOf256 = 0x407;
  const double sum = CellNumber(cell) + kWholeInLowHalf;
  const auto whole = static_cast<std::uint32_t>(NumberCell(sum).bits);
  const unsigned isWhole{NumberCell(sum - kWholeInLowHalf) == cell};
  const unsigned isSmall{(cell.bits >> 52 & 0x7FF) < kExponentOf256};
  const unsigned isInRange{whole - kLeast < kValues};
  // All ones for a cell that a code stands for, else none.
  const std::uint32_t mask = 0 - (isWhole & isSmall & isInRange);
  const std::uint32_t literal = kCodeLiteral + unsigned{cell == kBlankCell} + 2 * unsigned{cell == kSystemMissingCell};
  return static_cast<std::uint8_t>(((whole + kBias) & mask) | (literal & ~mask));
}
static_assert(kCodeBlanks == kCodeLiteral + 1 && kCodeSystemMissing == kCodeLiteral + 2);

// Encodes `count` groups of 8 cells each into `out`, which has room for kMaxGroupSize bytes a group. Answers what is
// behind the last.
std::byte* EncodeGroups(const OBS* cells, int count, std::byte* out);

// The same, plainly: the truth that EncodeGroups is held against.
std::byte* EncodeGroupsPlainly(const OBS* cells, int count, std::byte* out);

#endif
