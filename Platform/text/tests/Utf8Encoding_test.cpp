#include "Platform/text/Utf8Encoding.h"

#include <gtest/gtest.h>

#include <random>

namespace quavmb {
namespace Utf8Encoding_test {
namespace {

int Byte(std::string_view text, std::size_t i) { return i < text.size() ? static_cast<unsigned char>(text[i]) : -1; }
bool Within(int value, int first, int last) { return first <= value && value <= last; }

// The standard's table of well-formed sequences: the length of the sequence at the beginning, 0 for none.
std::size_t WellFormed(std::string_view text) {
  const int first = Byte(text, 0);
  const int second = Byte(text, 1);
  const auto trail = [&text](std::size_t i) { return Within(Byte(text, i), 0x80, 0xBF); };
  if (Within(first, 0x00, 0x7F)) return 1;
  if (Within(first, 0xC2, 0xDF)) return trail(1) ? 2 : 0;
  if (first == 0xE0) return Within(second, 0xA0, 0xBF) && trail(2) ? 3 : 0;
  if (first == 0xED) return Within(second, 0x80, 0x9F) && trail(2) ? 3 : 0;
  if (Within(first, 0xE1, 0xEF)) return trail(1) && trail(2) ? 3 : 0;
  if (first == 0xF0) return Within(second, 0x90, 0xBF) && trail(2) && trail(3) ? 4 : 0;
  if (first == 0xF4) return Within(second, 0x80, 0x8F) && trail(2) && trail(3) ? 4 : 0;
  if (Within(first, 0xF1, 0xF3)) return trail(1) && trail(2) && trail(3) ? 4 : 0;
  return 0;
}

void ExpectAsWellFormed(std::string_view text) {
  const Character character = Encoding::Utf8().First(text);
  const std::size_t expected = WellFormed(text);
  ASSERT_EQ(expected != 0, character.kind == Character::whole) << testing::PrintToString(text);
  ASSERT_LE(1u, character.length);
  ASSERT_LE(character.length, text.size());
  if (expected != 0) {
    ASSERT_EQ(expected, character.length) << testing::PrintToString(text);
  }
}

TEST(Utf8Encoding, RecognisesSequencesOfUpToThreeBytes) {
  for (int first = 0; first < 256; ++first) {
    for (int second = 0; second < 256; ++second) {
      for (const int third : {0x00, 0x20, 0x7F, 0x80, 0x81, 0xA0, 0xBF, 0xC0, 0xC2, 0xE0, 0xFF}) {
        const char bytes[] = {static_cast<char>(first), static_cast<char>(second), static_cast<char>(third)};
        for (std::size_t length = 1; length <= 3; ++length) ExpectAsWellFormed({bytes, length});
      }
    }
  }
}

TEST(Utf8Encoding, RecognisesSequencesOfFourBytes) {
  for (int first = 0xF0; first <= 0xFF; ++first) {
    for (int second = 0; second < 256; ++second) {
      for (const int third : {0x00, 0x7F, 0x80, 0xBF, 0xC0, 0xFF}) {
        for (const int fourth : {0x00, 0x7F, 0x80, 0xBF, 0xC0, 0xFF}) {
          const char bytes[] = {static_cast<char>(first), static_cast<char>(second), static_cast<char>(third),
                                static_cast<char>(fourth)};
          ExpectAsWellFormed({bytes, 4});
        }
      }
    }
  }
}

TEST(Utf8Encoding, DistinguishesCutCharactersFromInvalidBytes) {
  const struct {
    const char* what;
    std::string_view text;
    Character::Kind kind;
    std::size_t length;
  } rows[] = {
      {"first of two", "\xC3", Character::cut, 1},
      {"first of three", "\xE2", Character::cut, 1},
      {"two of three", "\xE2\x82", Character::cut, 2},
      {"three of four", "\xF0\x9F\x98", Character::cut, 3},
      {"first of three, then a letter", "\xE2x", Character::none, 1},
      {"two of three, then a letter", "\xE2\x82x", Character::none, 2},
      {"a trail byte", "\x82", Character::none, 1},
      {"not the shortest form", "\xC0\x80", Character::none, 1},
      {"a first byte of surrogates", "\xED\xA0", Character::none, 1},
      {"beyond the last code point", "\xF4\x90", Character::none, 1},
      {"a byte that is never used", "\xFF", Character::none, 1},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    const Character character = Encoding::Utf8().First(row.text);
    EXPECT_EQ(row.kind, character.kind);
    EXPECT_EQ(row.length, character.length);
  }
}

// Finds by a walk from the beginning what WholeCharacters finds from the end.
std::size_t WalkWholeCharacters(std::string_view text, std::size_t size) {
  std::size_t position = 0;
  while (position < text.size()) {
    const Character character = Encoding::Utf8().First(text.substr(position));
    if (character.kind == Character::cut) return position;
    // Bytes that form no character may be cut anywhere.
    const std::size_t step = character.kind == Character::whole ? character.length : 1;
    if (position + step > size) return position;
    position += step;
  }
  return position;
}

TEST(Utf8Encoding, CutsRandomBytesAsAWalkFromTheBeginningDoes) {
  std::mt19937 random(20240611);
  const std::string_view bytes = "a\x80\xBF\xC3\xE2\x82\xAC\xF0\x9F\x98\x80\xED\xA0\xFF";
  for (int round = 0; round < 200000; ++round) {
    std::string text(random() % 12, '\0');
    for (char& byte : text) byte = bytes[random() % bytes.size()];
    const std::size_t size = random() % 13;
    const std::size_t walked = WalkWholeCharacters(text, size);
    ASSERT_EQ(walked, Encoding::Utf8().WholeCharacters(text, size))
        << testing::PrintToString(text) << " to " << size << ", seed 20240611, round " << round;
  }
}

TEST(Utf8Encoding, AppendUtf8ReplacesUnpairedSurrogates) {
  std::string output = ">";
  AppendUtf8(output, std::u16string_view(u"a\u00E9\u20AC\U0001F600"));
  EXPECT_EQ(">a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", output);
  output.clear();
  const char16_t unpaired[] = {0xD800, u'x', 0xDC00};
  AppendUtf8(output, {unpaired, 3});
  EXPECT_EQ("\xEF\xBF\xBDx\xEF\xBF\xBD", output);
}

}  // namespace
}  // namespace Utf8Encoding_test
}  // namespace quavmb
