#include "tools/messages/Losses.h"

#include <gtest/gtest.h>

namespace Losses_test {
namespace {

using tool::Losses;

TEST(Losses, CountsEachKindAndReportsInTheOrderOfTheFirstLoss) {
  Losses losses;
  EXPECT_TRUE(losses.IsEmpty());
  losses.Add("lines");
  losses.Add("labels", 3);
  losses.Note("a note");
  losses.Add("lines", 2);
  EXPECT_EQ(3, losses.Count("lines"));
  EXPECT_EQ(0, losses.Count("names"));
  testing::internal::CaptureStderr();
  losses.Report("f");
  EXPECT_EQ("datasrc: warning: lines: 3: f\ndatasrc: warning: labels: 3: f\ndatasrc: warning: a note: f\n",
            testing::internal::GetCapturedStderr());
}

TEST(Losses, NothingLostIsNoWarning) {
  Losses losses;
  losses.Add("lines", 0);
  EXPECT_TRUE(losses.IsEmpty());
}

}  // namespace
}  // namespace Losses_test
