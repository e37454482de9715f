// Finds where groups of case codes start, without their cells.
//
// The length of a group is in its codes, so that they must be loaded before the next group can be found. The AVX-512
// version avoids this chain: it takes the lengths of all words of a stretch as if a group started at each.
//
// Threads: functions without state.

#ifndef DATASRC_SRC_CASECODES_GROUPFINDER_H
#define DATASRC_SRC_CASECODES_GROUPFINDER_H

#include <cstddef>
#include <vector>

#include "casecodes/GroupDecoder.h"
#include "core/Avx512.h"

// Finds whole plain groups at `in`, at most `count`, while kMaxGroupSize bytes are left before `inEnd`. Writes the start
// of each into `starts`, and nothing after them. Returns the number of groups, and advances `in` past them.
using GroupFinder = int(const std::byte*& in, const std::byte* inEnd, int count, const std::byte** starts);

// Calls the version that this process uses (core/Kernels.h).
GroupFinder FindGroups;

// Returns all versions that this processor can run, the fastest last. The others must match the first, plain one.
std::vector<GroupFinder*> GroupFinders();

GroupFinder FindGroupsPlainly;
GroupFinder FindGroupsPortably;
#ifdef DATASRC_AVX512
GroupFinder FindGroupsAvx512;
#else
constexpr GroupFinder* FindGroupsAvx512 = nullptr;
#endif

#endif
