// An identity that is unique in the process: 4 bits for who issued it, 28 bits of a running number.
//
// Threads: a value.

#ifndef DATASRC_LOCALLYUNIQUEID_H
#define DATASRC_LOCALLYUNIQUEID_H

struct LocallyUniqueID {
  unsigned int originator : 4 = 0xF;
  unsigned int number : 28 = 0xFFFFFFF;

  // The invalid identity, all bits set.
  constexpr LocallyUniqueID() = default;
  constexpr LocallyUniqueID(unsigned int theOriginator, unsigned int theNumber)
      : originator(theOriginator & 0xF), number(theNumber & 0xFFFFFFF) {}

  bool IsValid() const { return *this != LocallyUniqueID(); }

  friend bool operator==(const LocallyUniqueID& a, const LocallyUniqueID& b) {
    return a.originator == b.originator && a.number == b.number;
  }
  // By the issuer first, then by the number.
  friend bool operator<(const LocallyUniqueID& a, const LocallyUniqueID& b) {
    return a.originator != b.originator ? a.originator < b.originator : a.number < b.number;
  }
};
static_assert(sizeof(LocallyUniqueID) == 4);

#endif
