#include "tools/report/Html.h"

#include <array>
#include <charconv>

namespace tool {

namespace {

constexpr std::string_view kReplacement = "\uFFFD";

bool IsControl(unsigned char c) { return (c < 0x20 && c != '\t' && c != '\n') || c == 0x7F; }

// Returns the text for a character that must not stand as it is, otherwise an empty text.
std::string_view Escape(char c) {
  switch (c) {
    case '&':
      return "&amp;";
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    case '"':
      return "&quot;";
    case '\'':
      return "&#39;";
    default:
      return IsControl(static_cast<unsigned char>(c)) ? kReplacement : std::string_view();
  }
}

}  // namespace

void AppendHtml(std::string& out, std::string_view text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    // The control characters from U+0080 to U+009F have two bytes.
    const bool isSecondControl =
        text[i] == '\xC2' && i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) < 0xA0;
    const std::string_view escape = isSecondControl ? kReplacement : Escape(text[i]);
    if (isSecondControl) ++i;
    if (escape.empty())
      out += text[i];
    else
      out += escape;
  }
}

void AppendLength(std::string& out, double length) {
  std::array<char, 400> buffer;
  char* end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), length, std::chars_format::fixed, 2).ptr;
  while (end[-1] == '0') --end;
  if (end[-1] == '.') --end;
  out.append(buffer.data(), end);
}

}  // namespace tool
