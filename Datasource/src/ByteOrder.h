// Numbers in bytes of files: load, store, turn over. Nothing else in the library reads a number out of bytes.

#ifndef DATASRC_SRC_BYTEORDER_H
#define DATASRC_SRC_BYTEORDER_H

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstring>

#include "datasrc/Obs.h"

enum class ByteOrder { native, reversed };

// The number with its bytes in the opposite order.
template <class T>
T Turned(T number) {
  auto raw = std::bit_cast<std::array<std::byte, sizeof(T)>>(number);
  std::ranges::reverse(raw);
  return std::bit_cast<T>(raw);
}

inline OBS Turned(OBS cell) { return OBS{__builtin_bswap64(cell.bits)}; }

template <class T>
T Load(const std::byte* p, ByteOrder order = ByteOrder::native) {
  T number;
  std::memcpy(&number, p, sizeof(T));
  return order == ByteOrder::reversed ? Turned(number) : number;
}

template <class T>
void Store(std::byte* p, T number, ByteOrder order = ByteOrder::native) {
  if (order == ByteOrder::reversed) number = Turned(number);
  std::memcpy(p, &number, sizeof(T));
}

// The bytes of a text as text.
inline const char* AsText(const std::byte* p) { return reinterpret_cast<const char*>(p); }
inline const std::byte* AsBytes(const char* p) { return reinterpret_cast<const std::byte*>(p); }
inline std::byte* AsBytes(OBS* cells) { return reinterpret_cast<std::byte*>(cells); }

#endif
