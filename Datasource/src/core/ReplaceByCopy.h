// How a setter takes a value that it is given.
//
// Rule: when memory runs out, the object is as it was before the operation. A setter first makes all copies that it
// needs. Then it takes them over by moves, which never throw.
//
// Threads: a function without state.

#ifndef DATASRC_SRC_CORE_REPLACEBYCOPY_H
#define DATASRC_SRC_CORE_REPLACEBYCOPY_H

#include <type_traits>
#include <utility>

// Whether a member can take over a copy without a failure.
template <class T>
inline constexpr bool kTakesOverSafely = std::is_nothrow_move_assignable_v<T>;

template <class T>
void ReplaceByCopy(T& member, const T& value) {
  static_assert(kTakesOverSafely<T>);
  T copy(value);
  member = std::move(copy);
}

#endif
