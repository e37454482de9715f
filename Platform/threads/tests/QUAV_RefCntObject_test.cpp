#include "Platform/threads/QUAV_RefCntObject.h"

#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <thread>
#include <vector>

namespace QUAV_RefCntObject_test {
namespace {

// Counts its destructions.
class Counted : public QUAV_RefCntObject {
 public:
  explicit Counted(std::atomic<int>* deaths) : m_deaths(deaths) {}
  Counted(const Counted&) = default;
  Counted& operator=(const Counted&) = default;
  ~Counted() override { ++*m_deaths; }

 private:
  std::atomic<int>* m_deaths;
};

class RefCntObject : public testing::Test {
 protected:
  std::atomic<int> deaths = 0;
};

TEST_F(RefCntObject, StartsShareableAndNotShared) {
  const Counted object(&deaths);
  EXPECT_TRUE(object.IsShareable());
  EXPECT_FALSE(object.IsShared());
}

TEST_F(RefCntObject, IsSharedFromTheSecondReferenceOn) {
  Counted object(&deaths);
  object.AddReference();
  EXPECT_FALSE(object.IsShared());
  object.AddReference();
  EXPECT_TRUE(object.IsShared());
  object.RemoveReference();
  EXPECT_FALSE(object.IsShared());
}

TEST_F(RefCntObject, LastReferenceDeletesThroughTheVirtualDestructor) {
  QUAV_RefCntObject* object = new Counted(&deaths);
  object->AddReference();
  object->AddReference();
  object->RemoveReference();
  EXPECT_EQ(deaths, 0);
  object->RemoveReference();
  EXPECT_EQ(deaths, 1);
}

TEST_F(RefCntObject, MarkUnshareableClearsTheFlag) {
  Counted object(&deaths);
  object.MarkUnshareable();
  EXPECT_FALSE(object.IsShareable());
}

TEST_F(RefCntObject, CopyStartsShareableWithoutReferences) {
  Counted object(&deaths);
  object.AddReference();
  object.AddReference();
  object.MarkUnshareable();
  const Counted copy(object);
  EXPECT_FALSE(copy.IsShared());
  EXPECT_TRUE(copy.IsShareable());
}

TEST_F(RefCntObject, AssignmentKeepsCountAndFlag) {
  Counted object(&deaths);
  object.AddReference();
  object.AddReference();
  object.MarkUnshareable();
  object = Counted(&deaths);
  EXPECT_TRUE(object.IsShared());
  EXPECT_FALSE(object.IsShareable());
}

TEST_F(RefCntObject, IsDeletedOnceWhenManyThreadsRemoveReferences) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 1000;
  auto* object = new Counted(&deaths);
  for (int i = 0; i < kThreads * kRounds; ++i) object->AddReference();
  std::latch start(kThreads);
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&start, object] {
      start.arrive_and_wait();
      for (int round = 0; round < kRounds; ++round) object->RemoveReference();
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(deaths, 1);
}

}  // namespace
}  // namespace QUAV_RefCntObject_test
