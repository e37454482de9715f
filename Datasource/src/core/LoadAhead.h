// Loads memory into the processor's caches before it is needed.
//
// Threads: a function without state.

#ifndef DATASRC_SRC_CORE_LOADAHEAD_H
#define DATASRC_SRC_CORE_LOADAHEAD_H

#include <cstddef>
#include <cstdint>

// Loads as many bytes as `begin` has, `distance` bytes after it. An address without memory is passed over.
inline void LoadAhead(const void* begin, std::size_t size, std::size_t distance) {
  constexpr std::uintptr_t kCacheLine = 64;
  const std::uintptr_t first = reinterpret_cast<std::uintptr_t>(begin) + distance;
  for (std::uintptr_t line = first; line < first + size; line += kCacheLine)
    __builtin_prefetch(reinterpret_cast<const void*>(line));
}

#endif
