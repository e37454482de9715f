#include "tools/threads/Crew.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <vector>

namespace Crew_test {
namespace {

class Crews : public testing::TestWithParam<int> {};

TEST_P(Crews, DoEachPieceOnce) {
  tool::Crew crew(GetParam());
  for (const std::size_t count : {0UL, 1UL, 2UL, 3UL, 1000UL, 5UL}) {
    std::vector<std::atomic<int>> done(count);
    crew.Do(count, [&](std::size_t piece) { ++done[piece]; });
    for (const std::atomic<int>& one : done) EXPECT_EQ(1, one);
  }
}

TEST_P(Crews, ThrowTheExceptionOfAPieceAndGoOn) {
  tool::Crew crew(GetParam());
  EXPECT_THROW(crew.Do(100, [](std::size_t piece) { piece == 3 ? throw std::runtime_error("3") : void(); }),
               std::runtime_error);
  std::atomic<int> done = 0;
  crew.Do(100, [&](std::size_t) { ++done; });
  EXPECT_EQ(100, done);
}

INSTANTIATE_TEST_SUITE_P(Threads, Crews, testing::Values(1, 2, 5));

}  // namespace
}  // namespace Crew_test
