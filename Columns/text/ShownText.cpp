#include "Columns/text/ShownText.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>

namespace dstext {

namespace {

constexpr std::size_t kLongestCharacter = 4;

// Returns the bytes of the first character; 0 or less when the text does not begin with one. The tool is in UTF-8 mode.
int Utf8Size(std::string_view text) {
  return QUAVMBmblen_A(text.data(), static_cast<int>(std::min(text.size(), kLongestCharacter)));
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
    int size = 1;
    if (static_cast<unsigned char>(text.front()) >= 0x80) {
      size = Utf8Size(text);
      if (size <= 0) return false;
    }
    text.remove_prefix(static_cast<std::size_t>(size));
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
