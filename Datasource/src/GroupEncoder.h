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

// Encodes `count` groups of 8 cells each into `out`, which has room for kMaxGroupSize bytes a group. Answers what is
// behind the last.
std::byte* EncodeGroups(const OBS* cells, int count, std::byte* out);

// The same, plainly: the truth that EncodeGroups is held against.
std::byte* EncodeGroupsPlainly(const OBS* cells, int count, std::byte* out);

#endif
