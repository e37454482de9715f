// Says whether this build can lock memory.

#ifndef PLATFORM_STREAM_TESTS_LOCKEDMEMORY_H
#define PLATFORM_STREAM_TESTS_LOCKEDMEMORY_H

// Sanitizers disable the locking of memory.
#ifdef DATASRC_SANITIZED
inline constexpr bool kMemoryIsLocked = false;
#else
inline constexpr bool kMemoryIsLocked = true;
#endif

#endif
