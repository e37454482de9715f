// An identity that is unique in the process: 4 bits for its originator, 28 bits for a running number.
//
// Threads: a value; one thread at a time for each object.

#ifndef DATASRC_LOCALLYUNIQUEID_H
#define DATASRC_LOCALLYUNIQUEID_H

#include "Platform/Export.h"

struct LocallyUniqueID {
  unsigned int originator : 4 = 0xF;
  unsigned int number : 28 = 0xFFFFFFF;

  // Makes the invalid identity: all bits are set.
  constexpr LocallyUniqueID() = default;
  constexpr LocallyUniqueID(unsigned int theOriginator, unsigned int theNumber)
      : originator(theOriginator & 0xF), number(theNumber & 0xFFFFFFF) {}

  bool IsValid() const { return *this != LocallyUniqueID(); }

  friend bool operator==(const LocallyUniqueID& a, const LocallyUniqueID& b) {
    return a.originator == b.originator && a.number == b.number;
  }
  // Compares by the originator, then by the number.
  friend bool operator<(const LocallyUniqueID& a, const LocallyUniqueID& b) {
    return a.originator != b.originator ? a.originator < b.originator : a.number < b.number;
  }
};
static_assert(sizeof(LocallyUniqueID) == 4);

#endif
