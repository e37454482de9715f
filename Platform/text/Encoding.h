// An encoding, as this layer uses it: its characters, their case forms, and conversion to and from UTF-8.
//
//   Utf8Encoding        UTF-8; ICU makes only the case forms of text that is not ASCII
//   SingleByteEncoding  one byte a character: tables, made from ICU's once
//   MultiByteEncoding   one to four bytes a character, as in East Asian code pages: through ICU
//
// A text, or a part of it, is a view of bytes, which may have any value, including zero. Bytes that form no character
// stand for themselves. The members here that are not virtual are the short paths for ASCII text.
//
// Threads: an encoding never changes and lives until the process ends; any number of threads may use it.

#ifndef PLATFORM_TEXT_ENCODING_H
#define PLATFORM_TEXT_ENCODING_H

#include <cstddef>
#include <string>
#include <string_view>

#include "Platform/text/Ascii.h"

namespace quavmb {

// Returns the bytes of `text`: `length` of them, or up to the terminator when that is negative.
inline std::string_view TextOf(const char* text, int length) {
  return length < 0 ? std::string_view(text) : std::string_view(text, static_cast<std::size_t>(length));
}

// The bytes at a place of a text: a whole character, the beginning of one that the end of the text cuts, or bytes
// that form none. The length, in bytes, is never 0.
struct Character {
  enum Kind { whole, cut, none };
  Kind kind;
  std::size_t length;
};

class Encoding {
 public:
  // Returns the encoding of the code page with this name, or null when there is none. An encoding counts as a code
  // page when its text can be read from any character on and ends with a zero byte. So UTF-16 and encodings with
  // shift sequences do not count.
  static const Encoding* Find(const char* name);
  static const Encoding& Utf8();
  // Returns ICU's own name of the encoding, which is the same for all its names; null when ICU does not know the name.
  static const char* CanonicalName(const char* name);

  Encoding(const Encoding&) = delete;
  Encoding& operator=(const Encoding&) = delete;
  virtual ~Encoding() = default;

  // Returns whether each byte below 128 that begins a character is that ASCII character. (Three control characters
  // may differ: the PC code pages have them in other places.)
  bool HasAscii() const { return m_hasAscii; }
  // Returns whether the text is the same bytes in this encoding and in UTF-8, with one byte a character. False may be
  // wrong.
  bool IsPlain(std::string_view text) const { return m_hasAscii && IsPrintableAscii(text); }

  // Returns the first character of a text, which must not be empty.
  virtual Character First(std::string_view text) const = 0;

  // Returns the length of the longest beginning of the text that has at most `size` bytes and does not end inside a
  // character. Bytes that form no character may be cut anywhere.
  std::size_t WholeCharacters(std::string_view text, std::size_t size) const {
    const std::string_view head = text.substr(0, size);
    if (head.empty() || EndsWithAscii(head)) return head.size();
    return FindWholeCharacters(text, size);
  }

  // Returns the text's upper- or lower-case form.
  std::string InCase(std::string_view text, LetterCase to) const {
    if (!m_hasAscii || !IsAscii(text)) return FindInCase(text, to);
    std::string form(text.size(), '\0');
    WriteAsciiInCase(form.data(), text, to);
    return form;
  }

  // Convert a text to UTF-8 or from UTF-8 and replace the contents of `output`. They return true when everything was
  // converted exactly; otherwise the replacement character or the code page's substitute replaces the rest.
  virtual bool ToUtf8(std::string& output, std::string_view text) const = 0;
  virtual bool FromUtf8(std::string& output, std::string_view text) const = 0;

 protected:
  // Whether a byte below 128 is always a character of its own, or may also be inside a character.
  enum class LowBytes { alwaysAlone, insideCharacters };

  Encoding(bool hasAscii, LowBytes lowBytes)
      : m_hasAscii(hasAscii), m_lowBytesStandAlone(lowBytes == LowBytes::alwaysAlone) {}

 private:
  virtual std::size_t FindWholeCharacters(std::string_view text, std::size_t size) const = 0;
  virtual std::string FindInCase(std::string_view text, LetterCase to) const = 0;

  bool EndsWithAscii(std::string_view text) const {
    return m_lowBytesStandAlone ? IsAscii(text.back()) : m_hasAscii && IsAscii(text);
  }

  bool m_hasAscii;
  bool m_lowBytesStandAlone;
};

}  // namespace quavmb

#endif
