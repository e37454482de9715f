#include "datasrc/Settings.h"

#include <gtest/gtest.h>

namespace {

// Puts the setting back.
class AsynchronousReading : public testing::Test {
 protected:
  ~AsynchronousReading() override { setasynchreading_(&m_before); }

 private:
  int m_before = getasynchreading_();
};

TEST_F(AsynchronousReading, IsOnAtFirst) { EXPECT_EQ(getasynchreading_(), 1); }

TEST_F(AsynchronousReading, IsWhatItWasSetTo) {
  for (int value : {0, 1, 7, -1}) {
    setasynchreading_(&value);
    EXPECT_EQ(getasynchreading_(), value);
  }
}

}  // namespace
