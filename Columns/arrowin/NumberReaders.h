// Read single numbers of Arrow arrays: one class for each layout.
//
// Value(i) returns the number as a double, or nothing when a double cannot hold it. Text(i) returns it for messages.
// Elements are counted from the start of the buffer.
//
// Threads: any number at once.

#ifndef COLUMNS_ARROWIN_NUMBERREADERS_H
#define COLUMNS_ARROWIN_NUMBERREADERS_H

#include <bit>
#include <concepts>
#include <cstdint>
#include <optional>
#include <string>

namespace arrowin {

class Booleans {
 public:
  explicit Booleans(const void* buffer) : m_bytes(static_cast<const std::uint8_t*>(buffer)) {}
  std::optional<double> Value(std::int64_t i) const { return (m_bytes[i / 8] >> (i % 8) & 1) != 0 ? 1.0 : 0.0; }
  std::string Text(std::int64_t i) const { return *Value(i) == 0 ? "false" : "true"; }

 private:
  const std::uint8_t* m_bytes;
};

// A double holds an integer whose bits from the highest to the lowest one are at most 53.
template <std::integral T>
class Integers {
 public:
  explicit Integers(const void* buffer) : m_values(static_cast<const T*>(buffer)) {}
  std::optional<double> Value(std::int64_t i) const {
    const T value = m_values[i];
    if constexpr (sizeof(T) == sizeof(std::uint64_t)) {
      const std::uint64_t size = value < 0 ? 0 - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value);
      if (size != 0 && static_cast<int>(std::bit_width(size)) - std::countr_zero(size) > kBits) return std::nullopt;
    }
    return static_cast<double>(value);
  }
  std::string Text(std::int64_t i) const { return std::to_string(m_values[i]); }

 private:
  static constexpr int kBits = 53;

  const T* m_values;
};

template <std::floating_point T>
class Reals {
 public:
  explicit Reals(const void* buffer) : m_values(static_cast<const T*>(buffer)) {}
  std::optional<double> Value(std::int64_t i) const { return static_cast<double>(m_values[i]); }
  std::string Text(std::int64_t i) const { return std::to_string(m_values[i]); }

 private:
  const T* m_values;
};

class HalfReals {
 public:
  explicit HalfReals(const void* buffer) : m_values(static_cast<const std::uint16_t*>(buffer)) {}
  std::optional<double> Value(std::int64_t i) const;
  std::string Text(std::int64_t i) const { return std::to_string(*Value(i)); }

 private:
  const std::uint16_t* m_values;
};

// Whole numbers of 32 to 256 bits in two's complement, the lowest bits first, over a power of ten. A double holds a
// decimal that comes back from it: the double, written with as many digits, is the same decimal.
class Decimals {
 public:
  Decimals(const void* buffer, int bits, int scale)
      : m_words(static_cast<const std::uint32_t*>(buffer)), m_wordsOfOne(bits / 32), m_scale(scale) {}
  std::optional<double> Value(std::int64_t i) const;
  std::string Text(std::int64_t i) const;

 private:
  const std::uint32_t* m_words;
  int m_wordsOfOne;
  int m_scale;
};

// Days since 1970.
class Days {
 public:
  explicit Days(const void* buffer) : m_days(static_cast<const std::int32_t*>(buffer)) {}
  std::optional<double> Value(std::int64_t i) const;
  std::string Text(std::int64_t i) const { return std::to_string(m_days[i]) + " days since 1970"; }

 private:
  const std::int32_t* m_days;
};

// Ticks of a time of day or a duration, or since 1970.
struct TickUnit {
  std::int64_t perSecond = 1;
  bool isSince1970 = false;
  bool isRounded = false;  // takes the nearest double
};

// Returns the seconds, counted from 1582 where the ticks are since 1970.
std::optional<double> SecondsOf(std::int64_t ticks, const TickUnit& unit);

template <std::integral T>
class Ticks {
 public:
  Ticks(const void* buffer, const TickUnit& unit) : m_ticks(static_cast<const T*>(buffer)), m_unit(unit) {}
  std::optional<double> Value(std::int64_t i) const { return SecondsOf(m_ticks[i], m_unit); }
  std::string Text(std::int64_t i) const {
    return std::to_string(m_ticks[i]) + "/" + std::to_string(m_unit.perSecond) + " s" +
           (m_unit.isSince1970 ? " since 1970" : "");
  }

 private:
  const T* m_ticks;
  TickUnit m_unit;
};

}  // namespace arrowin

#endif
