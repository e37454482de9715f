// The codes of missing values that have a meaning. A variable stores any other code too; it then has no missing values.
//
// Threads: a function without state.

#ifndef DATASRC_SRC_DICTIONARY_MISSINGCODE_H
#define DATASRC_SRC_DICTIONARY_MISSINGCODE_H

#include "core/systemfileformat.h"

// Returns the code if its values fit into a variable, and into a file; else 0.
inline constexpr int MissingCodeInUse(int code) {
  return -kMaxMissingCount <= code && code <= kMaxMissingCount ? code : 0;
}

#endif
