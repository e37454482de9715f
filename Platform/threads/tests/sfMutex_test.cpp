#include "Platform/threads/sfMutex.h"

#include <gtest/gtest.h>

#include <latch>
#include <thread>
#include <vector>

namespace sfMutex_test {
namespace {

TEST(SfMutex, AdmitsOneThreadAtATime) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 10000;
  sfMutex mutex;
  int count = 0;
  std::latch start(kThreads);
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      start.arrive_and_wait();
      for (int round = 0; round < kRounds; ++round) {
        mutex.lock(kExclusiveLock, nullptr, 0);
        ++count;
        mutex.unlock(nullptr, 0);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(count, kThreads * kRounds);
}

TEST(SfMutex, IsUnlockedAfterTheScopeOfALock) {
  sfMutex mutex;
  { const sfMutexLock lock(mutex); }
  std::thread other([&] { const sfMutexLock lock(mutex); });
  other.join();
}

TEST(SfMutex, ExclusiveLockIsTheNumberOne) { EXPECT_EQ(1, kExclusiveLock); }

}  // namespace
}  // namespace sfMutex_test
