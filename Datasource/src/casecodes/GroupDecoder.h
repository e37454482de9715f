// The inner loop of case reading: from groups of case codes to cells.
//
// A group is 8 code bytes, then 8 bytes for each code 253. A plain group holds none of the codes 0 and 252, so each of
// its codes is a cell; nearly all groups are plain. DecodeGroups handles runs of whole plain groups and stops at
// anything else, which the caller decodes code by code.
//
// The 8 codes of a group are looked at as one word of 64 bits, the first code in its low byte.
//
// Threads: none of its own; functions without state.

#ifndef DATASRC_SRC_CASECODES_GROUPDECODER_H
#define DATASRC_SRC_CASECODES_GROUPDECODER_H

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>

#include "casecodes/CaseCodes.h"
#include "core/Avx2.h"
#include "core/ByteOrder.h"
#include "core/systemfileformat.h"
#include "datasrc/Obs.h"

static_assert(std::endian::native == std::endian::little, "the first code of a group is the low byte of its word");

// The most bytes that a group takes.
inline constexpr std::size_t kMaxGroupSize = 8 + std::size_t{kCodesPerGroup} * sizeof(OBS);

// ---- Words of codes ----

constexpr std::uint64_t EveryByte(std::uint8_t value) { return std::uint64_t{0x0101010101010101} * value; }

inline constexpr std::uint64_t kHighBits = EveryByte(0x80);

// How many high bits are set in a word of no others.
constexpr int CountHighBits(std::uint64_t bits) { return static_cast<int>((bits >> 7) * EveryByte(1) >> 56); }

// ---- Groups ----

// The high bits of the codes that are literals, and of those that end the group.
struct MarkedCodes {
  std::uint64_t literals;
  std::uint64_t ends;
};

// Of the codes from 252 on, whose first six bits are all set, the last two bits tell which it is. Exact: nothing runs
// over from code to code.
constexpr MarkedCodes MarkCodes(std::uint64_t codes) {
  const std::uint64_t bits6to2 = (codes & EveryByte(0x7C)) + EveryByte(0x04);  // all are set: the high bit is
  const std::uint64_t bit7 = codes & kHighBits;
  const std::uint64_t bit1 = codes << 6;
  const std::uint64_t bit0 = codes << 7;
  return {bits6to2 & (bit7 & ~bit1 & bit0), bits6to2 & (bit7 & ~bit1 & ~bit0)};
}
static_assert(kCodeEndOfGroup == 0b111111'00 && kCodeLiteral == 0b111111'01);

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
using GroupDecoder = int(const std::byte*& in, const std::byte* inEnd, int count, OBS* out, const std::byte** starts);

// The last of GroupDecoders().
GroupDecoder DecodeGroups;

// Passes by whole plain groups likewise, and answers how many.
int PassGroups(const std::byte*& in, const std::byte* inEnd, int count);

// All that this processor can run, the fastest last. The first, plain one is the truth that the others are held
// against.
std::span<GroupDecoder* const> GroupDecoders();

GroupDecoder DecodeGroupsPlainly;
GroupDecoder DecodeGroupsPortably;
#ifdef DATASRC_AVX2
GroupDecoder DecodeGroupsAvx2;
#else
constexpr GroupDecoder* DecodeGroupsAvx2 = nullptr;
#endif

#endif
