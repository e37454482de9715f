// Compares the tables of the single-byte code pages with ICU's conversions, from which they are made.

#include "Platform/text/SingleByteEncoding.h"

#include <gtest/gtest.h>
#include <unicode/uchar.h>

#include <string>

#include "Platform/text/Utf8Encoding.h"
#include "Platform/text/tests/KnownCodePages.h"

namespace quavmb {
namespace SingleByteEncoding_test {
namespace {

constexpr int kLastOfPlane = 0xFFFF;

class SingleByteCodePage : public testing::TestWithParam<int> {
 protected:
  std::string m_name = NameOf(GetParam());
  const Encoding& m_encoding = *Encoding::Find(m_name.c_str());
  IcuConverter m_icu{m_name};
};

// The byte's form by ICU's simple case mapping; the byte itself when the code page lacks the form.
template <class Mapping>
std::string InCaseByIcu(const IcuConverter& icu, const std::string& byte, Mapping mapping) {
  const auto character = icu.ToUnicode(byte);
  if (!character) return byte;
  const int before = character->front();
  const int after = mapping(before);
  if (after == before) return byte;
  return icu.FromUnicode(std::u16string(1, static_cast<char16_t>(after))).value_or(byte);
}

TEST_P(SingleByteCodePage, ReadsEachByteAsIcuDoes) {
  for (int value = 0; value < 256; ++value) {
    const std::string byte(1, static_cast<char>(value));
    const auto character = m_icu.ToUnicode(byte);
    std::string expected(kReplacementCharacter);
    if (character) {
      expected.clear();
      AppendUtf8(expected, *character);
    }
    std::string utf8;
    EXPECT_EQ(character.has_value(), m_encoding.ToUtf8(utf8, byte)) << value;
    EXPECT_EQ(expected, utf8) << value;
  }
}

TEST_P(SingleByteCodePage, WritesEachCharacterAsIcuDoes) {
  const std::string substitute = m_icu.Substitute();
  for (int codePoint = 0; codePoint <= kLastOfPlane; ++codePoint) {
    if (U_IS_SURROGATE(codePoint)) continue;
    const std::u16string character(1, static_cast<char16_t>(codePoint));
    const auto expected = m_icu.FromUnicode(character);
    std::string utf8;
    AppendUtf8(utf8, character);
    std::string bytes;
    // ICU takes the byte of another character for some private ones.
    const bool isExact = expected && m_icu.ToUnicode(*expected) == character;
    ASSERT_EQ(isExact, m_encoding.FromUtf8(bytes, utf8)) << codePoint;
    ASSERT_EQ(expected.value_or(substitute), bytes) << codePoint;
  }
}

TEST_P(SingleByteCodePage, LacksAllCharactersAbove16Bits) {
  for (const char* utf8 : {"\xF0\x90\x80\x80", "\xF0\x9F\x98\x80", "\xF4\x8F\xBF\xBF"}) {
    std::string bytes;
    EXPECT_FALSE(m_encoding.FromUtf8(bytes, utf8));
    EXPECT_EQ(m_icu.Substitute(), bytes);
  }
}

TEST_P(SingleByteCodePage, MapsTheCaseOfEachByteAsIcuDoes) {
  for (int value = 0; value < 256; ++value) {
    const std::string byte(1, static_cast<char>(value));
    EXPECT_EQ(InCaseByIcu(m_icu, byte, u_toupper), m_encoding.InCase(byte, LetterCase::upper)) << value;
    EXPECT_EQ(InCaseByIcu(m_icu, byte, u_tolower), m_encoding.InCase(byte, LetterCase::lower)) << value;
  }
}

TEST_P(SingleByteCodePage, EveryCharacterIsOneByte) {
  for (int value = 0; value < 256; ++value) {
    const std::string text{static_cast<char>(value), 'x'};
    const Character character = m_encoding.First(text);
    EXPECT_EQ(1u, character.length) << value;
    EXPECT_EQ(m_icu.ToUnicode(text.substr(0, 1)) ? Character::whole : Character::none, character.kind) << value;
    EXPECT_EQ(1u, m_encoding.WholeCharacters(text, 1)) << value;
  }
}

INSTANTIATE_TEST_SUITE_P(All, SingleByteCodePage, testing::ValuesIn(kSingleByteNumbers),
                         [](const auto& row) { return "Number" + std::to_string(row.param); });

}  // namespace
}  // namespace SingleByteEncoding_test
}  // namespace quavmb
