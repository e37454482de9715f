#include "Platform/text/MultiByteEncoding.h"

#include <gtest/gtest.h>
#include <unicode/utf16.h>

#include <random>
#include <string>

#include "Platform/text/Utf8Encoding.h"
#include "Platform/text/tests/KnownCodePages.h"

namespace quavmb {
namespace MultiByteEncoding_test {
namespace {

constexpr int kLastCodePoint = 0x10FFFF;
constexpr int kStep = 101;

class MultiByteCodePage : public testing::TestWithParam<int> {
 protected:
  // Calls `check` with the bytes of the code page's characters: of all in the first 16 bits, and above them of one in
  // kStep, because one code page has a million.
  template <class Check>
  void ForEachCharacter(Check check) const {
    for (int codePoint = 0; codePoint <= kLastCodePoint; codePoint += codePoint <= 0xFFFF ? 1 : kStep) {
      if (U_IS_SURROGATE(codePoint)) continue;
      char16_t units[2];
      int length = 0;
      U16_APPEND_UNSAFE(units, length, codePoint);
      const auto bytes = m_icu.FromUnicode({units, static_cast<std::size_t>(length)});
      if (bytes) check(*bytes);
      if (HasFatalFailure()) return;
    }
  }

  std::string m_name = NameOf(GetParam());
  const Encoding& m_encoding = *Encoding::Find(m_name.c_str());
  IcuConverter m_icu{m_name};
};

TEST_P(MultiByteCodePage, FindsEachWholeCharacterWhateverFollows) {
  int count = 0;
  ForEachCharacter([this, &count](const std::string& bytes) {
    ++count;
    for (const char* behind : {"", "A", "\xFF", "\x81"}) {
      const Character character = m_encoding.First(bytes + behind);
      ASSERT_EQ(Character::whole, character.kind) << testing::PrintToString(bytes + behind);
      ASSERT_EQ(bytes.size(), character.length) << testing::PrintToString(bytes + behind);
    }
  });
  EXPECT_LT(7000, count);
}

TEST_P(MultiByteCodePage, RecognisesCutCharacters) {
  ForEachCharacter([this](const std::string& bytes) {
    for (std::size_t length = 1; length < bytes.size(); ++length) {
      ASSERT_EQ(Character::cut, m_encoding.First(bytes.substr(0, length)).kind) << testing::PrintToString(bytes);
      ASSERT_EQ(0u, m_encoding.WholeCharacters(bytes, length)) << testing::PrintToString(bytes);
      ASSERT_EQ(0u, m_encoding.WholeCharacters(bytes.substr(0, length), 8)) << testing::PrintToString(bytes);
    }
  });
}

TEST_P(MultiByteCodePage, ConvertsAsIcuDoes) {
  ForEachCharacter([this](const std::string& bytes) {
    std::string expected;
    AppendUtf8(expected, m_icu.ToUnicode(bytes).value_or(u""));
    std::string utf8;
    ASSERT_TRUE(m_encoding.ToUtf8(utf8, bytes)) << testing::PrintToString(bytes);
    ASSERT_EQ(expected, utf8) << testing::PrintToString(bytes);
  });
}

TEST_P(MultiByteCodePage, AlwaysAdvancesAndStaysInsideTheText) {
  std::mt19937 random(77);
  for (int round = 0; round < 100000; ++round) {
    std::string text(1 + random() % 6, '\0');
    for (char& byte : text) byte = static_cast<char>(random());
    const Character character = m_encoding.First(text);
    ASSERT_LE(1u, character.length) << testing::PrintToString(text);
    ASSERT_LE(character.length, text.size()) << testing::PrintToString(text);
  }
}

TEST_P(MultiByteCodePage, MapsTheCaseOfRandomBytesCharacterByCharacter) {
  std::mt19937 random(78);
  for (int round = 0; round < 20000; ++round) {
    std::string text(random() % 8, '\0');
    for (char& byte : text) byte = static_cast<char>(random());
    std::string expected;
    for (std::string_view rest = text; !rest.empty();) {
      const Character character = m_encoding.First(rest);
      const std::string_view bytes = rest.substr(0, character.length);
      expected += character.kind == Character::whole ? m_encoding.InCase(bytes, LetterCase::upper) : std::string(bytes);
      rest.remove_prefix(character.length);
    }
    ASSERT_EQ(expected, m_encoding.InCase(text, LetterCase::upper))
        << testing::PrintToString(text) << ", seed 78, round " << round;
  }
}

INSTANTIATE_TEST_SUITE_P(All, MultiByteCodePage, testing::ValuesIn(kMultiByteNumbers),
                         [](const auto& row) { return "Number" + std::to_string(row.param); });

std::string InCase(const char* codePage, const std::string& text, LetterCase to) {
  return Encoding::Find(codePage)->InCase(text, to);
}

TEST(MultiByteEncoding, MapsTheCaseOfSingleAndMultiByteLetters) {
  // The letter a, a Greek letter, a Cyrillic letter, a wide letter.
  EXPECT_EQ("A\x83\x9F\x84\x40\x82\x60", InCase("Shift_JIS", "a\x83\xBF\x84\x70\x82\x81", LetterCase::upper));
  EXPECT_EQ("a\x83\xBF\x84\x70\x82\x81", InCase("Shift_JIS", "A\x83\x9F\x84\x40\x82\x60", LetterCase::lower));
}

TEST(MultiByteEncoding, KeepsLaterBytesThatLookLikeLetters) {
  const std::string katakana = "\x83\x61\x83\x62\x83\x41";
  EXPECT_EQ(katakana, InCase("Shift_JIS", katakana, LetterCase::upper));
  EXPECT_EQ(katakana, InCase("Shift_JIS", katakana, LetterCase::lower));
}

TEST(MultiByteEncoding, KeepsLettersWhoseOtherCaseTheCodePageLacks) {
  const std::string small = "\xA9\xB0";  // n after an apostrophe, whose upper-case form is two characters
  EXPECT_EQ(small, InCase("windows-949", small, LetterCase::upper));
}

TEST(MultiByteEncoding, KeepsBytesThatFormNoCharacter) {
  EXPECT_EQ("A\xFF\x82", InCase("Shift_JIS", "a\xFF\x82", LetterCase::upper));
  EXPECT_EQ(
      "\x81\xFF"
      "A",
      InCase("Shift_JIS",
             "\x81\xFF"
             "a",
             LetterCase::upper));
}

TEST(MultiByteEncoding, MapsLettersThatTheCodePageHasTwice) {
  // A small Roman numeral, at its two places.
  EXPECT_EQ("\x87\x54", InCase("Shift_JIS", "\xFA\x40", LetterCase::upper));
  EXPECT_EQ("\x87\x54", InCase("Shift_JIS", "\xEE\xEF", LetterCase::upper));
}

}  // namespace
}  // namespace MultiByteEncoding_test
}  // namespace quavmb
