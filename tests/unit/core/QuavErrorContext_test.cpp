#include "datasrc/QuavErrorContext.h"

#include <gtest/gtest.h>

namespace QuavErrorContext_test {
namespace {

TEST(QuavErrorContext, HasNoMonitorByDefault) { EXPECT_EQ(QuavErrorContext::GetErrorMonitor(), nullptr); }

TEST(QuavErrorContext, KeepsTheMonitorUntilAnotherIsSet) {
  ErrorMonitor monitor;
  QuavErrorContext::SetErrorMonitor(&monitor);
  EXPECT_EQ(QuavErrorContext::GetErrorMonitor(), &monitor);
  QuavErrorContext::SetErrorMonitor(nullptr);
  EXPECT_EQ(QuavErrorContext::GetErrorMonitor(), nullptr);
}

}  // namespace
}  // namespace QuavErrorContext_test
