#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "datasrc/QUAV_DataSource.h"
#include "datasrc/QUAV_InputCaseIterator.h"
#include "tests/support/MemorySource.h"
#include "tests/support/VirtualSlot.h"

namespace inputcaseiterator_test {
namespace {

using testing::Each;

class InputCaseIterator : public testing::Test {
 protected:
  InputCaseIterator() {
    source.AddNumber("A");
    source.AddText("B", 4);
    source.AddCase({1.0, "one"});
    source.AddCase({2.0, "two"});
  }

  std::unique_ptr<QUAV_InputCaseIterator> MakeIterator(OBS* buffer = nullptr) const {
    return std::unique_ptr<QUAV_InputCaseIterator>(source.MakeIterator(buffer));
  }

  MemorySource source;
};

TEST_F(InputCaseIterator, VirtualFunctionsKeepTheirOrder) {
  EXPECT_EQ(VirtualSlot(&QUAV_InputCaseIterator::SetErrorMonitor), 2u);
  EXPECT_EQ(VirtualSlot(&QUAV_InputCaseIterator::IsSeekOK), 3u);
  EXPECT_EQ(VirtualSlot(&QUAV_InputCaseIterator::Seek), 4u);
  EXPECT_EQ(VirtualSlot(&QUAV_InputCaseIterator::Tell), 5u);
  EXPECT_EQ(VirtualSlot(&QUAV_InputCaseIterator::Next), 6u);
}

TEST_F(InputCaseIterator, NullBufferMakesACaseSetToMissingAndBlanks) {
  const auto iterator = MakeIterator();
  EXPECT_EQ(*iterator->GetObsPointer(0), kSystemMissingCell);
  EXPECT_EQ(*iterator->GetObsPointer(1), kBlankCell);
}

TEST_F(InputCaseIterator, NeitherInitialisesNorFreesACallersBuffer) {
  constexpr OBS kUntouched{7};
  std::vector<OBS> cells(2, kUntouched);
  {
    const auto iterator = MakeIterator(cells.data());
    EXPECT_EQ(iterator->GetObsPointer(0), cells.data());
  }
  EXPECT_THAT(cells, Each(kUntouched));
}

TEST_F(InputCaseIterator, ReturnsItsSource) { EXPECT_EQ(MakeIterator()->GetDataSource(), &source); }

TEST_F(InputCaseIterator, NotifiesTheObserversOfItsSource) {
  struct Listener final : QUAV_DataSource::Observer {
    void IteratorMade(QUAV_InputCaseIterator* made) override { iterator = made; }
    QUAV_InputCaseIterator* iterator = nullptr;
  } listener;
  source.Register(&listener);
  const auto iterator = MakeIterator();
  EXPECT_EQ(listener.iterator, iterator.get());
}

TEST_F(InputCaseIterator, ReadsAndWritesTheColumnsOfItsCase) {
  const auto iterator = MakeIterator();
  iterator->SetColumnValue(0, 3.0);
  iterator->SetColumnValue(1, "abc");
  EXPECT_EQ(iterator->GetNumericValue(0), 3.0);
  EXPECT_EQ(std::string(iterator->GetStringValue(1), 8), "abc     ");
  iterator->SetColumnValue(1, "xyz", 1);
  EXPECT_EQ(std::string(iterator->GetStringValue(1), 8), "x       ");
  iterator->InitCase(1, 1);
  EXPECT_EQ(*iterator->GetObsPointer(1), kBlankCell);
  EXPECT_EQ(iterator->GetNumericValue(0), 3.0);
  iterator->InitCase();
  EXPECT_EQ(*iterator->GetObsPointer(0), kSystemMissingCell);
}

TEST_F(InputCaseIterator, MakesIteratorsOnItsBuffer) {
  const auto iterator = MakeIterator();
  const std::unique_ptr<QUAV_InputCaseIterator> other(iterator->MakeIterator(&source));
  EXPECT_EQ(other->GetObsPointer(0), iterator->GetObsPointer(0));
  EXPECT_EQ(iterator->MakeIterator(nullptr), nullptr);
}

// ---- Monitor and parent ----

TEST_F(InputCaseIterator, HasNeitherMonitorNorParentByDefault) {
  const auto iterator = MakeIterator();
  EXPECT_EQ(iterator->GetErrorMonitor(), nullptr);
  EXPECT_EQ(iterator->GetParent(), nullptr);
}

TEST_F(InputCaseIterator, PassesItsMonitorToItsParents) {
  const auto iterator = MakeIterator();
  const auto parent = MakeIterator();
  const auto grandparent = MakeIterator();
  iterator->SetParent(parent.get());
  parent->SetParent(grandparent.get());
  ErrorMonitor monitor;
  iterator->SetErrorMonitor(&monitor);
  EXPECT_EQ(iterator->GetErrorMonitor(), &monitor);
  EXPECT_EQ(parent->GetErrorMonitor(), &monitor);
  EXPECT_EQ(grandparent->GetErrorMonitor(), &monitor);
}

TEST_F(InputCaseIterator, PassesItsMonitorToANewParent) {
  const auto iterator = MakeIterator();
  const auto parent = MakeIterator();
  ErrorMonitor monitor;
  iterator->SetErrorMonitor(&monitor);
  iterator->SetParent(parent.get());
  EXPECT_EQ(iterator->GetParent(), parent.get());
  EXPECT_EQ(parent->GetErrorMonitor(), &monitor);
}

TEST_F(InputCaseIterator, WithoutAMonitorRemovesTheMonitorOfANewParent) {
  const auto iterator = MakeIterator();
  const auto parent = MakeIterator();
  ErrorMonitor monitor;
  parent->SetErrorMonitor(&monitor);
  iterator->SetParent(parent.get());
  EXPECT_EQ(parent->GetErrorMonitor(), nullptr);
}

TEST_F(InputCaseIterator, SetParentOfNullRemovesTheParent) {
  const auto iterator = MakeIterator();
  const auto parent = MakeIterator();
  iterator->SetParent(parent.get());
  iterator->SetParent(nullptr);
  EXPECT_EQ(iterator->GetParent(), nullptr);
}

TEST_F(InputCaseIterator, DoesNotDeleteItsParent) {
  const auto parent = MakeIterator();
  { MakeIterator()->SetParent(parent.get()); }
  EXPECT_TRUE(parent->Next()) << "the sanitizer reports a deleted parent";
}

// ---- MemorySource, which other tests rely on ----

TEST_F(InputCaseIterator, MemorySourceReturnsItsCases) {
  const auto iterator = MakeIterator();
  EXPECT_EQ(source.RowCount(), 2);
  EXPECT_EQ(iterator->Tell(), 0);
  ASSERT_TRUE(iterator->Next());
  EXPECT_EQ(iterator->GetNumericValue(0), 1.0);
  EXPECT_EQ(iterator->Tell(), 1);
  ASSERT_TRUE(iterator->Next());
  EXPECT_EQ(std::string(iterator->GetStringValue(1), 4), "two ");
  EXPECT_FALSE(iterator->Next());
  EXPECT_EQ(iterator->Tell(), 2);
}

TEST_F(InputCaseIterator, MemorySourceSeeks) {
  const auto iterator = MakeIterator();
  EXPECT_TRUE(iterator->IsSeekOK());
  EXPECT_TRUE(iterator->Seek(1));
  ASSERT_TRUE(iterator->Next());
  EXPECT_EQ(iterator->GetNumericValue(0), 2.0);
  EXPECT_FALSE(iterator->Seek(-1));
  EXPECT_FALSE(iterator->Seek(3));
  EXPECT_TRUE(iterator->Seek(2));
  EXPECT_FALSE(iterator->Next());
}

}  // namespace
}  // namespace inputcaseiterator_test
