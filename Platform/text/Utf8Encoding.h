// UTF-8: a character is a well-formed sequence of one to four bytes, for a code point up to U+10FFFF that is no
// surrogate, in its shortest form.
//
// Threads: any.

#ifndef PLATFORM_TEXT_UTF8ENCODING_H
#define PLATFORM_TEXT_UTF8ENCODING_H

#include "Platform/text/Encoding.h"

namespace quavmb {

// Stands in UTF-8 for what could not be read, U+FFFD.
inline constexpr std::string_view kReplacementCharacter = "\xEF\xBF\xBD";

// The code point that stands at `position`, which moves behind it; -1 for bytes that form none, of which it moves
// behind the longest beginning of a character.
int NextLongCodePoint(std::string_view text, std::size_t& position);
inline int NextCodePoint(std::string_view text, std::size_t& position) {
  return IsAscii(text[position]) ? text[position++] : NextLongCodePoint(text, position);
}

// Appends the UTF-8 form of UTF-16 text; the replacement character stands for an unpaired surrogate.
void AppendUtf8(std::string& output, std::u16string_view text);

class Utf8Encoding final : public Encoding {
 public:
  Utf8Encoding() : Encoding(true, LowBytes::alwaysAlone) {}

  Character First(std::string_view text) const override;
  // Both are a copy, with the replacement character for what is not well formed.
  bool ToUtf8(std::string& output, std::string_view text) const override;
  bool FromUtf8(std::string& output, std::string_view text) const override { return ToUtf8(output, text); }

 private:
  std::size_t FindWholeCharacters(std::string_view text, std::size_t size) const override;
  // Full case mapping without a language: it may lengthen the text, as for the sharp s.
  std::string FindInCase(std::string_view text, LetterCase to) const override;
};

}  // namespace quavmb

#endif
