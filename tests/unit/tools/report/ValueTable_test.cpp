#include "tools/report/ValueTable.h"

#include <gtest/gtest.h>

#include <optional>
#include <vector>

namespace ValueTable_test {
namespace {

using tool::ValueCount;
using tool::VariableStatistics;

// A numeric variable with the values 1 to `bare` without labels, and one with a label.
VariableStatistics Numbers(int bare) {
  VariableStatistics figures;
  figures.n = bare + 1;
  figures.distinct = bare + 1;
  figures.values.emplace();
  for (int i = 1; i <= bare; ++i) figures.values->push_back({.number = static_cast<double>(i), .n = 1, .weighted = 1});
  figures.values->push_back({.number = 99, .label = "refused", .n = 1, .weighted = 1});
  return figures;
}

TEST(ValueTable, ShowsAllOfFewValues) {
  const VariableStatistics figures = Numbers(12);
  EXPECT_FALSE(tool::HasHistogram(figures));
  EXPECT_EQ(13u, tool::TableValues(figures).size());
}

TEST(ValueTable, ShowsLabelledValuesBesideAHistogram) {
  VariableStatistics figures = Numbers(13);
  figures.values->push_back({.number = -1, .n = 2, .weighted = 2, .isMissing = true});
  EXPECT_TRUE(tool::HasHistogram(figures));
  EXPECT_EQ(2u, tool::TableValues(figures).size());
}

TEST(ValueTable, HasAHistogramForNumbersThatAreNotListed) {
  VariableStatistics figures;
  figures.n = 1;
  EXPECT_TRUE(tool::HasHistogram(figures));
  EXPECT_TRUE(tool::TableValues(figures).empty());
  figures.n = 0;
  EXPECT_FALSE(tool::HasHistogram(figures));
}

TEST(ValueTable, HasNoHistogramForTexts) {
  VariableStatistics figures = Numbers(40);
  figures.isNumber = false;
  EXPECT_FALSE(tool::HasHistogram(figures));
  EXPECT_EQ(41u, tool::TableValues(figures).size());
}

TEST(ValueTable, KeepsTheMostFrequentValuesInTheirOrder) {
  const std::vector<ValueCount> values{
      {.weighted = 1}, {.weighted = 5}, {.weighted = 1}, {.weighted = 9}, {.weighted = 0}};
  std::vector<const ValueCount*> pointers;
  for (const ValueCount& value : values) pointers.push_back(&value);
  EXPECT_EQ((std::vector<std::size_t>{1, 3}), tool::MostFrequent(pointers, 2));
  EXPECT_EQ((std::vector<std::size_t>{0, 1, 3}), tool::MostFrequent(pointers, 3));
  EXPECT_EQ(5u, tool::MostFrequent(pointers, 5).size());
  EXPECT_EQ(5u, tool::MostFrequent(pointers, 9).size());
}

}  // namespace
}  // namespace ValueTable_test
