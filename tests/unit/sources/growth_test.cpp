// Dictionaries with many parts: work on them does not grow as the square of their number.

#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "datasrc/QUAV_ValueLabelMap.h"
#include "datasrc/UTF8DataSource.h"
#include "datasrc/VariableSet.h"
#include "sources/QUAV_DataSourceData.h"
#include "tests/support/Growth.h"
#include "tests/support/MemorySource.h"

namespace growth_test {
namespace {

std::string NameOf(int number) { return "variable_" + std::to_string(number); }

MemorySource SourceOf(int columns, int width = 0) {
  MemorySource source;
  for (int column = 0; column < columns; ++column)
    width == 0 ? source.AddNumber(NameOf(column).c_str()) : source.AddText(NameOf(column).c_str(), width);
  return source;
}

VariableSet SetOf(int members) {
  VariableSet set("set", VariableSet::kPlain);
  for (int member = 0; member < members; ++member) set.AddVariableName(NameOf(member));
  return set;
}

VariableSetImpl StoredSetOf(const QUAV_DataSource& source, int members) {
  VariableSetImpl set;
  for (int column = 0; column < members; ++column) set.members.push_back(source.GetVariable(column).GetID());
  return set;
}

// ---- Value labels ----

std::vector<ValueLabel> PairsWithNaN(int count) {
  std::vector<ValueLabel> pairs = {{{NumberCell(std::numeric_limits<double>::quiet_NaN())}, "NaN"}};
  for (int i = 0; i < count; ++i) pairs.push_back({{NumberCell(-i)}, "label"});
  return pairs;
}

TEST(GrowthOfValueLabels, WithANaNIsNotSquare) {
  EXPECT_LT(Growth(10000,
                   [](int n) {
                     return [pairs = PairsWithNaN(n)] {
                       QUAV_ValueLabelMap map(0);
                       map.AddPairs(pairs);
                       ASSERT_EQ(map.Size(), static_cast<int>(pairs.size()));
                     };
                   }),
            kLessThanSquare);
}

TEST(GrowthOfValueLabels, InDescendingOrderIsNotSquare) {
  EXPECT_LT(Growth(2000,
                   [](int n) {
                     return [n] {
                       QUAV_ValueLabelMap map(0);
                       for (double value = n; value > 0; --value) map.AddPair(value, "label");
                       ASSERT_EQ(map.Size(), n);
                     };
                   }),
            kLessThanSquare);
}

// More pairs than a block of the order holds, in all orders.
TEST(ValueLabels, ManyWithNaNsAreAsAddedOneByOne) {
  std::mt19937 random(1);
  std::vector<ValueLabel> pairs;
  for (int i = 0; i < 6000; ++i) {
    const double value =
        random() % 300 == 0 ? std::numeric_limits<double>::quiet_NaN() : static_cast<double>(random() % 5000);
    pairs.push_back({{NumberCell(value)}, std::to_string(i)});
  }
  QUAV_VLMapImpl oneByOne(0);
  for (const ValueLabel& pair : pairs) oneByOne.Add(pair);
  QUAV_VLMapImpl atOnce(0);
  atOnce.AddAll({pairs.begin(), pairs.begin() + 2000});
  atOnce.AddAll({pairs.begin() + 2000, pairs.end()});
  ASSERT_EQ(atOnce.Pairs().size(), oneByOne.Pairs().size());
  for (std::size_t i = 0; i < oneByOne.Pairs().size(); ++i) {
    ASSERT_EQ(atOnce.Pairs()[i].value, oneByOne.Pairs()[i].value) << i;
    ASSERT_EQ(atOnce.Pairs()[i].label, oneByOne.Pairs()[i].label) << i;
  }
}

// ---- Attributes ----

DatasourceAttributes AttributesOf(int count, const std::string& prefix) {
  std::vector<DatasourceAttributes::Entry> entries;
  for (int i = 0; i < count; ++i) entries.push_back({prefix + std::to_string(i), {"value"}});
  DatasourceAttributes attributes;
  attributes.DefineAll(std::move(entries));
  return attributes;
}

TEST(GrowthOfAttributes, ThroughAViewIsNotSquare) {
  EXPECT_LT(Growth(1000,
                   [](int n) {
                     MemorySource source;
                     source.SetAttributes(AttributesOf(n, "a"));
                     return [source, n] {
                       const UTF8DataSource view(source, "windows-1252", nullptr);
                       ASSERT_EQ(view.GetAttributes().Size(), static_cast<unsigned long>(n));
                     };
                   }),
            kLessThanSquare);
}

TEST(GrowthOfAttributes, MergedIsNotSquare) {
  EXPECT_LT(Growth(1000,
                   [](int n) {
                     return [all = AttributesOf(n, "a"), more = AttributesOf(n, "b"), n]() mutable {
                       ASSERT_TRUE(all.Merge(more, true));
                       ASSERT_EQ(all.Size(), 2 * static_cast<unsigned long>(n));
                     };
                   }),
            kLessThanSquare);
}

// ---- Columns ----

TEST(GrowthOfColumns, AllSetAtOnceIsNotSquare) {
  EXPECT_LT(Growth(10000,
                   [](int n) {
                     MemorySource source = SourceOf(n, 8);
                     std::vector<QUAV_Variable> variables;
                     for (int column = 0; column < n; ++column) {
                       variables.push_back(std::as_const(source).GetVariable(column));
                       variables.back().SetType(24);
                     }
                     return [source = std::move(source), variables = std::move(variables), n]() mutable {
                       SetAllVariables(source, std::move(variables));
                       ASSERT_EQ(source.GetObsAreaSize(), 3 * static_cast<unsigned int>(n));
                       ASSERT_EQ(source.ObsIndex(n - 1), 3 * (n - 1));
                     };
                   }),
            kLessThanSquare);
}

// ---- Sets ----

TEST(GrowthOfSets, OfMembersAddedOneByOneIsNotSquare) {
  EXPECT_LT(Growth(1000,
                   [](int n) {
                     return
                         [n] { ASSERT_EQ(SetOf(n).GetVariableNames(VariableSet::kAsStored).size(), std::size_t(n)); };
                   }),
            kLessThanSquare);
}

TEST(GrowthOfSets, WithALabelOfTheVariablesIsNotSquare) {
  EXPECT_LT(Growth(1000,
                   [](int n) {
                     VariableSet set = SetOf(n);
                     set.LabelSetByVariable(true);
                     return [set, source = SourceOf(n)]() mutable { ASSERT_EQ(set.GetLabel(source), NameOf(0)); };
                   }),
            kLessThanSquare);
}

TEST(GrowthOfSets, StoredWithoutAnIndexIsNotSquare) {
  EXPECT_LT(Growth(1000,
                   [](int n) {
                     return [set = SetOf(n), source = SourceOf(n), n] {
                       VariableSetImpl stored;
                       ConvertToImpl(set, source, stored, nullptr);
                       ASSERT_EQ(stored.members.size(), std::size_t(n));
                     };
                   }),
            kLessThanSquare);
}

TEST(GrowthOfSets, ConvertedWithoutAMapIsNotSquare) {
  EXPECT_LT(Growth(2000,
                   [](int n) {
                     MemorySource source = SourceOf(n);
                     const VariableSetImpl stored = StoredSetOf(source, n);
                     return [stored, source = std::move(source), n] {
                       std::map<LocallyUniqueID, int> columns;
                       VariableSet set;
                       ConvertToVarSet(stored, source, set, columns);
                       ASSERT_EQ(set.GetVariableNames(VariableSet::kAsStored).size(), std::size_t(n));
                       ASSERT_TRUE(columns.empty());
                     };
                   }),
            kLessThanSquare);
}

// The half of the members that is left is in ten sets.
TEST(GrowthOfSets, WithMembersThatAreDeletedIsNotSquare) {
  EXPECT_LT(Growth(4000,
                   [](int n) {
                     MemorySource source = SourceOf(n);
                     source.SetMRSets(std::vector<VariableSetImpl>(10, StoredSetOf(source, n)));
                     source.DeleteVariables(0, n / 2 - 1);
                     return [source = std::move(source), n] {
                       const std::vector<VariableSet> sets = VariableSets(source, kMRSets);
                       ASSERT_EQ(sets.size(), 10u);
                       ASSERT_EQ(sets[9].GetVariableNames(VariableSet::kAsStored).size(), std::size_t(n) / 2);
                     };
                   }),
            kLessThanSquare);
}

}  // namespace
}  // namespace growth_test
