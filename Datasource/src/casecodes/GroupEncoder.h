// The inner loop of case writing: from cells to groups of case codes.
//
// Threads: functions without state.

#ifndef DATASRC_SRC_CASECODES_GROUPENCODER_H
#define DATASRC_SRC_CASECODES_GROUPENCODER_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "casecodes/CaseCodes.h"
#include "core/Avx512.h"
#include "core/ByteOrder.h"
#include "core/systemfileformat.h"
#include "datasrc/Obs.h"

// Encodes `count` groups of 8 cells each into `out`, which has room for kMaxGroupSize bytes a group. Returns the end
// of the last group.
using GroupEncoder = std::byte*(const OBS* cells, int count, std::byte* out);

// Calls the version that this process uses (core/Kernels.h).
GroupEncoder EncodeGroups;

// Returns all versions that this processor can run, the fastest last. The others must match the first, plain one.
std::vector<GroupEncoder*> GroupEncoders();

GroupEncoder EncodeGroupsPlainly;
GroupEncoder EncodeGroupsPortably;
#ifdef DATASRC_AVX2
GroupEncoder EncodeGroupsAvx2;
#else
constexpr GroupEncoder* EncodeGroupsAvx2 = nullptr;
#endif
#ifdef DATASRC_AVX512
GroupEncoder EncodeGroupsAvx512;
#else
constexpr GroupEncoder* EncodeGroupsAvx512 = nullptr;
#endif

#endif
