#include "casecodes/GroupFinder.h"

#include "core/Kernels.h"

namespace {

constexpr KernelTable<GroupFinder> kGroupFinders = {FindGroupsPlainly, FindGroupsPortably, nullptr, FindGroupsAvx512};

}  // namespace

std::vector<GroupFinder*> GroupFinders() { return Runnable(kGroupFinders); }

int FindGroups(const std::byte*& in, const std::byte* inEnd, int count, const std::byte** starts) {
  static GroupFinder* const chosen = Chosen(kGroupFinders);
  return chosen(in, inEnd, count, starts);
}

int FindGroupsPortably(const std::byte*& in, const std::byte* inEnd, int count, const std::byte** starts) {
  const std::byte* group = in;
  int done = 0;
  for (; done < count && inEnd - group >= kMaxGroup; ++done) {
    const auto codes = Load<std::uint64_t>(group);
    const auto [literals, ends] = MarkCodes(codes);
    if (ends != 0 || HasZeroByte(codes)) break;
    starts[done] = group;
    // Deliberate: a branch. When it is predicted, the next group begins before this one's literals are counted.
    if (literals == kHighBits)
      group += kMaxGroupSize;
    else
      group += kCodesPerGroup + static_cast<std::size_t>(CountHighBits(literals)) * sizeof(OBS);
  }
  in = group;
  return done;
}

int FindGroupsPlainly(const std::byte*& in, const std::byte* inEnd, int count, const std::byte** starts) {
  int done = 0;
  for (; done < count && inEnd - in >= kMaxGroup && IsPlainGroup(Load<std::uint64_t>(in)); ++done) {
    starts[done] = in;
    in += kCodesPerGroup + static_cast<std::size_t>(CountLiterals(Load<std::uint64_t>(in))) * sizeof(OBS);
  }
  return done;
}
