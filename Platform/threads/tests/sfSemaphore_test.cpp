#include "Platform/threads/sfSemaphore.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace sfSemaphore_test {
namespace {

TEST(SfSemaphore, GivesAsManyAsItCounts) {
  sfSemaphore semaphore(2);
  EXPECT_TRUE(semaphore.tryWaitSemaphore());
  semaphore.waitSemaphore();
  EXPECT_FALSE(semaphore.tryWaitSemaphore());
}

TEST(SfSemaphore, CountsPostsWithoutWaitingThreads) {
  sfSemaphore semaphore(0);
  semaphore.postSemaphore();
  semaphore.postSemaphore();
  semaphore.waitSemaphore();
  EXPECT_TRUE(semaphore.tryWaitSemaphore());
  EXPECT_FALSE(semaphore.tryWaitSemaphore());
}

TEST(SfSemaphore, PostEndsAWaitAndPublishesEarlierWrites) {
  sfSemaphore asked(0);
  sfSemaphore answered(0);
  int value = 0;
  std::thread other([&] {
    for (int round = 1; round <= 1000; ++round) {
      asked.waitSemaphore();
      value += round;
      answered.postSemaphore();
    }
  });
  for (int round = 1; round <= 1000; ++round) {
    asked.postSemaphore();
    answered.waitSemaphore();
    EXPECT_EQ(value, round * (round + 1) / 2);
  }
  other.join();
}

TEST(SfSemaphore, EachPostEndsOneWait) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 1000;
  sfSemaphore semaphore(0);
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < kRounds; ++round) semaphore.waitSemaphore();
    });
  }
  for (int i = 0; i < kThreads * kRounds; ++i) semaphore.postSemaphore();
  for (std::thread& thread : threads) thread.join();
  EXPECT_FALSE(semaphore.tryWaitSemaphore());
}

}  // namespace
}  // namespace sfSemaphore_test
