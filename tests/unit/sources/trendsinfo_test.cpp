#include "datasrc/QUAV_TrendsInfo.h"

#include <gtest/gtest.h>

#include <utility>

#include "tests/support/MemorySource.h"

namespace trendsinfo_test {
namespace {

std::pair<int, int> Start(const QUAV_TrendsInfo& trends) {
  std::pair<int, int> start;
  trends.GetStart(start.first, start.second);
  return start;
}

std::pair<bool, int> Period(const QUAV_TrendsInfo& trends) {
  std::pair<bool, int> period;
  trends.GetPeriod(period.first, period.second);
  return period;
}

TEST(TrendsInfo, DefaultStartIs1And1WithoutAPeriod) {
  const QUAV_TrendsInfo trends;
  EXPECT_EQ(Start(trends), std::pair(1, 1));
  EXPECT_EQ(Period(trends), std::pair(false, 1));
  EXPECT_EQ(trends.GetDataSource(), nullptr);
}

TEST(TrendsInfo, KeepsStartAndPeriod) {
  QUAV_TrendsInfo trends;
  trends.SetStart(-3, 1980);
  trends.SetPeriod(true, 12);
  EXPECT_EQ(Start(trends), std::pair(-3, 1980));
  EXPECT_EQ(Period(trends), std::pair(true, 12));
  trends.SetPeriod(false, 12);
  EXPECT_EQ(Period(trends), std::pair(false, 12));
}

TEST(TrendsInfo, CopyHasTheOwnerToo) {
  const MemorySource owner;
  QUAV_TrendsInfo trends;
  trends.SetDataSource(&owner);
  trends.SetStart(2, 3);
  const QUAV_TrendsInfo copy(trends);
  EXPECT_EQ(copy.GetDataSource(), &owner);
  EXPECT_EQ(Start(copy), std::pair(2, 3));
}

TEST(TrendsInfo, AssignmentKeepsTheOwner) {
  const MemorySource owner;
  const MemorySource other;
  QUAV_TrendsInfo trends;
  trends.SetDataSource(&owner);
  QUAV_TrendsInfo others;
  others.SetDataSource(&other);
  others.SetStart(2, 3);
  others.SetPeriod(true, 4);
  trends = others;
  EXPECT_EQ(trends.GetDataSource(), &owner);
  EXPECT_EQ(Start(trends), std::pair(2, 3));
  EXPECT_EQ(Period(trends), std::pair(true, 4));
}

TEST(TrendsInfo, EqualityIgnoresTheOwner) {
  const MemorySource owner;
  const QUAV_TrendsInfo plain;
  QUAV_TrendsInfo trends;
  trends.SetDataSource(&owner);
  EXPECT_EQ(trends, plain);
  trends.SetStart(1, 2);
  EXPECT_NE(trends, plain);
  trends.SetStart(2, 1);
  EXPECT_NE(trends, plain);
  trends.SetStart(1, 1);
  trends.SetPeriod(true, 1);
  EXPECT_NE(trends, plain);
  trends.SetPeriod(false, 2);
  EXPECT_NE(trends, plain);
}

}  // namespace
}  // namespace trendsinfo_test
