#include "Platform/threads/QUAV_msleep.h"

#include <gtest/gtest.h>

#include <chrono>

namespace QUAV_msleep_test {
namespace {

TEST(Msleep, SleepsTheGivenMilliseconds) {
  const auto start = std::chrono::steady_clock::now();
  QUAV_msleep(20);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(20));
}

TEST(Msleep, ReturnsAtOnceForNumbersBelowOne) {
  QUAV_msleep(0);
  QUAV_msleep(-1);
}

}  // namespace
}  // namespace QUAV_msleep_test
