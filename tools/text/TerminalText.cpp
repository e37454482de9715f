#include "tools/text/TerminalText.h"

#include <wchar.h>

#include <algorithm>

#include "Platform/text/QUAVMB.h"

namespace tool {

namespace {

constexpr std::string_view kEllipsis = "\u2026";     // one column wide
constexpr std::string_view kReplacement = "\uFFFD";  // for a control character without a sign of its own
constexpr char32_t kControlPictures = 0x2400;        // the sign of control character c is this + c
constexpr std::size_t kValueColumns = 40;            // columns of a value in a message
constexpr unsigned char kDelete = 0x7F;
constexpr std::string_view kDeletePicture = "\u2421";

bool IsPlainAscii(std::string_view text) {
  return std::ranges::all_of(text, [](char c) { return 0x20 <= c && c < 0x7F; });
}

// Returns the size in bytes of the first character; at least 1.
std::size_t CharacterSize(std::string_view text) {
  const int size = QUAVMBmblen_A(text.data(), static_cast<int>(std::min<std::size_t>(text.size(), 4)));
  return size > 0 ? static_cast<std::size_t>(size) : 1;
}

char32_t CodePoint(std::string_view character) {
  const auto first = static_cast<unsigned char>(character.front());
  if (character.size() == 1) return first;
  char32_t code = first & (0x7Fu >> character.size());
  for (const char next : character.substr(1)) code = code << 6 | (static_cast<unsigned char>(next) & 0x3Fu);
  return code;
}

// Returns -1 for a character that cannot be printed.
int Columns(std::string_view character) { return wcwidth(static_cast<wchar_t>(CodePoint(character))); }

void AppendPicture(std::string& text, unsigned char control) {
  const char32_t code = kControlPictures + control;
  text += static_cast<char>(0xE0 | code >> 12);
  text += static_cast<char>(0x80 | (code >> 6 & 0x3F));
  text += static_cast<char>(0x80 | (code & 0x3F));
}

}  // namespace

std::string OneLine(std::string_view text) {
  if (IsPlainAscii(text)) return std::string(text);
  std::string line;
  while (!text.empty()) {
    const std::string_view character = text.substr(0, CharacterSize(text));
    text.remove_prefix(character.size());
    const auto byte = static_cast<unsigned char>(character.front());
    if (byte < 0x20) {
      AppendPicture(line, byte);
    } else if (byte == kDelete) {
      line += kDeletePicture;
    } else {
      line += Columns(character) < 0 ? kReplacement : character;
    }
  }
  return line;
}

std::size_t DisplayWidth(std::string_view text) {
  if (IsPlainAscii(text)) return text.size();
  std::size_t width = 0;
  while (!text.empty()) {
    const std::size_t size = CharacterSize(text);
    width += static_cast<std::size_t>(std::max(0, Columns(text.substr(0, size))));
    text.remove_prefix(size);
  }
  return width;
}

std::string CutToWidth(std::string text, std::size_t width) {
  if (DisplayWidth(text) <= width) return text;
  std::size_t used = 1;  // the column of the ellipsis
  std::size_t end = 0;
  while (true) {
    const std::size_t size = CharacterSize(std::string_view(text).substr(end));
    used += DisplayWidth(std::string_view(text).substr(end, size));
    if (used > width) break;
    end += size;
  }
  text.resize(end);
  return text.append(kEllipsis);
}

std::string ShortValue(std::string_view value) {
  constexpr std::size_t kEnough = 8 * kValueColumns;  // bytes; enough for any characters
  const auto length = static_cast<int>(std::min(value.size(), kEnough));
  const int whole = QUAVMBWholeCharacters_A(value.data(), length, length);
  return CutToWidth(OneLine(value.substr(0, static_cast<std::size_t>(whole))), kValueColumns);
}

}  // namespace tool
