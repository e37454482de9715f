#include "Platform/threads/CriticalSection.h"

#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <mutex>
#include <thread>
#include <vector>

namespace CriticalSection_test {
namespace {

TEST(CriticalSection, HolderMayLockItAgain) {
  CriticalSection section;
  const std::lock_guard outer(section);
  const std::lock_guard inner(section);
}

TEST(CriticalSection, AdmitsOneThreadAtATime) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 10000;
  CriticalSection section;
  int count = 0;
  std::latch start(kThreads);
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      start.arrive_and_wait();
      for (int round = 0; round < kRounds; ++round) {
        const std::lock_guard guard(section);
        ++count;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(count, kThreads * kRounds);
}

TEST(CriticalSection, StaysLockedUntilEveryLockIsUndone) {
  CriticalSection section;
  std::atomic<bool> left = false;
  bool leftWhenTheOtherCame = false;
  section.lock();
  section.lock();
  std::thread other([&] {
    const std::lock_guard guard(section);
    leftWhenTheOtherCame = left;
  });
  section.unlock();
  left = true;
  section.unlock();
  other.join();
  EXPECT_TRUE(leftWhenTheOtherCame);
}

}  // namespace
}  // namespace CriticalSection_test
