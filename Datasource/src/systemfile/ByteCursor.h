// Reads the bytes of a record, field by field, in the file's byte order. It cannot read past the end.

#ifndef DATASRC_SRC_SYSTEMFILE_BYTECURSOR_H
#define DATASRC_SRC_SYSTEMFILE_BYTECURSOR_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "core/ByteOrder.h"
#include "systemfile/SystemFileException.h"

class ByteCursor {
 public:
  ByteCursor(std::span<const std::byte> bytes, ByteOrder order) : m_rest(bytes), m_order(order) {}

  void SetOrder(ByteOrder order) { m_order = order; }
  std::size_t Left() const { return m_rest.size(); }
  // Returns whether `count` bytes are left. A negative count needs none.
  bool Holds(std::int64_t count) const { return count <= static_cast<std::int64_t>(m_rest.size()); }

  std::int32_t I32() { return Number<std::int32_t>(); }
  double Double() { return Number<double>(); }
  // Reads a cell as it is, without byte-swapping.
  OBS Cell() { return Load<OBS>(Bytes(sizeof(OBS)).data()); }
  std::span<const std::byte> Bytes(std::size_t count) {
    Require(count <= m_rest.size(), kMalformed, "count <= left");
    const auto taken = m_rest.first(count);
    m_rest = m_rest.subspan(count);
    return taken;
  }
  std::string_view Text(std::size_t count) {
    const auto bytes = Bytes(count);
    return {AsText(bytes.data()), bytes.size()};
  }

 private:
  template <class T>
  T Number() {
    return Load<T>(Bytes(sizeof(T)).data(), m_order);
  }

  std::span<const std::byte> m_rest;
  ByteOrder m_order;
};

#endif
