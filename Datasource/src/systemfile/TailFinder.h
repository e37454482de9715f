// Finds the cases at the end of the data, when what comes before them is damaged.
//
// After damaged bytes nothing says where a group of case codes begins, nor where a case begins. Both follow:
//
//   groups   Groups are whole words of 8 bytes, and a group has at most 9 of them. So the first one begins at one of the
//            first 9 words. From each of these a chain of groups is followed. A chain that does not end where the data do is
//            wrong, and chains that meet are one from there on. When a single chain is left, it is the right one.
//   cases    The data end with a case. So the cells of that chain, counted back from the end, say where each case begins.
//
// Threads: functions without state.

#ifndef DATASRC_SRC_SYSTEMFILE_TAILFINDER_H
#define DATASRC_SRC_SYSTEMFILE_TAILFINDER_H

#include <optional>

#include "Platform/stream/QUAV_FileStream.h"

struct CaseTail {
  long group = 0;  // the byte in the stream of the group that has the first whole case
  int code = 0;    // the index of its first code
  long long cases = 0;
};

// The stream is at the first byte after the damage. Returns nothing when the place of the cases is not certain.
std::optional<CaseTail> FindTail(QUAV_FileStream& stream, int cellsPerCase);

#endif
