// Builds the bytes of a record, field by field, in this machine's byte order. ByteCursor reads them.

#ifndef DATASRC_SRC_SYSTEMFILE_BYTEBUILDER_H
#define DATASRC_SRC_SYSTEMFILE_BYTEBUILDER_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "core/ByteOrder.h"

class ByteBuilder {
 public:
  std::span<const std::byte> Bytes() const { return m_bytes; }
  std::size_t Size() const { return m_bytes.size(); }

  void I32(std::int32_t number) { Number(number); }
  void Double(double number) { Number(number); }
  void Cell(OBS cell) { Number(cell); }
  void Byte(int byte) { m_bytes.push_back(static_cast<std::byte>(byte)); }
  void Fill(std::size_t count, char filler) { m_bytes.resize(m_bytes.size() + count, static_cast<std::byte>(filler)); }
  void Text(std::string_view text) {
    const std::byte* const bytes = AsBytes(text.data());
    m_bytes.insert(m_bytes.end(), bytes, bytes + text.size());
  }
  // Appends the first `size` bytes of the text, filled up with blanks. May cut a character.
  void Field(std::string_view text, std::size_t size) {
    const std::string_view kept = text.substr(0, size);
    Text(kept);
    Fill(size - kept.size(), ' ');
  }
  // Appends the length, then the text.
  void CountedText(std::string_view text) {
    I32(static_cast<std::int32_t>(text.size()));
    Text(text);
  }

 private:
  template <class T>
  void Number(T number) {
    m_bytes.resize(m_bytes.size() + sizeof(T));
    Store(m_bytes.data() + m_bytes.size() - sizeof(T), number);
  }

  std::vector<std::byte> m_bytes;
};

#endif
