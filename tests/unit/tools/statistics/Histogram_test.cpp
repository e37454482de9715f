#include "tools/statistics/Histogram.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace Histogram_test {
namespace {

using tool::Histogram;
using tool::MakeBins;

constexpr QUAV_Format kNumber{kFormatNumber, 8, 2};
constexpr QUAV_Format kDate{kFormatDate, 11, 0};
constexpr QUAV_Format kTime{kFormatTime, 8, 0};
constexpr double kDay = 86400;
constexpr double kMarch14 = 13929753600;  // 2024-03-14

struct Row {
  QUAV_Format format;
  double min;
  double max;
  double start;
  double width;
  std::size_t bins;
};

TEST(Histogram, HasBinsWithRoundEdges) {
  for (const Row& row :
       {Row{kNumber, 0, 19, 0, 1, 20}, Row{kNumber, 18, 99, 15, 5, 17}, Row{kNumber, -7, 7, -7, 1, 15},
        Row{kNumber, 0.013, 0.053, 0.012, 0.002, 21}, Row{kDate, kMarch14, kMarch14 + 10 * kDay, kMarch14, kDay, 11},
        Row{kTime, 0, 7200, 0, 900, 9}, Row{kNumber, 1000, 1000, 1000, 1, 1}}) {
    const Histogram histogram = MakeBins(row.format, row.min, row.max);
    EXPECT_DOUBLE_EQ(row.start, histogram.start);
    EXPECT_DOUBLE_EQ(row.width, histogram.width);
    EXPECT_EQ(row.bins, histogram.weights.size());
  }
}

TEST(Histogram, HasABinForEveryValue) {
  std::mt19937_64 random(7);
  std::uniform_real_distribution<double> exponent(-300, 300);
  std::normal_distribution<double> normal;
  for (int i = 0; i < 20'000; ++i) {
    const double a = normal(random) * std::pow(10, i % 2 == 0 ? exponent(random) : 3);
    const double b = a + std::abs(normal(random)) * std::pow(10, i % 2 == 0 ? exponent(random) : 2);
    const Histogram histogram = MakeBins(i % 3 == 0 ? kDate : kNumber, a, b);
    if (histogram.weights.empty()) continue;
    EXPECT_LE(histogram.weights.size(), tool::kMostBins);
    EXPECT_LE(histogram.start, a);
    EXPECT_LT(b, histogram.End());
  }
}

TEST(Histogram, HasNoBinsForValuesThatADoubleCannotDivide) {
  const double most = std::numeric_limits<double>::max();
  EXPECT_TRUE(MakeBins(kNumber, -most, most).weights.empty());
  EXPECT_TRUE(MakeBins(kNumber, 0, std::numeric_limits<double>::infinity()).weights.empty());
}

}  // namespace
}  // namespace Histogram_test
