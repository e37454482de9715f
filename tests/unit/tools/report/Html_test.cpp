#include "tools/report/Html.h"

#include <gtest/gtest.h>

#include <string>

namespace Html_test {
namespace {

std::string Html(std::string_view text) {
  std::string out;
  tool::AppendHtml(out, text);
  return out;
}

std::string Length(double length) {
  std::string out;
  tool::AppendLength(out, length);
  return out;
}

TEST(Html, EscapesWhatIsMarkup) {
  EXPECT_EQ("&lt;b class=&quot;x&quot; id=&#39;y&#39;&gt;&amp;amp;", Html("<b class=\"x\" id='y'>&amp;"));
}

TEST(Html, KeepsLettersOfAnyScript) { EXPECT_EQ("Größe 東京 שאלה\t\n", Html("Größe 東京 שאלה\t\n")); }

TEST(Html, ReplacesControlCharacters) {
  using namespace std::string_literals;
  EXPECT_EQ("a\uFFFDb\uFFFDc\uFFFD\uFFFDd", Html("a\0b\x1b"s + "c\u0080\u009Fd"));
  EXPECT_EQ("\u00A0", Html("\u00A0"));
}

TEST(Html, WritesLengthsWithAtMostTwoDecimals) {
  EXPECT_EQ("0", Length(0));
  EXPECT_EQ("12", Length(12));
  EXPECT_EQ("10", Length(9.999));
  EXPECT_EQ("0.5", Length(0.5));
  EXPECT_EQ("33.33", Length(100.0 / 3));
}

}  // namespace
}  // namespace Html_test
