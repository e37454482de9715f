// The inner loop of case writing: from cells to groups of case codes.
//
// Threads: functions without state.

#ifndef DATASRC_SRC_CASECODES_GROUPENCODER_H
#define DATASRC_SRC_CASECODES_GROUPENCODER_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

#include "core/Avx512.h"
#include "core/systemfileformat.h"
#include "datasrc/Obs.h"

// The cells of a group that is not full yet: the last of one case, which the next case follows.
struct OpenGroup {
  std::array<OBS, kCodesPerGroup> cells;
  int count = 0;
};

// Adds `count` cells to the open group and the groups after it. Encodes those that are full into `out`, which has room
// for kMaxGroupSize bytes a group, and keeps the rest in `open`. Returns the end of the last group.
using GroupEncoder = std::byte*(const OBS* cells, int count, OpenGroup& open, std::byte* out);

// Returns the version that this process uses (core/Kernels.h).
GroupEncoder* ChosenGroupEncoder();

// Returns all versions that this processor can run, the fastest last. The others must match the first, plain one.
std::vector<GroupEncoder*> GroupEncoders();

GroupEncoder EncodeCellsPlainly;
GroupEncoder EncodeCellsPortably;
#ifdef DATASRC_AVX2
GroupEncoder EncodeCellsAvx2;
#else
constexpr GroupEncoder* EncodeCellsAvx2 = nullptr;
#endif
#ifdef DATASRC_AVX512
GroupEncoder EncodeCellsAvx512;
#else
constexpr GroupEncoder* EncodeCellsAvx512 = nullptr;
#endif

// Does it with `encode(cells, groups, out)`, which encodes so many groups that are full and returns the end of the last.
template <class EncodeGroups>
std::byte* EncodeCellsWith(EncodeGroups encode, const OBS* cells, int count, OpenGroup& open, std::byte* out) {
  if (open.count != 0) {
    const int taken = std::min(kCodesPerGroup - open.count, count);
    std::copy_n(cells, taken, open.cells.data() + open.count);
    open.count += taken;
    if (open.count < kCodesPerGroup) return out;
    out = encode(open.cells.data(), 1, out);
    cells += taken;
    count -= taken;
  }
  out = encode(cells, count / kCodesPerGroup, out);
  open.count = count % kCodesPerGroup;
  std::copy_n(cells + (count - open.count), open.count, open.cells.data());
  return out;
}

#endif
