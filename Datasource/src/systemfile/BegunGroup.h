// The part of a group of case codes that is in the file already. A reader hands it to the writer that continues in
// that group.
//
// Threads: a value.

#ifndef DATASRC_SRC_SYSTEMFILE_BEGUNGROUP_H
#define DATASRC_SRC_SYSTEMFILE_BEGUNGROUP_H

#include <array>
#include <cstddef>

#include "casecodes/GroupDecoder.h"
#include "core/systemfileformat.h"

struct BegunGroup {
  int codes = 0;                      // how many of its codes are in use; 0: no group is begun
  std::size_t size = kCodesPerGroup;  // bytes: all 8 codes, then the literals of those in use
  std::array<std::byte, kMaxGroupSize> bytes{};
};

#endif
