// The inner loop of case reading: from groups of case codes to cells.
//
// A group is 8 code bytes, then 8 bytes for each code 253. A plain group holds neither code 0 nor code 252, so each
// of its codes is a cell; nearly all groups are plain. DecodeGroups handles runs of whole plain groups and stops at
// any other group, which the caller decodes code by code.
//
// The 8 codes of a group are read as one word of 64 bits, the first code in its low byte.
//
// Threads: functions without state.

#ifndef DATASRC_SRC_CASECODES_GROUPDECODER_H
#define DATASRC_SRC_CASECODES_GROUPDECODER_H

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "casecodes/CaseCodes.h"
#include "core/Avx512.h"
#include "core/ByteOrder.h"
#include "core/systemfileformat.h"
#include "datasrc/Obs.h"

static_assert(std::endian::native == std::endian::little, "the first code of a group is the low byte of its word");

// The size of the longest group, in bytes.
inline constexpr std::size_t kMaxGroupSize = 8 + std::size_t{kCodesPerGroup} * sizeof(OBS);
inline constexpr auto kMaxGroup = static_cast<std::ptrdiff_t>(kMaxGroupSize);  // to compare with what is left

// ---- Words of codes ----

constexpr std::uint64_t EveryByte(std::uint8_t value) { return std::uint64_t{0x0101010101010101} * value; }

inline constexpr std::uint64_t kHighBits = EveryByte(0x80);

// Returns how many high bits are set. The word must have no other bits set.
constexpr int CountHighBits(std::uint64_t bits) { return static_cast<int>((bits >> 7) * EveryByte(1) >> 56); }

// ---- Groups ----

// `literals` has the high bit of each code that is a literal, `ends` that of each code that ends the group.
struct MarkedCodes {
  std::uint64_t literals;
  std::uint64_t ends;
};

// Codes from 252 on have their upper six bits set; the last two bits say which code it is. The result is exact: no
// carry runs from one code into the next.
constexpr MarkedCodes MarkCodes(std::uint64_t codes) {
  const std::uint64_t bits6to2 = (codes & EveryByte(0x7C)) + EveryByte(0x04);  // all set: the high bit is set
  const std::uint64_t bit7 = codes & kHighBits;
  const std::uint64_t bit1 = codes << 6;
  const std::uint64_t bit0 = codes << 7;
  return {bits6to2 & (bit7 & ~bit1 & bit0), bits6to2 & (bit7 & ~bit1 & ~bit0)};
}
static_assert(kCodeEndOfGroup == 0b111111'00 && kCodeLiteral == 0b111111'01);

// Returns whether any byte of the word is 0.
constexpr bool HasZeroByte(std::uint64_t word) { return ((word - EveryByte(1)) & ~word & kHighBits) != 0; }

// Returns whether none of the 8 codes is 0 or 252.
constexpr bool IsPlainGroup(std::uint64_t codes) { return MarkCodes(codes).ends == 0 && !HasZeroByte(codes); }

// Returns the number of literals after the 8 codes: one for each 253 before the first 252.
constexpr int CountLiterals(std::uint64_t codes) {
  auto [literals, ends] = MarkCodes(codes);
  if (ends != 0) literals &= (ends & -ends) - 1;
  return CountHighBits(literals);
}

// Decodes `count` codes of a plain group, the first at `code`. `literal` is the first unused literal. Returns the
// first literal that is unused afterwards.
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

// Decodes whole plain groups at `in` into `out`, 8 cells each, at most `count` groups, while kMaxGroupSize bytes are
// left before `inEnd`. Writes the start of each group into `starts`. Returns the number of groups, and advances `in`
// past them.
using GroupDecoder = int(const std::byte*& in, const std::byte* inEnd, int count, OBS* out, const std::byte** starts);

// Calls the version that this process uses (core/Kernels.h).
GroupDecoder DecodeGroups;

// Returns all versions that this processor can run, the fastest last. The others must match the first, plain one.
std::vector<GroupDecoder*> GroupDecoders();

GroupDecoder DecodeGroupsPlainly;
GroupDecoder DecodeGroupsPortably;
#ifdef DATASRC_AVX2
GroupDecoder DecodeGroupsAvx2;
#else
constexpr GroupDecoder* DecodeGroupsAvx2 = nullptr;
#endif
#ifdef DATASRC_AVX512
GroupDecoder DecodeGroupsAvx512;
#else
constexpr GroupDecoder* DecodeGroupsAvx512 = nullptr;
#endif

#endif
