// Loads numbers from the bytes of files, stores them, and byte-swaps them. No other code reads a number from bytes.

#ifndef PLATFORM_BYTEORDER_H
#define PLATFORM_BYTEORDER_H

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstring>

enum class ByteOrder { native, reversed };

// Returns the number with its bytes in the opposite order.
template <class T>
T Turned(T number) {
  auto raw = std::bit_cast<std::array<std::byte, sizeof(T)>>(number);
  std::ranges::reverse(raw);
  return std::bit_cast<T>(raw);
}

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

#endif
