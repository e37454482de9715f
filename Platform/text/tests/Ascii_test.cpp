#include "Platform/text/Ascii.h"

#include <gtest/gtest.h>

#include <string>

namespace quavmb {
namespace Ascii_test {
namespace {

constexpr std::size_t kLongest = 40;

// Puts each byte value at each place of texts of all lengths up to a few words.
template <class Check>
void ForEachPlacedByte(char filling, Check check) {
  for (std::size_t length = 1; length <= kLongest; ++length) {
    for (std::size_t place = 0; place < length; ++place) {
      for (int value = 0; value < 256; ++value) {
        std::string text(length, filling);
        text[place] = static_cast<char>(value);
        check(text, place, value);
      }
    }
  }
}

TEST(Ascii, EmptyTextIsAsciiAndPrintable) {
  EXPECT_TRUE(IsAscii(std::string_view()));
  EXPECT_TRUE(IsPrintableAscii(std::string_view()));
}

TEST(Ascii, ByteAbove127AnywhereIsNotAscii) {
  ForEachPlacedByte('a', [](const std::string& text, std::size_t place, int value) {
    ASSERT_EQ(value < 128, IsAscii(text)) << "byte " << value << " at " << place << " of " << text.size();
  });
}

TEST(Ascii, ControlCharacterAnywhereIsNotPrintable) {
  ForEachPlacedByte('~', [](const std::string& text, std::size_t place, int value) {
    ASSERT_EQ(32 <= value && value < 127, IsPrintableAscii(text))
        << "byte " << value << " at " << place << " of " << text.size();
  });
}

TEST(Ascii, CountsThePrintableWordsAtTheBeginning) {
  ForEachPlacedByte('~', [](const std::string& text, std::size_t place, int value) {
    const std::size_t words = (32 <= value && value < 127 ? text.size() : place) / sizeof(Word);
    ASSERT_EQ(words * sizeof(Word), PrintableWords(text))
        << "byte " << value << " at " << place << " of " << text.size();
  });
}

TEST(Ascii, OnlyLettersChangeTheirCase) {
  ForEachPlacedByte('m', [](const std::string& text, std::size_t place, int value) {
    if (value >= 128) return;
    std::string upper(text.size(), '-');
    std::string lower(text.size(), '-');
    WriteAsciiInCase(upper.data(), text, LetterCase::upper);
    WriteAsciiInCase(lower.data(), text, LetterCase::lower);
    std::string expectedUpper(text.size(), 'M');
    std::string expectedLower(text.size(), 'm');
    const char byte = static_cast<char>(value);
    expectedUpper[place] = 'a' <= byte && byte <= 'z' ? static_cast<char>(value - 32) : byte;
    expectedLower[place] = 'A' <= byte && byte <= 'Z' ? static_cast<char>(value + 32) : byte;
    ASSERT_EQ(expectedUpper, upper);
    ASSERT_EQ(expectedLower, lower);
  });
}

TEST(Ascii, WritesTheFormInPlace) {
  std::string text = "A name of more than one word";
  WriteAsciiInCase(text.data(), text, LetterCase::upper);
  EXPECT_EQ("A NAME OF MORE THAN ONE WORD", text);
}

}  // namespace
}  // namespace Ascii_test
}  // namespace quavmb
