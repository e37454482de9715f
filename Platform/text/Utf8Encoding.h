// UTF-8: a character is a well-formed sequence of one to four bytes: the shortest form of a code point up to U+10FFFF
// that is no surrogate.
//
// Threads: any.

#ifndef PLATFORM_TEXT_UTF8ENCODING_H
#define PLATFORM_TEXT_UTF8ENCODING_H

#include "Platform/text/Encoding.h"

namespace quavmb {

// Replaces unreadable bytes in UTF-8: U+FFFD.
inline constexpr std::string_view kReplacementCharacter = "\xEF\xBF\xBD";

// Returns the code point at `position`, which moves past it; -1 for bytes that form none. In this case `position`
// moves past the longest beginning of a character.
int NextLongCodePoint(std::string_view text, std::size_t& position);
inline int NextCodePoint(std::string_view text, std::size_t& position) {
  return IsAscii(text[position]) ? text[position++] : NextLongCodePoint(text, position);
}

// Appends the UTF-8 form of UTF-16 text; an unpaired surrogate becomes the replacement character.
void AppendUtf8(std::string& output, std::u16string_view text);

class Utf8Encoding final : public Encoding {
 public:
  Utf8Encoding() : Encoding(true, LowBytes::alwaysAlone) {}

  Character First(std::string_view text) const override;
  // Both copy the text and replace what is not well formed by the replacement character.
  bool ToUtf8(std::string& output, std::string_view text) const override;
  bool FromUtf8(std::string& output, std::string_view text) const override { return ToUtf8(output, text); }

 private:
  std::size_t FindWholeCharacters(std::string_view text, std::size_t size) const override;
  // Full case mapping, independent of language: the text may become longer, as for the sharp s.
  std::string FindInCase(std::string_view text, LetterCase to) const override;
};

}  // namespace quavmb

#endif
