#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <utility>
#include <vector>

#include "datasrc/DatasourceAttributes.h"

namespace Attributes_test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

auto Asserts(const std::string& text) { return testing::HasSubstr("assertion failed: " + text + "\n"); }

using Entries = std::vector<std::pair<std::string, std::vector<std::string>>>;

DatasourceAttributes Make(const Entries& entries) {
  DatasourceAttributes attributes;
  for (const auto& [name, values] : entries) attributes.Define(name, values);
  return attributes;
}

Entries AllOf(const DatasourceAttributes& attributes) {
  Entries entries;
  for (unsigned long k = 0; k < attributes.Size(); ++k) entries.emplace_back(attributes.Name(k), attributes.Values(k));
  return entries;
}

DatasourceAttributes EmptyList() {
  DatasourceAttributes attributes;
  attributes.Change();
  return attributes;
}

TEST(Attributes, AreEmptyByDefault) {
  const DatasourceAttributes attributes;
  EXPECT_EQ(0u, attributes.Size());
  EXPECT_EQ(-1, attributes.Index("a"));
  EXPECT_THAT(attributes.Values("a"), IsEmpty());
}

TEST(Attributes, KeepTheOrderOfTheirFirstDefinition) {
  const DatasourceAttributes attributes = Make({{"b", {"1"}}, {"a", {"2", "3"}}, {"c", {}}, {"a", {"4"}}});
  EXPECT_EQ((Entries{{"b", {"1"}}, {"a", {"4"}}, {"c", {}}}), AllOf(attributes));
}

TEST(Attributes, AreFoundInAnyCase) {
  const DatasourceAttributes attributes = Make({{"Alpha", {"1"}}, {"Beta", {"2"}}});
  EXPECT_EQ(1, attributes.Index("bETA"));
  EXPECT_THAT(attributes.Values("ALPHA"), ElementsAre("1"));
  EXPECT_EQ(-1, attributes.Index("Alph"));
  EXPECT_EQ(-1, attributes.Index(""));
}

TEST(Attributes, RedefinitionChangesTheSpellingInPlace) {
  const DatasourceAttributes attributes = Make({{"Alpha", {"1"}}, {"Beta", {"2"}}, {"ALPHA", {"3", "4"}}});
  EXPECT_EQ((Entries{{"ALPHA", {"3", "4"}}, {"Beta", {"2"}}}), AllOf(attributes));
}

TEST(Attributes, ValuesHoldAnyBytes) {
  const std::string bytes("\0\xFF'\"\n", 5);
  EXPECT_THAT(Make({{"a", {bytes, ""}}}).Values(0), ElementsAre(bytes, ""));
}

TEST(AttributesDeathTest, IndexPastTheLastEntryAsserts) {
  DatasourceAttributes attributes = Make({{"a", {}}});
  EXPECT_DEATH((void)attributes.Name(1), Asserts("k < Size()"));
  EXPECT_DEATH((void)attributes.Values(1), Asserts("k < Size()"));
  EXPECT_DEATH(attributes.Delete(1), Asserts("k < Size()"));
  EXPECT_DEATH((void)DatasourceAttributes().Name(0), Asserts("k < Size()"));
}

// ---- Deleting ----

TEST(Attributes, DeletionMovesLaterEntriesUp) {
  DatasourceAttributes attributes = Make({{"a", {"1"}}, {"b", {"2"}}, {"c", {"3"}}});
  attributes.Delete(1);
  EXPECT_EQ((Entries{{"a", {"1"}}, {"c", {"3"}}}), AllOf(attributes));
}

TEST(Attributes, DeletionByNameReturnsWhetherTheNameExisted) {
  DatasourceAttributes attributes = Make({{"Alpha", {}}, {"Beta", {}}});
  EXPECT_TRUE(attributes.Delete("alpha"));
  EXPECT_FALSE(attributes.Delete("alpha"));
  EXPECT_EQ((Entries{{"Beta", {}}}), AllOf(attributes));
  EXPECT_FALSE(DatasourceAttributes().Delete("a"));
}

TEST(Attributes, DeletionOfTheLastEntryLeavesNoList) {
  DatasourceAttributes attributes = Make({{"a", {}}});
  attributes.Delete("a");
  EXPECT_TRUE(attributes == DatasourceAttributes());
  EXPECT_FALSE(attributes == EmptyList());
}

// ---- Copying ----

TEST(Attributes, CopiesAreDeep) {
  DatasourceAttributes original = Make({{"a", {"1"}}});
  const DatasourceAttributes copy(original);
  DatasourceAttributes assigned = Make({{"x", {"9"}}});
  assigned = original;
  original.Define("a", {"2"});
  EXPECT_THAT(copy.Values("a"), ElementsAre("1"));
  EXPECT_EQ((Entries{{"a", {"1"}}}), AllOf(assigned));
}

TEST(Attributes, AssignmentKeepsNoListAndAnEmptyListApart) {
  DatasourceAttributes attributes = Make({{"a", {"1"}}});
  attributes = DatasourceAttributes();
  EXPECT_TRUE(attributes == DatasourceAttributes());
  attributes = EmptyList();
  EXPECT_TRUE(attributes == EmptyList());
  EXPECT_TRUE(DatasourceAttributes(EmptyList()) == EmptyList());
}

