#include "tools/statistics/NumberSet.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <set>
#include <vector>

namespace NumberSet_test {
namespace {

using tool::NumberSet;

TEST(NumberSet, CountsEachNumberOnceHoweverTheyCome) {
  std::mt19937_64 random(8);
  for (const std::size_t together : {1u, 2u, 63u, 64u, 65u, 200u, 1024u}) {
    NumberSet numbers;
    std::set<std::uint64_t> expected;
    for (std::size_t added = 0; added < 20'000; added += together) {
      std::vector<double> batch(together);
      for (double& number : batch) number = static_cast<double>(random() % 9'000) / 7.0;
      for (const double number : batch) expected.insert(std::bit_cast<std::uint64_t>(number));
      numbers.Add(batch);
      ASSERT_EQ(expected.size(), numbers.Size()) << "after " << added << " numbers, " << together << " at a time";
    }
  }
}

TEST(NumberSet, GrowsWithNumbersThatAllDiffer) {
  NumberSet numbers;
  std::vector<double> batch(50);
  for (std::size_t first = 0; first < 200'000; first += batch.size()) {
    for (std::size_t i = 0; i < batch.size(); ++i) batch[i] = static_cast<double>(first + i) * 1024.0;
    numbers.Add(batch);
    ASSERT_EQ(first + batch.size(), numbers.Size());
  }
}

TEST(NumberSet, TellsNumbersApartByTheirBits) {
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  NumberSet numbers;
  numbers.Add(std::vector<double>{0.0, -0.0, kNaN, std::copysign(kNaN, -1.0), 0.0, -0.0, kNaN});
  EXPECT_EQ(4u, numbers.Size());
}

TEST(NumberSet, IsEmptyAfterClear) {
  NumberSet numbers;
  numbers.Add(std::vector<double>{1, 2, 3});
  numbers.Clear();
  EXPECT_EQ(0u, numbers.Size());
  numbers.Add(std::vector<double>{3});
  EXPECT_EQ(1u, numbers.Size());
}

TEST(NumberSet, TakesNoNumbersAtAll) {
  NumberSet numbers;
  numbers.Add({});
  EXPECT_EQ(0u, numbers.Size());
}

}  // namespace
}  // namespace NumberSet_test
