// ASCII text, eight bytes at a time: most names, labels and values are, and then need no look at their encoding's
// tables.
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

inline bool IsAscii(char byte) { return static_cast<unsigned char>(byte) < 0x80; }

inline char AsciiUpper(char byte) { return 'a' <= byte && byte <= 'z' ? static_cast<char>(byte - 'a' + 'A') : byte; }
inline char AsciiLower(char byte) { return 'A' <= byte && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte; }

// A word holds eight bytes of text, each in a lane of its own. The sums below never carry out of a lane, because they
// are taken of lanes below 128 only.
using Word = std::uint64_t;
inline constexpr Word kOnes = 0x0101010101010101;
inline constexpr Word kHighBits = 0x80 * kOnes;

inline Word LoadWord(const char* p) {
  Word word;
  std::memcpy(&word, p, sizeof word);
  return word;
}

inline void StoreWord(char* p, Word word) { std::memcpy(p, &word, sizeof word); }

// Whether `test` holds for all the bytes of a text. It takes a word of them and answers the high bits of the lanes that
// fail. The last word overlaps the one before; a text shorter than a word is filled up with the letter x.
template <class Test>
bool HoldsForAll(std::string_view text, Test test) {
  if (text.empty()) return true;  // it may have no address to copy from
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

// Whether all bytes are below 128.
inline bool IsAscii(std::string_view text) {
  return HoldsForAll(text, [](Word word) { return word & kHighBits; });
}

// The high bits of the lanes that are no ASCII characters or are control characters.
inline Word NotPrintable(Word word) {
  const Word seven = word & ~kHighBits;
  const Word blankOrAbove = seven + (0x80 - ' ') * kOnes;
  const Word deleteCharacter = seven + kOnes;
  return (word | ~blankOrAbove | deleteCharacter) & kHighBits;
}

// Whether all bytes are ASCII and none is a control character.
inline bool IsPrintableAscii(std::string_view text) { return HoldsForAll(text, NotPrintable); }

// The length of the whole words of such bytes that a text begins with.
inline std::size_t PrintableWords(std::string_view text) {
  std::size_t length = 0;
  while (length + sizeof(Word) <= text.size() && NotPrintable(LoadWord(text.data() + length)) == 0)
    length += sizeof(Word);
  return length;
}

// The word, all of it ASCII, with the letters from `first` to `last` turned into the other case.
inline Word TurnLetters(Word word, char first, char last) {
  const Word fromFirst = word + (0x80 - static_cast<Word>(first)) * kOnes;
  const Word pastLast = word + (0x7F - static_cast<Word>(last)) * kOnes;
  const Word letters = (fromFirst ^ pastLast) & kHighBits;
  return word ^ (letters >> 2);  // the bit 0x20 tells the two cases apart
}

inline Word UpperWord(Word ascii) { return TurnLetters(ascii, 'a', 'z'); }
inline Word LowerWord(Word ascii) { return TurnLetters(ascii, 'A', 'Z'); }

// Writes the upper- or lower-case form of ASCII text to `dest`, which has room for it and may be the text itself.
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
