#include "Columns/text/ShownText.h"

#include <gtest/gtest.h>

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
