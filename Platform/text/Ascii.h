// ASCII characters, and ASCII text eight bytes at a time. Most names, labels and values are ASCII, and then need no
// tables of their encoding.
//
// Threads: any.

#ifndef PLATFORM_TEXT_ASCII_H
#define PLATFORM_TEXT_ASCII_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace quavmb {

enum class LetterCase { upper, lower };

constexpr bool IsDigit(char byte) { return '0' <= byte && byte <= '9'; }
constexpr bool IsLetter(char byte) { return ('A' <= byte && byte <= 'Z') || ('a' <= byte && byte <= 'z'); }
inline bool IsAscii(char byte) { return static_cast<unsigned char>(byte) < 0x80; }

inline char AsciiUpper(char byte) { return 'a' <= byte && byte <= 'z' ? static_cast<char>(byte - 'a' + 'A') : byte; }
inline char AsciiLower(char byte) { return 'A' <= byte && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte; }

// A word holds eight bytes of text, one in each lane. The sums below never carry out of a lane, because all lanes are
// below 128.
using Word = std::uint64_t;
inline constexpr Word kOnes = 0x0101010101010101;
inline constexpr Word kHighBits = 0x80 * kOnes;

inline Word LoadWord(const char* p) {
  Word word;
  std::memcpy(&word, p, sizeof word);
  return word;
}

inline void StoreWord(char* p, Word word) { std::memcpy(p, &word, sizeof word); }

// Returns whether `test` holds for all bytes of a text. `test` takes a word of them and returns the high bits of the
// lanes that fail. The last word overlaps the one before it; a text shorter than a word is padded with the letter x.
template <class Test>
bool HoldsForAll(std::string_view text, Test test) {
  if (text.empty()) return true;  // an empty text may have a null pointer
  const char* p = text.data();
  if (text.size() < sizeof(Word)) {
    Word word = 'x' * kOnes;
    std::memcpy(&word, p, text.size());
    return test(word) == 0;
  }
  const char* const last = p + text.size() - sizeof(Word);
  for (; p < last; p += sizeof(Word)) {
    if (test(LoadWord(p)) != 0) return false;
  }
  return test(LoadWord(last)) == 0;
}

// Returns whether all bytes are below 128.
inline bool IsAscii(std::string_view text) {
  return HoldsForAll(text, [](Word word) { return word & kHighBits; });
}

// Returns the high bits of the lanes that are not ASCII or are control characters.
inline Word NotPrintable(Word word) {
  const Word seven = word & ~kHighBits;
  const Word blankOrAbove = seven + (0x80 - ' ') * kOnes;
  const Word deleteCharacter = seven + kOnes;
  return (word | ~blankOrAbove | deleteCharacter) & kHighBits;
}

// Returns whether all bytes are ASCII and none is a control character.
inline bool IsPrintableAscii(std::string_view text) { return HoldsForAll(text, NotPrintable); }

// Returns the length in bytes of the printable ASCII words at the beginning of a text.
inline std::size_t PrintableWords(std::string_view text) {
  std::size_t length = 0;
  while (length + sizeof(Word) <= text.size() && NotPrintable(LoadWord(text.data() + length)) == 0)
    length += sizeof(Word);
  return length;
}

// Returns the word, which must be ASCII, with the letters from `first` to `last` in the other case.
inline Word TurnLetters(Word word, char first, char last) {
  const Word fromFirst = word + (0x80 - static_cast<Word>(first)) * kOnes;
  const Word pastLast = word + (0x7F - static_cast<Word>(last)) * kOnes;
  const Word letters = (fromFirst ^ pastLast) & kHighBits;
  return word ^ (letters >> 2);  // the bit 0x20 is the difference between the cases
}

inline Word UpperWord(Word ascii) { return TurnLetters(ascii, 'a', 'z'); }
inline Word LowerWord(Word ascii) { return TurnLetters(ascii, 'A', 'Z'); }

// Writes the upper- or lower-case form of ASCII text to `dest`, which has enough room and may be the text itself.
inline void WriteAsciiInCase(char* dest, std::string_view text, LetterCase to) {
  const bool upper = to == LetterCase::upper;
  const char* const p = text.data();
  std::size_t i = 0;
  for (; i + sizeof(Word) <= text.size(); i += sizeof(Word)) {
    const Word word = LoadWord(p + i);
    StoreWord(dest + i, upper ? UpperWord(word) : LowerWord(word));
  }
  for (; i < text.size(); ++i) dest[i] = upper ? AsciiUpper(p[i]) : AsciiLower(p[i]);
}

}  // namespace quavmb

#endif
