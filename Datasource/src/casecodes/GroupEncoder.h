// The inner loop of case writing: from cells to groups of case codes.
//
// Threads: none of its own; functions without state.

#ifndef DATASRC_SRC_CASECODES_GROUPENCODER_H
#define DATASRC_SRC_CASECODES_GROUPENCODER_H

#include <cstddef>
#include <cstdint>
#include <span>

#include "casecodes/CaseCodes.h"
#include "core/Avx2.h"
#include "core/ByteOrder.h"
#include "core/systemfileformat.h"
#include "datasrc/Obs.h"

// Encodes `count` groups of 8 cells each into `out`, which has room for kMaxGroupSize bytes a group. Answers what is
// behind the last.
using GroupEncoder = std::byte*(const OBS* cells, int count, std::byte* out);

// The last of GroupEncoders().
GroupEncoder EncodeGroups;

// All that this processor can run, the fastest last. The first, plain one is the truth that the others are held
// against.
std::span<GroupEncoder* const> GroupEncoders();

GroupEncoder EncodeGroupsPlainly;
GroupEncoder EncodeGroupsPortably;
#ifdef DATASRC_AVX2
GroupEncoder EncodeGroupsAvx2;
#else
constexpr GroupEncoder* EncodeGroupsAvx2 = nullptr;
#endif

#endif
