#include "sources/VariableFinder.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>

#include "tests/support/MemorySource.h"

namespace VariableFinder_test {
namespace {

// Returns the column from the finder, and expects the search through the dictionary to agree.
int Found(VariableFinder& finder, const QUAV_DataSource& source, const std::string& name) {
  const int column = finder.Find(name);
  EXPECT_EQ(source.FindVarIndex(name.c_str(), 0), column) << '"' << name << '"';
  return column;
}

MemorySource SourceOf(std::initializer_list<const char*> names) {
  MemorySource source;
  for (const char* name : names) source.AddNumber(name);
  return source;
}

TEST(VariableFinder, FindsTheColumnOfEachName) {
  const MemorySource source = SourceOf({"B", "A", "C"});
  VariableFinder finder(source);
  EXPECT_EQ(0, Found(finder, source, "B"));
  EXPECT_EQ(1, Found(finder, source, "A"));
  EXPECT_EQ(2, Found(finder, source, "C"));
}

TEST(VariableFinder, ReturnsMinus1ForAnUnknownName) {
  const MemorySource source = SourceOf({"A", "AB"});
  VariableFinder finder(source);
  for (const char* name : {"", "B", "ABC", " A", "@"}) EXPECT_EQ(-1, Found(finder, source, name));
}

TEST(VariableFinder, FindsNothingInAnEmptyDictionary) {
  const MemorySource source;
  VariableFinder finder(source);
  EXPECT_EQ(-1, Found(finder, source, "A"));
  EXPECT_EQ(-1, Found(finder, source, ""));
}

TEST(VariableFinder, IgnoresCase) {
  const MemorySource source = SourceOf({"Salary", "\xC3\xA4rger"});
  VariableFinder finder(source);
  EXPECT_EQ(0, Found(finder, source, "SALARY"));
  EXPECT_EQ(0, Found(finder, source, "sALARY"));
  EXPECT_EQ(1, Found(finder, source, "\xC3\x84RGER"));
}

TEST(VariableFinder, IgnoresTrailingBlanks) {
  const MemorySource source = SourceOf({"A", ""});
  VariableFinder finder(source);
  EXPECT_EQ(0, Found(finder, source, "A   "));
  // The first character of the sought name counts even when it is a blank.
  EXPECT_EQ(-1, Found(finder, source, " "));
  EXPECT_EQ(-1, Found(finder, source, "   "));
}

TEST(VariableFinder, FindsTheFirstColumnOfEqualNames) {
  const MemorySource source = SourceOf({"X", "Name", "NAME", "name"});
  VariableFinder finder(source);
  EXPECT_EQ(1, Found(finder, source, "name"));
}

TEST(VariableFinder, FindsAnEmptyName) {
  const MemorySource source = SourceOf({"A", "", "B"});
  VariableFinder finder(source);
  EXPECT_EQ(1, Found(finder, source, ""));
}

// Names that differ only after these bytes are equal.
TEST(VariableFinder, ComparesTheFirst128Bytes) {
  const std::string same(128, 'A');
  const MemorySource source = SourceOf({(same + "B").c_str(), (same + "C").c_str()});
  VariableFinder finder(source);
  EXPECT_EQ(0, Found(finder, source, same + "C"));
  EXPECT_EQ(0, Found(finder, source, same));
  EXPECT_EQ(-1, Found(finder, source, same.substr(1)));
}

TEST(VariableFinder, FollowsNamesThatBecomeEmpty) {
  MemorySource source = SourceOf({"A", "a", "B"});
  VariableFinder finder(source);
  EXPECT_EQ(0, Found(finder, source, "A"));
  source.GetVariable(0).SetName("");
  EXPECT_EQ(1, Found(finder, source, "A"));
  source.GetVariable(1).SetName("");
  EXPECT_EQ(-1, Found(finder, source, "A"));
  EXPECT_EQ(2, Found(finder, source, "B"));
}

TEST(VariableFinder, UsesTheLengthOfTheName) {
  const MemorySource source = SourceOf({"AB"});
  VariableFinder finder(source);
  EXPECT_EQ(0, finder.Find(std::string_view("ABCD").substr(0, 2)));
}

}  // namespace
}  // namespace VariableFinder_test
