// Whether this build can lock memory.

#ifndef PLATFORM_STREAM_TESTS_LOCKEDMEMORY_H
#define PLATFORM_STREAM_TESTS_LOCKEDMEMORY_H

// Sanitizers turn the locking of memory into nothing.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool kMemoryIsLocked = false;
#else
inline constexpr bool kMemoryIsLocked = true;
#endif

#endif
