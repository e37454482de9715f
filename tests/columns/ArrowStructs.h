// Owners of Arrow structs, as a consumer would have them, and views of what is in them.

#ifndef TESTS_COLUMNS_ARROWSTRUCTS_H
#define TESTS_COLUMNS_ARROWSTRUCTS_H

#include <cstdint>
#include <cstring>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "datasrc/ArrowAbi.h"

// A struct of the ABI that its destructor releases.
template <class Struct>
struct Arrow : Struct {
  Arrow() : Struct{} {}
  // Moves the contents of a struct here, as the ABI allows.
  explicit Arrow(Struct& moved) : Struct(moved) { moved.release = nullptr; }
  Arrow(Arrow&& moved) noexcept : Struct(moved) { moved.release = nullptr; }
  Arrow& operator=(Arrow&&) = delete;
  ~Arrow() {
    if (this->release != nullptr) this->release(this);
  }
};

inline bool HasValue(const ArrowArray& array, std::int64_t row) {
  const auto* const bits = static_cast<const std::uint8_t*>(array.buffers[0]);
  return bits == nullptr || (bits[row / 8] >> (row % 8) & 1) != 0;
}

template <class Value>
std::optional<Value> ValueAt(const ArrowArray& array, std::int64_t row) {
  if (!HasValue(array, row)) return std::nullopt;
  return static_cast<const Value*>(array.buffers[1])[row];
}

template <class Offset = std::int32_t>
std::optional<std::string> TextAt(const ArrowArray& array, std::int64_t row) {
  if (!HasValue(array, row)) return std::nullopt;
  const auto* const offsets = static_cast<const Offset*>(array.buffers[1]);
  const auto* const text = static_cast<const char*>(array.buffers[2]);
  return std::string(text + offsets[row], text + offsets[row + 1]);
}

// The text for an index of a dictionary.
inline std::optional<std::string> LabelAt(const ArrowArray& array, std::int64_t row) {
  const auto index = ValueAt<std::int32_t>(array, row);
  return index ? TextAt(*array.dictionary, *index) : std::nullopt;
}

inline std::map<std::string, std::string> MetadataOf(const ArrowSchema& schema) {
  std::map<std::string, std::string> pairs;
  const char* at = schema.metadata;
  if (at == nullptr) return pairs;
  const auto number = [&at] {
    std::int32_t value = 0;
    std::memcpy(&value, at, sizeof value);
    at += sizeof value;
    return static_cast<std::size_t>(value);
  };
  const auto text = [&] {
    const std::size_t size = number();
    const std::string value(at, size);
    at += size;
    return value;
  };
  for (std::size_t left = number(); left > 0; --left) {
    std::string key = text();
    pairs.emplace(std::move(key), text());
  }
  return pairs;
}

#endif
