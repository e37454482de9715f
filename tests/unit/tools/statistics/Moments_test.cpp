#include "tools/statistics/Moments.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "tools/statistics/LongSum.h"

namespace Moments_test {
namespace {

using tool::LongSum;
using tool::Moments;

Moments Of(const std::vector<double>& numbers, const std::vector<double>& weights = {}) {
  Moments moments;
  moments.Add(numbers.data(), weights.empty() ? nullptr : weights.data(), numbers.size());
  return moments;
}

TEST(Moments, HaveNoFiguresWithoutNumbers) {
  const Moments moments;
  EXPECT_EQ(0, moments.Weight());
  EXPECT_FALSE(moments.Sum() || moments.Mean() || moments.Deviation());
}

TEST(Moments, WeighNumbers) {
  const Moments moments = Of({1, 2, 4}, {1, 2, 0.5});
  EXPECT_EQ(3.5, moments.Weight());
  EXPECT_EQ(7, moments.Sum());
  EXPECT_EQ(2, moments.Mean());
  EXPECT_DOUBLE_EQ(std::sqrt((1 + 0 + 2) / 2.5), moments.Deviation().value());
}

TEST(Moments, HaveADeviationOnlyForWeightsAboveOne) {
  EXPECT_FALSE(Of({3}).Deviation());
  EXPECT_FALSE(Of({3, 4}, {0.5, 0.5}).Deviation());
  EXPECT_TRUE(Of({3, 4}, {0.5, 0.75}).Deviation());
}

TEST(Moments, AreTheSameInPieces) {
  std::vector<double> numbers;
  for (int i = 0; i < 1000; ++i) numbers.push_back(1e9 + i % 7);
  Moments pieces;
  for (std::size_t start = 0, size = 1; start < numbers.size(); start += size++)
    pieces.Add(numbers.data() + start, nullptr, std::min(size, numbers.size() - start));
  const Moments whole = Of(numbers);
  EXPECT_EQ(whole.Sum(), pieces.Sum());
  EXPECT_NEAR(whole.Deviation().value(), pieces.Deviation().value(), 1e-14);
}

TEST(Moments, KeepTheDigitsOfLargeNumbersThatLieClose) {
  // Squares of such numbers have no digit left for the deviation.
  EXPECT_EQ(1, Of({1e15, 1e15 + 1, 1e15 + 2}).Deviation());
}

TEST(Moments, KeepTheSmallPartsOfASumThatCancelsOut) {
  std::vector<double> numbers(1000, 1e15);
  numbers.resize(1256, 0.25);
  numbers.resize(2256, -1e15);
  EXPECT_EQ(64, Of(numbers).Sum());
}

TEST(Moments, AreNotFiniteWhereANumberIsNot) {
  const double infinity = std::numeric_limits<double>::infinity();
  const Moments one = Of({1, infinity, 2});
  EXPECT_EQ(3, one.Weight());
  EXPECT_EQ(infinity, one.Sum());
  EXPECT_EQ(infinity, one.Mean());
  EXPECT_TRUE(std::isnan(one.Deviation().value()));
  EXPECT_TRUE(std::isnan(Of({infinity, -infinity}).Mean().value()));
  EXPECT_TRUE(std::isnan(Of({1, std::nan("")}).Sum().value()));
}

TEST(Moments, HaveAMeanWhereTheSumIsTooLarge) {
  const Moments moments = Of({1e308, 1.5e308});
  EXPECT_EQ(std::numeric_limits<double>::infinity(), moments.Sum());
  EXPECT_DOUBLE_EQ(1.25e308, moments.Mean().value());
  EXPECT_DOUBLE_EQ(-1e308, Of({1.7e308, -1.7e308, -1.7e308, -1.7e308, -1.6e308}).Mean().value());
}

TEST(Moments, HaveASumWhosePartsAreTooLarge) {
  EXPECT_DOUBLE_EQ(1e308, Of({1e308, 1e308, -1e308}).Sum().value());
  EXPECT_DOUBLE_EQ(-1.5e308, Of({-1e308, -1e308, 0.5e308}).Sum().value());
}

// Multiplication by a power of two changes no digit.
TEST(Moments, HaveTheSameDigitsForNumbersOfAnySize) {
  std::vector<double> numbers, weights;
  for (int i = 0; i < 1000; ++i) {
    numbers.push_back(i * 7919 % 1009 - 300.25);
    weights.push_back(0.5 + i % 3);
  }
  const double deviation = Of(numbers).Deviation().value();
  const double weighted = Of(numbers, weights).Deviation().value();
  for (const int power : {-1000, -600, -250, -150, 150, 250, 500, 600, 1013}) {
    std::vector<double> scaled;
    for (const double number : numbers) scaled.push_back(std::ldexp(number, power));
    EXPECT_DOUBLE_EQ(std::ldexp(deviation, power), Of(scaled).Deviation().value()) << power;
    EXPECT_DOUBLE_EQ(std::ldexp(weighted, power), Of(scaled, weights).Deviation().value()) << power;
  }
}

TEST(Moments, HaveADeviationForTheSmallestAndLargestNumbers) {
  const double smallest = std::numeric_limits<double>::denorm_min();
  const double largest = std::numeric_limits<double>::max();
  EXPECT_DOUBLE_EQ(std::sqrt(2) * 1e-170, Of({1e-170, 3e-170}).Deviation().value());
  EXPECT_DOUBLE_EQ(std::sqrt(2) * 1e160, Of({1e160, 3e160}).Deviation().value());
  EXPECT_EQ(smallest, Of({0, smallest, 0, smallest, smallest}).Deviation());  // half of it, rounded
  EXPECT_EQ(largest, Of({-largest, 0, largest}).Deviation());
  EXPECT_EQ(std::numeric_limits<double>::infinity(), Of({-largest, largest}).Deviation());
}

TEST(Moments, TakeNumbersThatGrowAndShrink) {
  std::vector<double> growing;
  for (int power = -1000; power < 1000; power += 90)
    for (int i = 0; i < 300; ++i) growing.push_back(std::ldexp(i % 2, power));
  std::vector<double> shrinking(growing.rbegin(), growing.rend());
  // The 300 numbers of the largest power are all that counts: a half from the mean they would have alone.
  const double count = static_cast<double>(growing.size());
  const double expected = std::ldexp(std::sqrt((150 - 150 * 150 / count) / (count - 1)), 980);
  EXPECT_DOUBLE_EQ(expected, Of(growing).Deviation().value());
  EXPECT_DOUBLE_EQ(expected, Of(shrinking).Deviation().value());
}

TEST(Moments, TakeNumbersAfterManyThatAreEqual) {
  for (const double difference : {1e-200, 1e-17, 1.0, 1e200}) {
    std::vector<double> numbers(10'000, 0.0);
    numbers.push_back(difference);
    EXPECT_DOUBLE_EQ(difference * std::sqrt((1 - 1 / 10'001.0) / 10'000), Of(numbers).Deviation().value());
  }
}

TEST(LongSum, DoesNotDriftWithTheCount) {
  LongSum sum;
  for (int i = 0; i < 1'000'000; ++i) sum.Add(0.1);
  EXPECT_EQ(0.1 * 1'000'000, sum.Value());
}

}  // namespace
}  // namespace Moments_test
