// The slot of a virtual function in the table of its class, counted from 0, for tests of the order that callers rely
// on. A destructor takes two slots.

#ifndef TESTS_SUPPORT_VIRTUALSLOT_H
#define TESTS_SUPPORT_VIRTUALSLOT_H

#include <cstddef>
#include <cstring>

// A pointer to a virtual member begins with 1 plus its offset in the table, in bytes (the platform's C++ binary
// interface).
template <class Member>
std::size_t VirtualSlot(Member member) {
  std::size_t word = 0;
  static_assert(sizeof(member) >= sizeof(word));
  std::memcpy(&word, &member, sizeof(word));
  return (word - 1) / sizeof(void*);
}

#endif
