// The inner loop of case reading: from groups of case codes to cells.
//
// A group is 8 code bytes, then 8 bytes for each code 253. A plain group holds none of the codes 0 and 252, so each of
// its codes is a cell; nearly all groups are plain. DecodeGroups handles runs of whole plain groups and stops at
// anything else, which the caller decodes code by code.
//
// The 8 codes of a group are looked at as one word of 64 bits, the first code in its low byte.
//
// Threads: none of its own; functions without state.

#ifndef DATASRC_SRC_GROUPDECODER_H
#define DATASRC_SRC_GROUPDECODER_H

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "ByteOrder.h"
#include "CaseCodes.h"
#include "datasrc/Obs.h"
#include "systemfileformat.h"

static_assert(std::endian::native == std::endian::little, "the first code of a group is the low byte of its word");

// The most bytes that a group takes.
inline constexpr std::size_t kMaxGroupSize = 8 + std::size_t{kCodesPerGroup} * sizeof(OBS);

// ---- Words of codes ----

constexpr std::uint64_t EveryByte(std::uint8_t value) { return std::uint64_t{0x0101010101010101} * value; }

inline constexpr std::uint64_t kHighBits = EveryByte(0x80);

// The high bit of each byte that has the value, and no other bit (exact: nothing runs over from byte to byte).
constexpr std::uint64_t BytesEqualTo(std::uint64_t word, std::uint8_t value) {
  constexpr std::uint64_t low7 = EveryByte(0x7F);
  word ^= EveryByte(value);
  return ~(((word & low7) + low7) | word | low7);
}

// How many high bits are set in a word of no others.
constexpr int CountHighBits(std::uint64_t bits) { return static_cast<int>((bits >> 7) * EveryByte(1) >> 56); }

// ---- Groups ----

// The high bits of the codes that are literals, and of those that end the group. The two differ in their last bit
// alone.
struct MarkedCodes {
  std::uint64_t literals;
  std::uint64_t ends;
};
static_assert(kCodeLiteral == (kCodeEndOfGroup | 1));

constexpr MarkedCodes MarkCodes(std::uint64_t codes) {
  const std::uint64_t either = BytesEqualTo(codes | EveryByte(1), kCodeLiteral);
  const std::uint64_t lastBits = codes << 7;
  return {either & lastBits, either & ~lastBits};
}

// Whether any byte of the word is 0.
constexpr bool HasZeroByte(std::uint64_t word) { return ((word - EveryByte(1)) & ~word & kHighBits) != 0; }

// Whether none of the 8 codes is 0 or 252.
constexpr bool IsPlainGroup(std::uint64_t codes) { return MarkCodes(codes).ends == 0 && !HasZeroByte(codes); }

// The literals that follow the 8 codes: one for each 253 in front of the first 252.
constexpr int CountLiterals(std::uint64_t codes) {
  auto [literals, ends] = MarkCodes(codes);
  if (ends != 0) literals &= (ends & -ends) - 1;
  return CountHighBits(literals);
}

// Decodes `count` codes of a plain group from `code` on; `literal` is the first literal not used yet. Answers the next.
inline const std::byte* DecodeCodes(const std::byte* code, int count, const std::byte* literal, OBS* out) {
  for (int i = 0; i < count; ++i) {
    if (code[i] == std::byte{kCodeLiteral}) {
      out[i] = Load<OBS>(literal);
      literal += sizeof(OBS);
    } else {
      out[i] = kCellOfCode[static_cast<std::uint8_t>(code[i])];
    }
  }
  return literal;
}

// Decodes whole plain groups from `in` into `out`, 8 cells each, at most `count` of them, while kMaxGroupSize bytes are
// left in front of `inEnd`. Writes where each group begins into `starts`, and answers how many it was; behind the last
// of them is the byte that `in` then points to.
int DecodeGroups(const std::byte*& in, const std::byte* inEnd, int count, OBS* out, const std::byte** starts);

// The same, plainly: the truth that DecodeGroups is held against.
int DecodeGroupsPlainly(const std::byte*& in, const std::byte* inEnd, int count, OBS* out, const std::byte** starts);

#endif