TEST(Attributes, SelfAssignmentDoesNothing) {
  DatasourceAttributes attributes = Make({{"a", {"1"}}});
  const DatasourceAttributes& same = attributes;
  attributes = same;
  EXPECT_EQ((Entries{{"a", {"1"}}}), AllOf(attributes));
}

// ---- Merging ----

TEST(Attributes, MergeAddsMissingEntries) {
  const DatasourceAttributes other = Make({{"A", {"9"}}, {"b", {"2"}}});
  DatasourceAttributes attributes = Make({{"a", {"1"}}});
  EXPECT_TRUE(attributes.Merge(other, false));
  EXPECT_EQ((Entries{{"a", {"1"}}, {"b", {"2"}}}), AllOf(attributes));
  EXPECT_FALSE(attributes.Merge(other, false));
}

TEST(Attributes, MergeReplacesDifferentValuesOnRequest) {
  struct Row {
    const char* name;
    std::vector<std::string> values;
    bool changed;
    Entries result;
  };
  const Row rows[] = {
      {"other value", {"1", "x"}, true, {{"A", {"1", "x"}}}},
      {"other case of a value", {"1", "B"}, true, {{"A", {"1", "B"}}}},
      {"fewer values", {"1"}, true, {{"A", {"1"}}}},
      {"more values", {"1", "b", ""}, true, {{"A", {"1", "b", ""}}}},
      {"only the case of the name differs", {"1", "b"}, false, {{"a", {"1", "b"}}}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    DatasourceAttributes attributes = Make({{"a", {"1", "b"}}});
    EXPECT_EQ(row.changed, attributes.Merge(Make({{"A", row.values}}), true));
    EXPECT_EQ(row.result, AllOf(attributes));
  }
}

TEST(Attributes, MergeWithNothingOrItselfChangesNothing) {
  DatasourceAttributes attributes = Make({{"a", {"1"}}});
  EXPECT_FALSE(attributes.Merge(DatasourceAttributes(), true));
  EXPECT_FALSE(attributes.Merge(EmptyList(), true));
  EXPECT_FALSE(attributes.Merge(attributes, true));
  EXPECT_EQ((Entries{{"a", {"1"}}}), AllOf(attributes));
}

// ---- Equality ----

TEST(Attributes, EqualityComparesBytesAndOrder) {
  const DatasourceAttributes attributes = Make({{"a", {"1", "2"}}, {"b", {}}});
  EXPECT_TRUE(attributes == attributes);
  EXPECT_TRUE(attributes == Make({{"a", {"1", "2"}}, {"b", {}}}));
  EXPECT_FALSE(attributes == Make({{"b", {}}, {"a", {"1", "2"}}}));
  EXPECT_FALSE(attributes == Make({{"A", {"1", "2"}}, {"b", {}}}));
  EXPECT_FALSE(attributes == Make({{"a", {"2", "1"}}, {"b", {}}}));
  EXPECT_FALSE(attributes == Make({{"a", {"1", "2"}}}));
  EXPECT_FALSE(attributes == DatasourceAttributes());
  EXPECT_FALSE(DatasourceAttributes() == attributes);
}

TEST(Attributes, EqualityIgnoresTheChangeCount) {
  DatasourceAttributes attributes = Make({{"a", {"1"}}});
  attributes.Change();
  attributes.Change();
  EXPECT_TRUE(attributes == Make({{"a", {"1"}}}));
}

TEST(Attributes, NoListDiffersFromAnEmptyList) {
  EXPECT_FALSE(DatasourceAttributes() == EmptyList());
  EXPECT_FALSE(EmptyList() == DatasourceAttributes());
  EXPECT_TRUE(DatasourceAttributes() == DatasourceAttributes());
  EXPECT_TRUE(EmptyList() == EmptyList());
}

// ---- Many at once ----

TEST(DatasourceAttributes, DefiningAllEqualsDefiningOneByOne) {
  for (unsigned seed = 0; seed < 200; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    const std::vector<std::string> names = {"a", "A", "b", "B", "\xC3\xA4", "", "c", "cc", "CC"};
    const auto entries = [&] {
      std::vector<DatasourceAttributes::Entry> made(random() % 8);
      for (auto& [name, values] : made) {
        name = names[random() % names.size()];
        values.assign(random() % 3, std::to_string(random() % 4));
      }
      return made;
    };
    DatasourceAttributes oneByOne;
    DatasourceAttributes atOnce;
    for (int round = 0; round < 3; ++round) {
      const std::vector<DatasourceAttributes::Entry> more = entries();
      for (const auto& [name, values] : more) oneByOne.Define(name, values);
      atOnce.DefineAll(more);
      EXPECT_TRUE(oneByOne == atOnce);
    }
  }
}

TEST(DatasourceAttributes, MovedSetHasTheEntries) {
  DatasourceAttributes set;
  set.Define("a", {"1"});
  DatasourceAttributes taken(std::move(set));
  EXPECT_EQ(1u, taken.Size());
  DatasourceAttributes assigned;
  assigned.Define("b", {"2"});
  assigned = std::move(taken);
  EXPECT_EQ(0, assigned.Index("a"));
  EXPECT_EQ(-1, assigned.Index("b"));
}

}  // namespace
}  // namespace Attributes_test
