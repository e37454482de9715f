// Converts pointers to bytes into the type that libcrypto takes.

#ifndef PLATFORM_STREAM_OCTETS_H
#define PLATFORM_STREAM_OCTETS_H

#include <cstddef>

inline unsigned char* Octets(std::byte* bytes) { return static_cast<unsigned char*>(static_cast<void*>(bytes)); }
inline const unsigned char* Octets(const std::byte* bytes) {
  return static_cast<const unsigned char*>(static_cast<const void*>(bytes));
}

#endif
