#include "datasrc/PassThroughIter.h"

#include <gtest/gtest.h>

#include <array>

#include "tests/support/MemorySource.h"

namespace PassThroughIter_test {
namespace {

class PassThroughIterTest : public testing::Test {
 protected:
  PassThroughIterTest() { projector.FromTargetIndexes(2, std::array{1, 0}.data()); }

  static MemorySource TwoCases() {
    MemorySource source;
    source.AddNumber("A");
    source.AddNumber("B");
    source.AddCase({1.0, 10.0});
    source.AddCase({2.0, 20.0});
    return source;
  }

  const MemorySource source = TwoCases();
  const MemorySource view{&source};
  const MemorySource orphan;
  ObsProjector projector;
};

// Records the buffer that its iterator is made for.
class BufferRecorder : public MemorySource {
 public:
  mutable const OBS* buffer = nullptr;
  QUAV_InputCaseIterator* MakeIterator(OBS* given) const override {
    buffer = given;
    return MemorySource::MakeIterator(given);
  }
};

TEST_F(PassThroughIterTest, WithoutAProjectorTheParentFillsItsBuffer) {
  BufferRecorder parent;
  parent.AddNumber("A");
  const MemorySource over(&parent);
  OBS cell{};
  const PassThroughIter cases(over, &cell, nullptr);
  EXPECT_EQ(&cell, parent.buffer);
}

TEST_F(PassThroughIterTest, WithAProjectorTheParentHasABufferOfItsOwn) {
  BufferRecorder parent;
  parent.AddNumber("A");
  const MemorySource over(&parent);
  OBS cell{};
  const PassThroughIter cases(over, &cell, &projector);
  EXPECT_EQ(nullptr, parent.buffer);
}

TEST_F(PassThroughIterTest, ReturnsTheCasesOfTheParent) {
  PassThroughIter cases(view, nullptr, nullptr);
  ASSERT_EQ(1, cases.Next());
  EXPECT_EQ(1.0, cases.GetNumericValue(0));
  ASSERT_EQ(1, cases.Next());
  EXPECT_EQ(20.0, cases.GetNumericValue(1));
  EXPECT_EQ(0, cases.Next());
}

TEST_F(PassThroughIterTest, MovesTheCellsByItsProjector) {
  PassThroughIter cases(view, nullptr, &projector);
  ASSERT_EQ(1, cases.Next());
  EXPECT_EQ(10.0, cases.GetNumericValue(0));
  EXPECT_EQ(1.0, cases.GetNumericValue(1));
}

TEST_F(PassThroughIterTest, KeepsTheBufferAtTheEndOfTheData) {
  PassThroughIter cases(view, nullptr, &projector);
  cases.Seek(2);
  cases.SetColumnValue(0, 7.0);
  EXPECT_EQ(0, cases.Next());
  EXPECT_EQ(7.0, cases.GetNumericValue(0));
}

TEST_F(PassThroughIterTest, SeekAndTellMatchTheParent) {
  PassThroughIter cases(view, nullptr, nullptr);
  EXPECT_EQ(1, cases.IsSeekOK());
  EXPECT_EQ(1, cases.Seek(1));
  EXPECT_EQ(1, cases.Tell());
  EXPECT_EQ(0, cases.Seek(3));
}

TEST_F(PassThroughIterTest, ViewWithoutAParentHasNoCases) {
  PassThroughIter cases(orphan, nullptr, nullptr);
  EXPECT_EQ(0, cases.Next());
  EXPECT_EQ(0, cases.IsSeekOK());
  EXPECT_EQ(0, cases.Seek(0));
  EXPECT_EQ(0, cases.Tell());
}

TEST_F(PassThroughIterTest, DoesNotPassItsErrorMonitorToTheParent) {
  PassThroughIter cases(view, nullptr, nullptr);
  ErrorMonitor monitor;
  cases.SetErrorMonitor(&monitor);
  EXPECT_EQ(nullptr, cases.GetParent());
}

}  // namespace
}  // namespace PassThroughIter_test
