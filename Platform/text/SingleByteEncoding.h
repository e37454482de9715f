// A code page with one byte a character, as tables that are made once from ICU's converter.
//
// Case forms are those that the code page has as one byte: the sharp s stays as it is.
//
// Threads: any.

#ifndef PLATFORM_TEXT_SINGLEBYTEENCODING_H
#define PLATFORM_TEXT_SINGLEBYTEENCODING_H

#include <unicode/ucnv.h>

#include <array>
#include <cstdint>
#include <vector>

#include "Platform/text/Encoding.h"

namespace quavmb {

class SingleByteEncoding final : public Encoding {
 public:
  // Reads the code page from the converter and does not keep it. The converter must stop at bytes without a character.
  SingleByteEncoding(UConverter* converter, bool hasAscii);

  Character First(std::string_view text) const override;
  bool ToUtf8(std::string& output, std::string_view text) const override;
  bool FromUtf8(std::string& output, std::string_view text) const override;

 private:
  static constexpr std::size_t kBytes = 256;
  static constexpr int kNoByte = -1;

  static constexpr std::size_t kLongestUtf8 = 3;

  struct Utf8Form {
    std::array<char, kLongestUtf8> bytes;
    std::uint8_t length;
  };

  void ReadCharacters(UConverter* converter);
  void ReadBytes(UConverter* converter);
  void MakeCaseForms();
  void AddByte(int codePoint, int byte);
  // Returns the byte of a character, or kNoByte when the code page lacks it.
  int ByteOf(int codePoint) const;
  // Copies the beginning of the text that is the same in UTF-8. Returns its length, 0 when it is short.
  std::size_t CopyPlainWords(char* output, std::string_view text) const;
  char ByteInCase(std::size_t byte, int codePoint) const;

  std::size_t FindWholeCharacters(std::string_view text, std::size_t size) const override;
  std::string FindInCase(std::string_view text, LetterCase to) const override;

  std::array<int, kBytes> m_codePoints;   // -1: the byte is no character
  std::array<Utf8Form, kBytes> m_utf8{};  // the replacement character where the byte is no character
  std::array<char, kBytes> m_upper;
  std::array<char, kBytes> m_lower;
  // The bytes by code point, in blocks of 256 code points. Block 0 is empty; it serves all code points that the code
  // page lacks.
  std::array<std::uint8_t, kBytes> m_blockOf;
  std::vector<std::array<std::int16_t, kBytes>> m_blocks;
  char m_substitute;
};

}  // namespace quavmb

#endif
