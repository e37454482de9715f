// The inner loop of case writing: from cells to groups of case codes.
//
// Threads: none of its own; functions without state.

#ifndef DATASRC_SRC_GROUPENCODER_H
#define DATASRC_SRC_GROUPENCODER_H

#include <cstddef>
#include <cstdint>

#include "ByteOrder.h"
#include "CaseCodes.h"
#include "datasrc/Obs.h"
#include "systemfileformat.h"

// Encodes `count` groups of 8 cells each into `out`, which has room for kMaxGroupSize bytes a group. Answers what is
// behind the last.
std::byte* EncodeGroups(const OBS* cells, int count, std::byte* out);

// The same, plainly: the truth that EncodeGroups is held against.
std::byte* EncodeGroupsPlainly(const OBS* cells, int count, std::byte* out);

#endif
