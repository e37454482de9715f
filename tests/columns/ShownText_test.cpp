#include "Columns/text/ShownText.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <utility>
#include <vector>

#include "Platform/text/QUAVMB.h"

namespace ShownText_test {
namespace {

class ShownText : public testing::Test {
 protected:
  ShownText() { SetUTF8mode(1); }
  ~ShownText() override { SetUTF8mode(m_mode); }

 private:
  int m_mode = qUTF8mode();
};

TEST_F(ShownText, KeepsUtf8Unchanged) {
  const std::string_view text = "Größe 東京";
  EXPECT_EQ(text.data(), dstext::ShownText("windows-1252").Valid(text).data());
}

TEST_F(ShownText, ConvertsFromTheEncodingOfTheFile) {
  dstext::ShownText shown("windows-1252");
  EXPECT_EQ("Größe €", shown.Valid("Gr\xF6\xDF"
                                   "e \x80"));
}

TEST_F(ShownText, ReplacesInvalidBytesOfAUtf8File) {
  dstext::ShownText shown("UTF-8");
  EXPECT_EQ("a\uFFFDb", shown.Valid("a\xFF"
                                    "b"));
}

// What is a character does not depend on the present encoding.
TEST_F(ShownText, KnowsTheCharactersOfUtf8) {
  constexpr std::array<unsigned char, 18> kBytes{0x41, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF, 0xC1,
                                                 0xC2, 0xDF, 0xE0, 0xE1, 0xED, 0xEF, 0xF0, 0xF4, 0xF5};
  std::vector<std::string> texts{""};
  for (int length = 1; length <= 4; ++length) {
    std::vector<std::string> longer;
    for (const std::string& text : texts)
      for (const unsigned char byte : kBytes) longer.push_back(text + static_cast<char>(byte));
    for (const std::string& text : longer) {
      bool isValid = true;
      for (int at = 0; isValid && at < length;) {
        const int size = QUAVMBmblen_A(text.data() + at, length - at);
        isValid = size > 0;
        at += size;
      }
      SetUTF8mode(0);
      QUAVMBConverterSet_A("windows-1252");
      EXPECT_EQ(isValid, dstext::IsValidUtf8(text)) << testing::PrintToString(text);
      QUAVMBConverterSet_A("");
      SetUTF8mode(1);
    }
    texts = std::move(longer);
  }
}

TEST_F(ShownText, TreatsAnUnknownEncodingAsUtf8) {
  dstext::ShownText shown("no such encoding");
  EXPECT_EQ("a\uFFFDb", shown.Valid("a\xFF"
                                    "b"));
}

TEST_F(ShownText, ReplacesATruncatedCharacter) {
  dstext::ShownText shown("UTF-8");
  EXPECT_EQ("ab\uFFFD", shown.Valid("ab\xC3"));
}

TEST(WithoutTrailingBlanks, RemovesOnlyTrailingBlanks) {
  EXPECT_EQ(" a b", dstext::WithoutTrailingBlanks(" a b  "));
  EXPECT_EQ("", dstext::WithoutTrailingBlanks("   "));
  EXPECT_EQ("", dstext::WithoutTrailingBlanks(""));
}

}  // namespace
}  // namespace ShownText_test
