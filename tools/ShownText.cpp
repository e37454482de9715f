#include "ShownText.h"

#include <algorithm>

namespace tool {

namespace {

constexpr char kUtf8[] = "UTF-8";

bool IsAscii(std::string_view text) {
  unsigned char all = 0;
  for (const char c : text) all = static_cast<unsigned char>(all | static_cast<unsigned char>(c));
  return all < 0x80;
}

bool IsValidUtf8(std::string_view text) {
  while (!text.empty()) {
    int size = 1;
    if (static_cast<unsigned char>(text.front()) >= 0x80) {
      size = QUAVMBmblen_A(text.data(), static_cast<int>(std::min<std::size_t>(text.size(), 4)));
      if (size <= 0) return false;
    }
    text.remove_prefix(static_cast<std::size_t>(size));
  }
  return true;
}

}  // namespace

ShownText::ShownText(const std::string& encoding) : m_converter(QUAVMBConverterNew_A(encoding.c_str())) {
  if (!m_converter) m_converter.reset(QUAVMBConverterNew_A(kUtf8));
}

std::string_view ShownText::Valid(std::string_view text) {
  if (IsAscii(text) || IsValidUtf8(text)) return text;
  QUAVMBCodePageToU8(m_converter.get(), m_converted, std::string(text));
  return m_converted;
}

std::string_view WithoutTrailingBlanks(std::string_view text) {
  const std::size_t last = text.find_last_not_of(' ');
  return text.substr(0, last == std::string_view::npos ? 0 : last + 1);
}

}  // namespace tool
