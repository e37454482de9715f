#include "Platform/AssertionsThrow.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>
#include <string>
#include <thread>

#include "Platform/Assert.h"

namespace AssertionsThrow_test {
namespace {

void Fail() { QUAV_ASSERT(1 + 1 == 3, "1+1 == 3"); }

// Returns the failure that leaves the work in a scope.
template <class Work>
std::optional<AssertionFailure> FailureOf(const Work& work) {
  try {
    const AssertionsThrow scope;
    work();
  } catch (const AssertionFailure& failure) {
    return failure;
  }
  return std::nullopt;
}

TEST(AssertionsThrow, TurnsAFailedAssertionIntoAnException) {
  const auto failure = FailureOf(Fail);
  ASSERT_TRUE(failure);
  EXPECT_STREQ("1+1 == 3", failure->Text());
  EXPECT_THAT(failure->Source(), testing::HasSubstr("AssertionsThrow_test"));
  EXPECT_GT(failure->Line(), 1);
}

TEST(AssertionsThrow, LetsAnAssertionThatHoldsPass) {
  EXPECT_FALSE(FailureOf([] { QUAV_ASSERT(true, "true"); }));
}

TEST(AssertionsThrow, IsNoExceptionOfTheStandardLibrary) {
  EXPECT_TRUE(FailureOf([] {
    try {
      Fail();
    } catch (const std::exception&) {
      ADD_FAILURE();
    }
  }));
}

TEST(AssertionsThrow, StillHoldsAfterAScopeInside) {
  EXPECT_TRUE(FailureOf([] {
    EXPECT_TRUE(FailureOf(Fail));
    Fail();
  }));
}

TEST(AssertionsThrow, WorksWhileAnotherExceptionIsHandled) {
  try {
    throw std::runtime_error("another");
  } catch (const std::runtime_error&) {
    EXPECT_TRUE(FailureOf(Fail));
  }
}

// Runs the work when it is destroyed, as the unwinding of an exception does it.
template <class Work>
struct AtEnd {
  ~AtEnd() { work(); }
  Work work;
};

TEST(AssertionsThrow, WorksWithinADestructorThatUnwindingRuns) {
  bool hasFailed = false;
  try {
    const AtEnd atEnd{[&hasFailed] { hasFailed = FailureOf(Fail).has_value(); }};
    throw std::runtime_error("another");
  } catch (const std::runtime_error&) {
  }
  EXPECT_TRUE(hasFailed);
}

using AssertionsThrowDeathTest = testing::Test;

constexpr char kDeath[] = "assertion failed: 1\\+1 == 3";

TEST(AssertionsThrowDeathTest, DoesNothingAfterTheScope) {
  EXPECT_FALSE(FailureOf([] {}));
  EXPECT_DEATH(Fail(), kDeath);
}

TEST(AssertionsThrowDeathTest, DoesNothingOnOtherThreads) {
  const AssertionsThrow scope;
  EXPECT_DEATH(std::thread(Fail).join(), kDeath);
}

TEST(AssertionsThrowDeathTest, LetsAnAssertionInADestructorDuringUnwindingEndTheProcess) {
  const auto failTwice = [] {
    const AtEnd atEnd{Fail};
    Fail();
  };
  EXPECT_DEATH(FailureOf(failTwice), kDeath);
}

}  // namespace
}  // namespace AssertionsThrow_test
