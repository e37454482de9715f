#include "tools/statistics/DistinctKeys.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <random>
#include <set>
#include <vector>

#include "datasrc/Obs.h"
#include "tools/statistics/KeyTable.h"

namespace DistinctKeys_test {
namespace {

using tool::DistinctKeys;
using tool::NumberKey;

using Numbers = DistinctKeys<NumberKey>;

std::uint64_t Bits(double number) { return NumberCell(number).bits; }

// The search for each begins at the last slot.
struct SameHash {
  static const SameHash kNone;

  int value;

  std::size_t Hash() const { return std::numeric_limits<std::size_t>::max(); }
  bool operator==(const SameHash&) const = default;
};

constexpr SameHash SameHash::kNone{-1};

// Adds the numbers from `first` on, `together` at a time.
void AddRange(Numbers& numbers, std::size_t first, std::size_t count, std::size_t together = 1) {
  for (std::size_t done = 0; done < count; done += together)
    numbers.Add(std::min(together, count - done),
                [&](std::size_t i) { return NumberKey{Bits(static_cast<double>(first + done + i) * 1024.0)}; });
}

TEST(DistinctKeys, CountEachKeyOnceHoweverTheyCome) {
  std::mt19937_64 random(8);
  for (const std::size_t together : {1u, 2u, 64u, 200u, 1024u, 30'000u}) {
    Numbers numbers(65'536);
    std::set<std::uint64_t> expected;
    for (std::size_t added = 0; added < 60'000; added += together) {
      std::vector<double> batch(together);
      for (double& number : batch) number = static_cast<double>(random() % 9'000) / 7.0;
      for (const double number : batch) expected.insert(Bits(number));
      numbers.Add(together, [&](std::size_t i) { return NumberKey{Bits(batch[i])}; });
      if (added % 6'000 == 0) {
        ASSERT_EQ(expected.size(), numbers.Count()) << "after " << added << " numbers, " << together << " at a time";
      }
    }
    EXPECT_EQ(expected.size(), numbers.Count());
  }
}

TEST(DistinctKeys, AreCountedUpToTheLimit) {
  for (const std::size_t limit : {0u, 1u, 100u, 4'096u, 5'000u, 65'536u}) {
    SCOPED_TRACE(limit);
    Numbers numbers(limit);
    AddRange(numbers, 0, limit);
    AddRange(numbers, 0, limit);
    EXPECT_EQ(limit, numbers.Count());
    EXPECT_FALSE(numbers.IsOver());
    AddRange(numbers, limit, 1);
    EXPECT_EQ(std::nullopt, numbers.Count());
  }
}

// Whoever adds keys learns soon enough that more of them are of no use.
TEST(DistinctKeys, AreOverSoonAfterTheLimit) {
  for (const std::size_t together : {1u, 1024u}) {
    Numbers numbers(65'536);
    AddRange(numbers, 0, 65'536, together);
    EXPECT_FALSE(numbers.IsOver());
    AddRange(numbers, 65'536, 10'000, together);
    EXPECT_TRUE(numbers.IsOver());
    EXPECT_EQ(std::nullopt, numbers.Count());
    AddRange(numbers, 0, 10, together);
    EXPECT_TRUE(numbers.IsOver());
  }
}

TEST(DistinctKeys, AreNotOverWhenTheyRepeat) {
  Numbers numbers(65'536);
  for (int i = 0; i < 10; ++i) AddRange(numbers, 0, 65'536, 1024);
  EXPECT_FALSE(numbers.IsOver());
  EXPECT_EQ(65'536u, numbers.Count());
}

TEST(DistinctKeys, TellNumbersApartByTheirBits) {
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  Numbers numbers(10);
  for (const double number : {0.0, -0.0, kNaN, -kNaN, 0.0, -0.0, kNaN}) numbers.Add({Bits(number)});
  EXPECT_EQ(4u, numbers.Count());
}

TEST(DistinctKeys, AreNoneAtFirst) {
  Numbers numbers(10);
  EXPECT_EQ(0u, numbers.Count());
  numbers.Add(0, [](std::size_t) { return NumberKey{0}; });
  EXPECT_EQ(0u, numbers.Count());
}

TEST(DistinctKeys, MayHaveTheSameHash) {
  DistinctKeys<SameHash> keys(1000);
  for (int i = 0; i < 2000; ++i) keys.Add({i % 1000});
  EXPECT_EQ(1000u, keys.Count());
}

}  // namespace
}  // namespace DistinctKeys_test
