#include "tools/text/NearestName.h"

#include <gtest/gtest.h>

#include <string>

namespace NearestName_test {
namespace {

using tool::NearestName;
using tool::NearestNameHint;

TEST(NearestName, AllowsOneMistakeOfEachKind) {
  for (const char* typed : {"incme", "inncome", "inxome", "icnome", "INCOME", "ncome", "incom"})
    EXPECT_EQ("income", NearestName(typed, {"age", "income", "town"})) << typed;
}

TEST(NearestName, AllowsMoreMistakesInLongerNames) {
  EXPECT_EQ("", NearestName("abxy", {"abcd"}));
  EXPECT_EQ("abcdef", NearestName("abxyef", {"abcdef"}));
  EXPECT_EQ("", NearestName("axxxef", {"abcdef"}));
  EXPECT_EQ("abcdefghi", NearestName("axxxefghi", {"abcdefghi"}));
}

TEST(NearestName, TakesTheOneWithTheFewestMistakes) {
  EXPECT_EQ("count", NearestName("coumt", {"comet", "count", "county"}));
  EXPECT_EQ("var1", NearestName("var", {"var1", "var2"}));
}

TEST(NearestName, ShortNameIsNotRewrittenWhole) {
  EXPECT_EQ("", NearestName("x", {"y"}));
  EXPECT_EQ("", NearestName("", {"a"}));
  EXPECT_EQ("", NearestName("a", {}));
}

TEST(NearestName, VeryLongTextIsNobodysMistake) {
  const std::string name(200, 'a');
  EXPECT_EQ("", NearestName(name, {name}));
}

TEST(NearestName, HintIsEmptyWithoutAName) {
  EXPECT_EQ("; did you mean info?", NearestNameHint("ifno", {"cat", "info"}));
  EXPECT_EQ("", NearestNameHint("frobnicate", {"cat", "info"}));
}

}  // namespace
}  // namespace NearestName_test
