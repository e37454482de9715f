#include "Columns/text/ShownText.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>

namespace dstext {

namespace {

// Returns the bytes of the first character, which is not ASCII; 0 when the text does not begin with one: with the shortest
// form of a code point up to U+10FFFF that is no surrogate. Does not ask for the present encoding, which other threads may
// change.
std::size_t LongCharacterSize(std::string_view text) {
  const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char first = byte(0);
  if (first < 0xC2 || first > 0xF4) return 0;
  const std::size_t size = first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
  if (text.size() < size) return 0;
  for (std::size_t i = 1; i < size; ++i)
    if ((byte(i) & 0xC0) != 0x80) return 0;
  const unsigned char second = byte(1);
  const bool isTooLong = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
  const bool isBeyond = (first == 0xED && second >= 0xA0) || (first == 0xF4 && second >= 0x90);
  return isTooLong || isBeyond ? 0 : size;
}

}  // namespace

ShownText::ShownText(const std::string& encoding) : m_converter(QUAVMBConverterNew_A(encoding.c_str())) {
  if (!m_converter) m_converter.reset(QUAVMBConverterNew_A(kUtf8Name));
}

std::string_view ShownText::Valid(std::string_view text) {
  if (IsValidUtf8(text)) return text;
  if (QUAVMBCodePageToU8(m_converter.get(), m_converted, std::string(text)) != 0) ++m_replacedTexts;
  return m_converted;
}

// Reads eight bytes at a time, because all input and output text passes through here.
bool IsAscii(std::string_view text) {
  constexpr std::uint64_t kHighBits = 0x8080808080808080;
  std::uint64_t all = 0;
  while (text.size() >= sizeof(all)) {
    std::array<char, sizeof(all)> eight;
    std::copy_n(text.data(), eight.size(), eight.begin());
    all |= std::bit_cast<std::uint64_t>(eight);
    text.remove_prefix(eight.size());
  }
  for (const char c : text) all |= static_cast<unsigned char>(c);
  return (all & kHighBits) == 0;
}

bool IsValidUtf8(std::string_view text) {
  if (IsAscii(text)) return true;
  while (!text.empty()) {
    std::size_t size = 1;
    if (static_cast<unsigned char>(text.front()) >= 0x80) {
      size = LongCharacterSize(text);
      if (size == 0) return false;
    }
    text.remove_prefix(size);
  }
  return true;
}

std::string_view WithoutTrailingBlanks(std::string_view text) {
  const std::size_t last = text.find_last_not_of(' ');
  return text.substr(0, last == std::string_view::npos ? 0 : last + 1);
}

char BlankOf(QUAVMBConverter* converter) {
  if (converter == nullptr || QUAVMBConverterKeepsAscii(converter)) return ' ';
  std::string blank;
  QUAVMBU8ToCodePage(converter, blank, " ");
  return blank.size() == 1 ? blank.front() : ' ';
}

}  // namespace dstext
