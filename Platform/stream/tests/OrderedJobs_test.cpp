#include "Platform/stream/OrderedJobs.h"

#include <gtest/gtest.h>

#include <atomic>
#include <semaphore>
#include <stdexcept>

namespace OrderedJobs_test {
namespace {

struct Sum {
  int number;
  int result = 0;
};

OrderedJobs<Sum>::Worker Doubling() {
  return [](Sum& sum) { sum.result = 2 * sum.number; };
}

class OrderedJobsThreads : public testing::TestWithParam<int> {};
INSTANTIATE_TEST_SUITE_P(Counts, OrderedJobsThreads, testing::Values(0, 1, 2, 7));

TEST_P(OrderedJobsThreads, TakesJobsInTheOrderGiven) {
  OrderedJobs<Sum> jobs(GetParam(), Doubling);
  EXPECT_EQ(GetParam(), jobs.Threads());
  int taken = 0;
  for (int i = 0; i < 1'000; ++i) {
    jobs.Give(std::make_unique<Sum>(Sum{i}));
    while (jobs.Size() > 5) EXPECT_EQ(2 * taken++, jobs.Take()->result);
  }
  while (jobs.Size() > 0) EXPECT_EQ(2 * taken++, jobs.Take()->result);
  EXPECT_EQ(1'000, taken);
}

TEST_P(OrderedJobsThreads, TakeThrowsTheExceptionOfItsJob) {
  OrderedJobs<Sum> jobs(GetParam(), [] {
    return [](Sum& sum) {
      if (sum.number == 1) throw std::runtime_error("one");
      sum.result = 5;
    };
  });
  for (int i = 0; i < 3; ++i) jobs.Give(std::make_unique<Sum>(Sum{i}));
  EXPECT_EQ(5, jobs.Take()->result);
  EXPECT_THROW(jobs.Take(), std::runtime_error);
  EXPECT_EQ(5, jobs.Take()->result);
}

TEST_P(OrderedJobsThreads, DropForgetsAllJobs) {
  OrderedJobs<Sum> jobs(GetParam(), Doubling);
  for (int i = 0; i < 50; ++i) jobs.Give(std::make_unique<Sum>(Sum{i}));
  jobs.Drop();
  EXPECT_EQ(0u, jobs.Size());
  jobs.Give(std::make_unique<Sum>(Sum{21}));
  EXPECT_EQ(42, jobs.Take()->result);
}

TEST_P(OrderedJobsThreads, DestructorFinishesTheJobsThatHaveBegun) {
  std::atomic<int> begun = 0;
  std::atomic<int> done = 0;
  {
    OrderedJobs<Sum> jobs(GetParam(), [&] {
      return [&](Sum&) {
        ++begun;
        ++done;
      };
    });
    for (int i = 0; i < 100; ++i) jobs.Give(std::make_unique<Sum>(Sum{i}));
  }
  EXPECT_EQ(begun, done);
}

TEST(OrderedJobs, DoesJobsAtTheSameTime) {
  // Each job waits for the other: a single thread would wait for ever.
  std::binary_semaphore first{0};
  std::binary_semaphore second{0};
  OrderedJobs<Sum> jobs(2, [&] {
    return [&](Sum& sum) {
      (sum.number == 0 ? first : second).release();
      (sum.number == 0 ? second : first).acquire();
    };
  });
  jobs.Give(std::make_unique<Sum>(Sum{0}));
  jobs.Give(std::make_unique<Sum>(Sum{1}));
  jobs.Take();
  jobs.Take();
}

TEST(OrderedJobs, MakesAWorkerForEachThread) {
  std::atomic<int> workers = 0;
  const OrderedJobs<Sum> jobs(3, [&] {
    ++workers;
    return Doubling();
  });
  EXPECT_EQ(3, workers);
}

}  // namespace
}  // namespace OrderedJobs_test
