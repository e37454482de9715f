// An encoding as this layer works with it: what a character is, its case forms, and the way to UTF-8 and back.
//
//   Utf8Encoding        UTF-8; only the case forms of other than ASCII text go to ICU
//   SingleByteEncoding  one byte a character: tables, made from ICU's once
//   MultiByteEncoding   one to four bytes a character, as in East Asian code pages: through ICU
//
// Text and the parts of it are views of bytes, which may hold any byte, zeros too. Bytes that form no character stand
// for themselves. The members here that are no virtual functions are the short ways for ASCII text.
//
// Threads: an encoding never changes and lives to the end of the process; any number of threads may use it.

#ifndef PLATFORM_TEXT_ENCODING_H
#define PLATFORM_TEXT_ENCODING_H

#include <cstddef>
#include <string>
#include <string_view>

#include "Platform/text/Ascii.h"

namespace quavmb {

// The bytes of `text`, `length` of them, or up to the terminator when that is negative.
inline std::string_view TextOf(const char* text, int length) {
  return length < 0 ? std::string_view(text) : std::string_view(text, static_cast<std::size_t>(length));
}

// What stands at a place in a text: a whole character, the beginning of one that the end of the text cuts, or bytes
// that form none. The length, in bytes, is never 0.
struct Character {
  enum Kind { whole, cut, none };
  Kind kind;
  std::size_t length;
};

class Encoding {
 public:
  // The encoding of the code page with the name; null when there is none. An encoding counts as a code page when text
  // in it can be read from any character on and ends with a zero byte: not UTF-16, nor one with shift sequences.
  static const Encoding* Find(const char* name);
  static const Encoding& Utf8();
  // ICU's own name for the encoding with this name, the same for all its names; null when ICU knows none.
  static const char* CanonicalName(const char* name);

  Encoding(const Encoding&) = delete;
  Encoding& operator=(const Encoding&) = delete;
  virtual ~Encoding() = default;

  // Whether a byte below 128, where a character begins, is that ASCII character. (Three control characters may differ:
  // the PC code pages have them in other places.)
  bool HasAscii() const { return m_hasAscii; }
  // Whether the text, in this encoding and in UTF-8, is the same bytes of one character each. False may be a miss.
  bool IsPlain(std::string_view text) const { return m_hasAscii && IsPrintableAscii(text); }

  // What stands at the beginning of a text that is not empty.
  virtual Character First(std::string_view text) const = 0;

  // The length of the longest beginning of the text that has at most `size` bytes and ends with a whole character or
  // with bytes that form none, but not inside a character.
  std::size_t WholeCharacters(std::string_view text, std::size_t size) const {
    const std::string_view head = text.substr(0, size);
    if (head.empty() || EndsWithAscii(head)) return head.size();
    return FindWholeCharacters(text, size);
  }

  // The text's upper- or lower-case form.
  std::string InCase(std::string_view text, LetterCase to) const {
    if (!m_hasAscii || !IsAscii(text)) return FindInCase(text, to);
    std::string form(text.size(), '\0');
    WriteAsciiInCase(form.data(), text, to);
    return form;
  }

  // Convert a text from or to this encoding into `output`, which replaces what it held. True when all could be
  // converted exactly; otherwise the replacement character or the code page's substitute stands for the rest.
  virtual bool ToUtf8(std::string& output, std::string_view text) const = 0;
  virtual bool FromUtf8(std::string& output, std::string_view text) const = 0;

 protected:
  // What bytes below 128 may be besides characters of their own.
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
