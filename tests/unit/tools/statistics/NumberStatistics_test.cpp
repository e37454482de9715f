#include "tools/statistics/NumberStatistics.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "datasrc/QUAV_Variable.h"
#include "tools/statistics/MissingRule.h"

namespace NumberStatistics_test {
namespace {

using tool::MissingRule;
using tool::NumberStatistics;

const double kLowest = -std::numeric_limits<double>::max();
const double kHighest = std::numeric_limits<double>::max();
const double kNaN = std::numeric_limits<double>::quiet_NaN();

// A variable with missing values by their code.
QUAV_Variable Variable(int code, double first = 0, double second = 0, double third = 0) {
  QUAV_Variable variable(0);
  const OBS cells[]{NumberCell(first), NumberCell(second), NumberCell(third)};
  variable.SetMissingValues(code, &cells[0], &cells[1], &cells[2]);
  return variable;
}

TEST(MissingRule, SaysWhatTheVariableSays) {
  const std::vector<double> numbers{
      0.0, -0.0, 1, 2, 3, 4, 5, 9, -1, kNaN, kHighest, std::numeric_limits<double>::infinity(), 1.5};
  for (const QUAV_Variable& variable :
       {Variable(0), Variable(1, 0), Variable(2, -0.0, 9), Variable(3, kNaN, 2, 3), Variable(-2, 1, 4),
        Variable(-2, 4, 1), Variable(-3, 1, 2, 9), Variable(-3, kLowest, 1, kNaN), Variable(-2, 3, kHighest),
        Variable(-1, 1), Variable(7, 1, 2, 3), Variable(3, CellNumber(kSystemMissingCell), 1, 1)}) {
    const MissingRule rule(variable);
    bool isAny = false;
    for (const double number : numbers) {
      EXPECT_EQ(variable.IsMissing(number) != 0, rule.Has(number)) << number;
      isAny |= rule.Has(number);
    }
    EXPECT_FALSE(rule.IsEmpty() && isAny);
  }
  EXPECT_TRUE(MissingRule(Variable(0)).IsEmpty());
  EXPECT_FALSE(MissingRule(Variable(-2, 1, 4)).IsEmpty());
}

TEST(NumberStatistics, AreTheSameForValuesInAnyNumberOfPieces) {
  std::vector<double> numbers;
  for (int i = 0; i < 5000; ++i) numbers.push_back(i % 3 == 0 ? i % 300 : i * 0.37 - 900);
  numbers[17] = CellNumber(kSystemMissingCell);
  NumberStatistics whole(Variable(-2, -50, -20), false, {});
  NumberStatistics pieces(Variable(-2, -50, -20), false, {});
  whole.Add(numbers.data(), nullptr, numbers.size());
  for (std::size_t start = 0, size = 1; start < numbers.size(); start += size++)
    pieces.Add(numbers.data() + start, nullptr, std::min(size, numbers.size() - start));
  const auto a = whole.Result();
  const auto b = pieces.Result();
  EXPECT_EQ(a.n, b.n);
  EXPECT_EQ(1, b.systemMissing);
  EXPECT_EQ(a.userMissing, b.userMissing);
  EXPECT_GT(b.userMissing, 0);
  EXPECT_EQ(a.distinct, b.distinct);
  EXPECT_EQ(a.min, b.min);
  EXPECT_EQ(a.max, b.max);
  EXPECT_NEAR(a.deviation.value(), b.deviation.value(), 1e-11);
}

TEST(NumberStatistics, CountSmallNumbersWhateverComesBetweenThem) {
  const double missing = CellNumber(kSystemMissingCell);
  for (const double other : {7.0, 255.0, 0.5, -0.0, 256.0, -1.0, kNaN, 4294967296.0 + 3}) {
    std::vector<double> numbers(3000);
    for (std::size_t i = 0; i < numbers.size(); ++i) numbers[i] = i % 5 == 0 ? missing : static_cast<double>(i % 256);
    numbers[2500] = other;
    NumberStatistics statistics(Variable(0), true, {});
    statistics.Add(numbers.data(), nullptr, numbers.size());
    const tool::VariableStatistics result = statistics.Result();
    EXPECT_EQ(600 - 1, result.systemMissing);
    EXPECT_EQ(2401, result.n);
    for (const tool::ValueCount& value : result.values.value()) {
      const auto isEqual = [&](double number) { return NumberCell(number) == NumberCell(value.number); };
      EXPECT_EQ(std::ranges::count_if(numbers, isEqual), value.n) << other << ' ' << value.number;
    }
  }
}

TEST(NumberStatistics, MeasureSmallNumbersTooOnceValuesAreNotToldApart) {
  std::vector<double> numbers;
  for (int i = 0; i < tool::kMostDistinctValues + 2000; ++i) numbers.push_back(i + 0.5);
  for (int i = 0; i < 3000; ++i) numbers.push_back(i % 4 == 0 ? CellNumber(kSystemMissingCell) : i % 4 - 1);
  NumberStatistics statistics(Variable(1, 2), false, {});
  statistics.Add(numbers.data(), nullptr, numbers.size());
  const tool::VariableStatistics result = statistics.Result();
  EXPECT_EQ(750, result.systemMissing);
  EXPECT_EQ(750, result.userMissing);
  EXPECT_EQ(tool::kMostDistinctValues + 2000 + 1500, result.n);
  EXPECT_EQ(0, result.min);
  const double last = tool::kMostDistinctValues + 2000;
  EXPECT_EQ(last * last / 2 + 750, result.sum);
  EXPECT_FALSE(result.distinct || result.values);
}

TEST(NumberStatistics, ListSmallAndOtherNumbersInOneOrder) {
  const std::vector<double> numbers{255, 256, -1, 0, -0.0, 0.5, 254.5, kNaN};
  NumberStatistics statistics(Variable(0), false, {});
  statistics.Add(numbers.data(), nullptr, numbers.size());
  std::vector<double> found;
  const tool::VariableStatistics result = statistics.Result();
  for (const tool::ValueCount& value : result.values.value()) found.push_back(value.number);
  ASSERT_EQ(numbers.size(), found.size());
  EXPECT_TRUE(std::isnan(found.back()));
  found.pop_back();
  EXPECT_EQ((std::vector<double>{-1, -0.0, 0, 0.5, 254.5, 255, 256}), found);
  EXPECT_TRUE(std::signbit(found[1]));
}

}  // namespace
}  // namespace NumberStatistics_test
