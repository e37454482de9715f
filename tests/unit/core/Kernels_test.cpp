#include "core/Kernels.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

namespace Kernels_test {
namespace {

using Kernel = int();
int Plain() { return 0; }
int Portable() { return 1; }
int Avx2() { return 2; }
int Avx512() { return 3; }

TEST(KernelsByName, FindsEachVersion) {
  EXPECT_EQ(KernelVersion::plain, KernelsByName("plain", KernelVersion::avx512));
  EXPECT_EQ(KernelVersion::portable, KernelsByName("portable", KernelVersion::avx512));
  EXPECT_EQ(KernelVersion::avx2, KernelsByName("avx2", KernelVersion::avx512));
  EXPECT_EQ(KernelVersion::avx512, KernelsByName("avx512", KernelVersion::avx512));
}

TEST(KernelsByName, TakesTheBestWithoutAKnownName) {
  for (const KernelVersion best : {KernelVersion::portable, KernelVersion::avx2, KernelVersion::avx512}) {
    EXPECT_EQ(best, KernelsByName(nullptr, best));
    for (const char* name : {"", "AVX2", "avx", "avx5123", "plain "}) EXPECT_EQ(best, KernelsByName(name, best));
  }
}

TEST(KernelsByName, TakesNoneThatTheProcessorCannotRun) {
  EXPECT_EQ(KernelVersion::avx2, KernelsByName("avx512", KernelVersion::avx2));
  EXPECT_EQ(KernelVersion::portable, KernelsByName("avx512", KernelVersion::portable));
  EXPECT_EQ(KernelVersion::portable, KernelsByName("avx2", KernelVersion::portable));
  EXPECT_EQ(KernelVersion::plain, KernelsByName("plain", KernelVersion::portable));
}

// The test programs run once for each value of the variable.
TEST(ChosenKernels, AreThoseThatTheEnvironmentNames) {
  EXPECT_EQ(KernelsByName(std::getenv("DATASRC_KERNELS"), BestKernels()), ChosenKernels());
}

TEST(Chosen, IsTheVersionOfTheProcess) {
  constexpr KernelTable<Kernel> kAll = {Plain, Portable, Avx2, Avx512};
  EXPECT_EQ(static_cast<int>(ChosenKernels()), Chosen(kAll)());
}

TEST(Chosen, IsTheNextSlowerVersionWhereOneIsMissing) {
  constexpr KernelTable<Kernel> kPlainOnly = {Plain, nullptr, nullptr, nullptr};
  EXPECT_EQ(Plain, Chosen(kPlainOnly));
  constexpr KernelTable<Kernel> kNoVectors = {Plain, Portable, nullptr, nullptr};
  EXPECT_EQ(ChosenKernels() == KernelVersion::plain ? Plain : Portable, Chosen(kNoVectors));
}

TEST(Runnable, HasAllVersionsOfTheProcessorTheFastestLast) {
  constexpr KernelTable<Kernel> kAll = {Plain, Portable, Avx2, Avx512};
  const auto best = static_cast<std::size_t>(BestKernels());
  const std::vector<Kernel*> all = Runnable(kAll);
  ASSERT_EQ(best + 1, all.size());
  for (std::size_t i = 0; i <= best; ++i) EXPECT_EQ(kAll[i], all[i]);
  constexpr KernelTable<Kernel> kGap = {Plain, nullptr, Avx2, Avx512};
  EXPECT_EQ(best, Runnable(kGap).size());
}

}  // namespace
}  // namespace Kernels_test
