#include "systemfile/Rename.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Rename_test {
namespace {

using QuavSystemFile::StringRef;

TEST(Rename, ComparesOnlyFirstNames) {
  EXPECT_TRUE((Rename{"A", "Z"} < Rename{"B", "A"}));
  EXPECT_FALSE((Rename{"B", "A"} < Rename{"A", "Z"}));
  EXPECT_FALSE((Rename{"A", "A"} < Rename{"A", "B"}));
  EXPECT_FALSE((Rename{"A", "B"} < Rename{"A", "A"}));
}

TEST(Rename, ComparesByBytes) {
  EXPECT_TRUE((Rename{"Z", ""} < Rename{"a", ""}));
  EXPECT_TRUE((Rename{"z", ""} < Rename{"\xC3\xA4", ""}));
  EXPECT_TRUE((Rename{"A", ""} < Rename{"AA", ""}));
  EXPECT_TRUE((Rename{"", ""} < Rename{"A", ""}));
}

TEST(Rename, SortedKeepsTheOrderOfEqualNames) {
  const Renames sorted = Sorted({{"B", "1"}, {"A", "2"}, {"B", "3"}, {"A", "4"}});
  std::string seconds;
  for (const Rename& rename : sorted) seconds += rename.second;
  EXPECT_EQ("2413", seconds);
}

TEST(Rename, SortedReturnsACopy) {
  const Renames renames{{"B", "1"}, {"A", "2"}};
  Sorted(renames);
  EXPECT_EQ("B", renames[0].first);
}

TEST(FindRename, FindsEachName) {
  const Renames sorted{{"A", "1"}, {"C", "2"}, {"E", "3"}};
  for (const Rename& rename : sorted) EXPECT_EQ(&rename, FindRename(sorted, rename.first));
}

TEST(FindRename, ReturnsNullForAnUnknownName) {
  const Renames sorted{{"B", "1"}, {"D", "2"}};
  for (const char* name : {"", "A", "C", "E", "BB", "b"}) EXPECT_EQ(nullptr, FindRename(sorted, name)) << name;
  EXPECT_EQ(nullptr, FindRename({}, "A"));
}

TEST(FindRename, FindsTheFirstOfEqualNames) {
  const Renames sorted{{"A", "1"}, {"B", "2"}, {"B", "3"}};
  EXPECT_EQ(&sorted[1], FindRename(sorted, "B"));
}

// Only the first names are searched.
TEST(FindRename, IgnoresSecondNames) {
  const Renames sorted{{"A", "B"}};
  EXPECT_EQ(nullptr, FindRename(sorted, "B"));
}

TEST(StringRef, ComparesByBytes) {
  EXPECT_TRUE(StringRef("A") < StringRef("B"));
  EXPECT_FALSE(StringRef("B") < StringRef("A"));
  EXPECT_TRUE(StringRef("") < StringRef("A"));
  EXPECT_TRUE(StringRef("A") < StringRef("AA"));
  EXPECT_TRUE(StringRef("Z") < StringRef("a"));
  EXPECT_TRUE(StringRef("z") < StringRef("\xC3\xA4"));
}

TEST(StringRef, EqualTextsAtDifferentAddressesAreEquivalent) {
  const std::string a = "NAME", b = "NAME";
  EXPECT_FALSE(StringRef(a.c_str()) < StringRef(b.c_str()));
  EXPECT_FALSE(StringRef(b.c_str()) < StringRef(a.c_str()));
}

TEST(StringRef, DoesNotCopyTheText) {
  std::string text = "A";
  const StringRef ref(text.c_str());
  text[0] = 'C';
  EXPECT_TRUE(StringRef("B") < ref);
}

}  // namespace
}  // namespace Rename_test
