#include "Platform/threads/sfThreadPool.h"

#include <gtest/gtest.h>

#include <functional>
#include <thread>
#include <vector>

#include "Platform/threads/sfSemaphore.h"

namespace sfThreadPool_test {
namespace {

class Call : public CallBackObject {
 public:
  explicit Call(std::function<void(void*)> act) : m_act(std::move(act)) {}
  void* callback(void* message) override {
    m_act(message);
    return nullptr;
  }

 private:
  std::function<void(void*)> m_act;
};

TEST(SfThreadPool, RunsACallbackOnAnotherThread) {
  std::thread::id ran;
  Call call([&](void* message) {
    EXPECT_EQ(nullptr, message);
    ran = std::this_thread::get_id();
  });
  sfThreadPool pool(1, 0);
  pool.init();
  pool.startAll();
  pool.run(&call, nullptr, 1);
  pool.stopAll();
  EXPECT_NE(std::thread::id(), ran);
  EXPECT_NE(std::this_thread::get_id(), ran);
}

TEST(SfThreadPool, PassesTheMessageToTheCallback) {
  struct Message : msgBaseData {
    int number = 7;
  } message;
  void* got = nullptr;
  Call call([&](void* handed) { got = handed; });
  sfThreadPool pool(1, 0);
  pool.init();
  pool.startAll();
  pool.run(&call, &message, 1);
  pool.stopAll();
  EXPECT_EQ(static_cast<msgBaseData*>(&message), got);
}

TEST(SfThreadPool, RunsCallbacksInTheOrderGiven) {
  std::vector<int> order;
  Call first([&](void*) { order.push_back(1); });
  Call second([&](void*) { order.push_back(2); });
  sfThreadPool pool(1, 0);
  pool.init();
  pool.run(&first, nullptr, 1);
  pool.run(&second, nullptr, 2);
  pool.startAll();
  pool.stopAll();
  EXPECT_EQ((std::vector<int>{1, 2, 2}), order);
}

TEST(SfThreadPool, RunsCallbacksOnAllThreadsAtOnce) {
  sfSemaphore met(0);
  sfSemaphore go(0);
  Call call([&](void*) {
    met.postSemaphore();
    go.waitSemaphore();
  });
  sfThreadPool pool(2, 0);
  pool.init();
  pool.startAll();
  pool.run(&call, nullptr, 2);
  met.waitSemaphore();
  met.waitSemaphore();  // both are inside
  go.postSemaphore();
  go.postSemaphore();
}

TEST(SfThreadPool, DestructorWaitsForTheCallbacks) {
  bool done = false;
  sfSemaphore begun(0);
  Call call([&](void*) {
    begun.postSemaphore();
    std::this_thread::yield();
    done = true;
  });
  {
    sfThreadPool pool(1, 0);
    pool.init();
    pool.startAll();
    pool.run(&call, nullptr, 1);
    begun.waitSemaphore();
  }
  EXPECT_TRUE(done);
}

TEST(SfThreadPool, RestartsAfterAStop) {
  int count = 0;
  Call call([&](void*) { ++count; });
  sfThreadPool pool(1, 0);
  for (int round = 1; round <= 3; ++round) {
    pool.init();
    pool.startAll();
    pool.run(&call, nullptr, 1);
    pool.stopAll();
    EXPECT_EQ(round, count);
  }
}

TEST(SfThreadPool, StopsWithoutHavingBeenStarted) {
  sfThreadPool pool(1, 0);
  pool.stopAll();
  pool.init();
  pool.stopAll();
}

}  // namespace
}  // namespace sfThreadPool_test
