#include "GroupDecoder.h"

#include <algorithm>

namespace {

constexpr auto kMaxGroup = static_cast<std::ptrdiff_t>(kMaxGroupSize);

}  // namespace

DecodedGroups DecodeGroups(const std::byte* in, const std::byte* inEnd, OBS* out, const OBS* outEnd) {
  while (inEnd - in >= kMaxGroup && outEnd - out >= kCodesPerGroup) {
    const auto codes = Load<std::uint64_t>(in);
    if (!IsPlainGroup(codes)) break;
    const std::byte* literal = in + kCodesPerGroup;
    std::uint64_t literals = BytesEqualTo(codes, kCodeLiteral);
    if (literals == kHighBits) {
      std::copy_n(literal, kCodesPerGroup * sizeof(OBS), AsBytes(out));
      literal += kCodesPerGroup * sizeof(OBS);
    } else {
      // All eight from the table, without a branch; then the literals, few as a rule, over theirs.
#pragma GCC unroll 8
      for (int i = 0; i < kCodesPerGroup; ++i) out[i] = kCellOfCode[static_cast<std::uint8_t>(in[i])];
      for (; literals != 0; literals &= literals - 1, literal += sizeof(OBS))
        out[std::countr_zero(literals) / 8] = Load<OBS>(literal);
    }
    in = literal;
    out += kCodesPerGroup;
  }
  return {in, out};
}

DecodedGroups DecodeGroupsPlainly(const std::byte* in, const std::byte* inEnd, OBS* out, const OBS* outEnd) {
  while (inEnd - in >= kMaxGroup && outEnd - out >= kCodesPerGroup && IsPlainGroup(Load<std::uint64_t>(in))) {
    in = DecodeCodes(in, kCodesPerGroup, in + kCodesPerGroup, out);
    out += kCodesPerGroup;
  }
  return {in, out};
}
