#include "tools/threads/TaskPool.h"

#include <gtest/gtest.h>

#include <atomic>
#include <semaphore>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace TaskPool_test {
namespace {

class TaskPools : public testing::TestWithParam<int> {};

TEST_P(TaskPools, FinishTasksInTheirOrder) {
  tool::TaskPool pool(GetParam());
  tool::TaskLine line(pool);
  std::vector<int> results(1000, -1);
  int added = 0;
  for (int finished = 0; finished < 1000; ++finished) {
    for (; added < 1000 && line.Size() < line.Room(); ++added)
      line.Add([&results, added] { results[static_cast<std::size_t>(added)] = added; });
    line.FinishOldest();
    EXPECT_EQ(finished, results[static_cast<std::size_t>(finished)]);
  }
  EXPECT_EQ(0u, line.Size());
}

TEST_P(TaskPools, ThrowWhatATaskThrewWhenItIsFinished) {
  tool::TaskPool pool(GetParam());
  tool::TaskLine line(pool);
  std::atomic<int> done = 0;
  line.Add([&done] { ++done; });
  line.Add([] { throw std::runtime_error("second"); });
  line.Add([&done] { ++done; });
  line.FinishOldest();
  try {
    line.FinishOldest();
    FAIL() << "no exception";
  } catch (const std::runtime_error& error) {
    EXPECT_STREQ("second", error.what());
  }
  line.FinishOldest();
  EXPECT_EQ(2, done);
}

TEST_P(TaskPools, ServeSeveralLines) {
  tool::TaskPool pool(GetParam());
  tool::TaskLine one(pool);
  tool::TaskLine other(pool);
  std::vector<int> results(200);
  for (std::size_t i = 0; i < results.size(); ++i)
    (i % 2 == 0 ? one : other).Add([&results, i] { results[i] = static_cast<int>(i); });
  for (std::size_t i = 0; i < results.size(); i += 2) {
    other.FinishOldest();
    EXPECT_EQ(static_cast<int>(i) + 1, results[i + 1]);
    one.FinishOldest();
    EXPECT_EQ(static_cast<int>(i), results[i]);
  }
}

TEST_P(TaskPools, DropTasks) {
  tool::TaskPool pool(GetParam());
  tool::TaskLine line(pool);
  tool::TaskLine other(pool);
  std::atomic<bool> isDone = false;
  other.Add([&isDone] { isDone = true; });
  {
    std::atomic<int> begun = 0;  // no task uses it after Drop
    for (int i = 0; i < 100; ++i)
      line.Add([&begun] {
        ++begun;
        throw std::runtime_error("dropped");
      });
    line.Drop();
  }
  EXPECT_EQ(0u, line.Size());
  int after = 0;
  line.Add([&after] { after = 1; });
  line.FinishOldest();
  EXPECT_EQ(1, after);
  other.FinishOldest();
  EXPECT_TRUE(isDone);
}

TEST_P(TaskPools, EndWithTasksInTheLine) {
  std::atomic<int> done = 0;
  tool::TaskPool pool(GetParam());
  tool::TaskLine line(pool);
  for (int i = 0; i < 100; ++i) line.Add([&done] { ++done; });
}

INSTANTIATE_TEST_SUITE_P(Threads, TaskPools, testing::Values(1, 2, 5));

TEST(TaskPool, WithOneThreadTheCallerDoesAll) {
  tool::TaskPool pool(1);
  tool::TaskLine line(pool);
  std::vector<std::thread::id> ids(4);
  for (std::thread::id& id : ids) line.Add([&id] { id = std::this_thread::get_id(); });
  while (line.Size() != 0) line.FinishOldest();
  for (const std::thread::id& id : ids) EXPECT_EQ(std::this_thread::get_id(), id);
  EXPECT_FALSE(pool.IsStarted());
}

TEST(TaskPool, StartsNoThreadForASingleTask) {
  tool::TaskPool pool(3);
  tool::TaskLine line(pool);
  for (int i = 0; i < 3; ++i) {
    line.Add([] {});
    line.FinishOldest();
  }
  EXPECT_FALSE(pool.IsStarted());
  line.Add([] {});
  line.Add([] {});
  EXPECT_TRUE(pool.IsStarted());
}

// The caller does the later task while another thread does the older one.
TEST(TaskPool, DoesLaterTasksWhileItWaits) {
  tool::TaskPool pool(2);
  tool::TaskLine line(pool);
  std::binary_semaphore hasBegun(0);
  std::binary_semaphore mayEnd(0);
  line.Add([&] {
    hasBegun.release();
    mayEnd.acquire();
  });
  line.Add([] {});  // starts the thread
  hasBegun.acquire();
  std::thread::id id;
  line.Add([&] {
    id = std::this_thread::get_id();
    mayEnd.release();
  });
  line.FinishOldest();
  EXPECT_EQ(std::this_thread::get_id(), id);
}

}  // namespace
}  // namespace TaskPool_test
