#include "casecodes/GroupDecoder.h"

#include <cstring>

#include "core/Kernels.h"

namespace {

// Decodes a plain group whose codes are not all literals: all eight cells from the table, without a branch; then the
// literals, usually few, over their cells. Returns the end of the group.
//
// Deliberate: the loop is a branch. When it is predicted, the next group begins before this one's literals are counted.
inline const std::byte* DecodeMixedGroup(std::uint64_t literals, const std::byte* group, OBS* out) {
  const std::byte* literal = group + kCodesPerGroup;
#pragma GCC unroll 8
  for (int i = 0; i < kCodesPerGroup; ++i) out[i] = kCellOfCode[static_cast<std::uint8_t>(group[i])];
  for (; literals != 0; literals &= literals - 1, literal += sizeof(OBS))
    out[std::countr_zero(literals) / 8] = Load<OBS>(literal);
  return literal;
}

inline const std::byte* DecodeLiteralGroup(const std::byte* group, OBS* out) {
  std::memcpy(out, group + kCodesPerGroup, kCodesPerGroup * sizeof(OBS));
  return group + kMaxGroupSize;
}

constexpr KernelTable<GroupDecoder> kDecoders = {DecodeGroupsPlainly, DecodeGroupsPortably, DecodeGroupsAvx2,
                                                 DecodeGroupsAvx512};

}  // namespace

std::vector<GroupDecoder*> GroupDecoders() { return Runnable(kDecoders); }

int DecodeGroups(const std::byte*& in, const std::byte* inEnd, int count, OBS* out, const std::byte** starts) {
  static GroupDecoder* const chosen = Chosen(kDecoders);
  return chosen(in, inEnd, count, out, starts);
}

int DecodeGroupsPortably(const std::byte*& in, const std::byte* inEnd, int count, OBS* out, const std::byte** starts) {
  const std::byte* group = in;
  int done = 0;
  for (; done < count && inEnd - group >= kMaxGroup; ++done) {
    const auto codes = Load<std::uint64_t>(group);
    const auto [literals, ends] = MarkCodes(codes);
    if (ends != 0 || HasZeroByte(codes)) break;
    starts[done] = group;
    group = literals == kHighBits ? DecodeLiteralGroup(group, out) : DecodeMixedGroup(literals, group, out);
    out += kCodesPerGroup;
  }
  in = group;
  return done;
}

int DecodeGroupsPlainly(const std::byte*& in, const std::byte* inEnd, int count, OBS* out, const std::byte** starts) {
  int done = 0;
  for (; done < count && inEnd - in >= kMaxGroup && IsPlainGroup(Load<std::uint64_t>(in)); ++done) {
    starts[done] = in;
    in = DecodeCodes(in, kCodesPerGroup, in + kCodesPerGroup, out);
    out += kCodesPerGroup;
  }
  return done;
}
