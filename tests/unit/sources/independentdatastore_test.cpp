#include "datasrc/IndependentDataStore.h"

#include <gtest/gtest.h>

#include "tests/support/MemorySource.h"
#include "tests/support/VirtualSlot.h"

namespace independentdatastore_test {
namespace {

// The smallest possible store.
class BareStore : public IndependentDataStore {
 public:
  using IndependentDataStore::IndependentDataStore;
  QUAV_InputCaseIterator* MakeIterator(OBS*) const override { return nullptr; }
  void AddRow(const OBS*) override {}
  void Close() override {}
};

TEST(IndependentDataStore, VirtualFunctionsFollowThoseOfTheSource) {
  EXPECT_EQ(VirtualSlot(&IndependentDataStore::AddRow), 11u);
  EXPECT_EQ(VirtualSlot(&IndependentDataStore::Close), 12u);
  EXPECT_EQ(VirtualSlot(&IndependentDataStore::SetCompression), 13u);
  EXPECT_EQ(VirtualSlot(&IndependentDataStore::SetCompressionLevel), 14u);
  EXPECT_EQ(VirtualSlot(&IndependentDataStore::CommitDictionary), 15u);
}

TEST(IndependentDataStore, CopiesTheDictionaryOfItsParent) {
  MemorySource parent;
  parent.AddNumber("A");
  const BareStore store(&parent);
  EXPECT_EQ(store.GetParentSource(), &parent);
  EXPECT_EQ(store.ColumnCount(), 1u);
}

TEST(IndependentDataStore, MayHaveNoParent) {
  const BareStore store(nullptr);
  EXPECT_EQ(store.GetParentSource(), nullptr);
  EXPECT_EQ(store.ColumnCount(), 0u);
}

TEST(IndependentDataStore, CompressionAndCommitDoNothingByDefault) {
  BareStore store(nullptr);
  store.SetDirty(false);
  store.SetCompression(true);
  store.SetCompressionLevel(2);
  store.CommitDictionary();
  EXPECT_FALSE(store.IsDirty());
}

}  // namespace
}  // namespace independentdatastore_test
