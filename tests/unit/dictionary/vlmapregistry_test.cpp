#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "datasrc/QUAV_ValueLabelMap.h"
#include "datasrc/QUAV_Variable.h"

namespace vlmapregistry_test {
namespace {

auto Asserts(const std::string& text) { return testing::HasSubstr("assertion failed: " + text + "\n"); }

QUAV_VLImplPointer NewMap() { return new QUAV_VLMapImpl(0); }

// Empties the process's registry after each test.
class VLMapRegistry : public testing::Test {
 protected:
  ~VLMapRegistry() override {
    QUAV_VLMapRegistry::SetOriginator(0);
    QUAV_VLMapRegistry::CollectGarbage();
  }
};
using VLMapRegistryDeathTest = VLMapRegistry;

TEST_F(VLMapRegistry, IssuesConsecutiveNumbersMarkedByTheOriginator) {
  QUAV_VLMapRegistry::SetOriginator(0x13);  // only the low 4 bits count
  const QUAV_VLMapID first = QUAV_VLMapRegistry::Add(NewMap(), {});
  const QUAV_VLMapID second = QUAV_VLMapRegistry::Add(NewMap(), {});
  EXPECT_EQ(3u, first.originator);
  EXPECT_EQ(QUAV_VLMapID(3, first.number + 1), second);
}

TEST_F(VLMapRegistry, KeepsAGivenIDAndIssuesNone) {
  const QUAV_VLMapID before = QUAV_VLMapRegistry::Add(NewMap(), {});
  EXPECT_EQ(QUAV_VLMapID(9, 1000), QUAV_VLMapRegistry::Add(NewMap(), {9, 1000}));
  EXPECT_EQ(before.number + 1, QUAV_VLMapRegistry::Add(NewMap(), {}).number);
}

TEST_F(VLMapRegistry, FindsMapsAndIDs) {
  const QUAV_VLImplPointer first = NewMap();
  const QUAV_VLImplPointer second = NewMap();
  QUAV_VLMapRegistry::Add(first, {1, 101});
  QUAV_VLMapRegistry::Add(second, {1, 102});
  EXPECT_EQ(QUAV_VLMapID(1, 101), QUAV_VLMapRegistry::GetID(first));
  EXPECT_EQ(QUAV_VLMapID(1, 102), QUAV_VLMapRegistry::GetID(second));
  EXPECT_TRUE(QUAV_VLMapRegistry::GetMap({1, 101}) == first);
  EXPECT_TRUE(QUAV_VLMapRegistry::GetMap({1, 102}) == second);
  EXPECT_FALSE(QUAV_VLMapRegistry::GetMap({1, 103}).IsValid());
}

TEST_F(VLMapRegistry, FirstMapWithAnIDIsFound) {
  const QUAV_VLImplPointer first = NewMap();
  const QUAV_VLImplPointer second = NewMap();
  QUAV_VLMapRegistry::Add(first, {1, 101});
  QUAV_VLMapRegistry::Add(second, {1, 101});
  EXPECT_TRUE(QUAV_VLMapRegistry::GetMap({1, 101}) == first);
  QUAV_VLMapRegistry::SetID(first, {1, 102});
  EXPECT_TRUE(QUAV_VLMapRegistry::GetMap({1, 101}) == second);
  EXPECT_EQ(QUAV_VLMapID(1, 102), QUAV_VLMapRegistry::GetID(first));
}

// A map that was registered twice cannot be removed, so this runs in a separate process.
[[noreturn]] void RegisterTwice() {
  const QUAV_VLMapID firstID(1, 201), secondID(1, 202);
  QUAV_VLMapID found;
  {
    const QUAV_VLImplPointer map = NewMap();
    QUAV_VLMapRegistry::Add(map, firstID);
    QUAV_VLMapRegistry::Add(map, secondID);
    found = QUAV_VLMapRegistry::GetID(map);
  }
  QUAV_VLMapRegistry::CollectGarbage();
  const bool bothStay = QUAV_VLMapRegistry::GetMap(firstID).IsValid() && QUAV_VLMapRegistry::GetMap(secondID).IsValid();
  std::_Exit(found == firstID && bothStay ? 0 : 1);
}

TEST_F(VLMapRegistryDeathTest, MapRegisteredTwiceHasItsFirstIDAndIsNeverCollected) {
  EXPECT_EXIT(RegisterTwice(), testing::ExitedWithCode(0), "");
}

TEST_F(VLMapRegistry, DoesNotFindAnUnregisteredMapWithEqualContent) {
  QUAV_ValueLabelMap registered(0), equal(0);
  registered.AddPair(1.0, "one");
  equal.AddPair(1.0, "one");
  QUAV_VLMapRegistry::Add(registered, {1, 251});
  ASSERT_TRUE(registered == equal);
  EXPECT_FALSE(QUAV_VLMapRegistry::GetID(equal).IsValid());
}

TEST_F(VLMapRegistry, NullMapAndInvalidIDFindNothing) {
  EXPECT_FALSE(QUAV_VLMapRegistry::GetID({}).IsValid());
  EXPECT_FALSE(QUAV_VLMapRegistry::GetMap({}).IsValid());
}

TEST_F(VLMapRegistryDeathTest, SettingTheIDOfAnUnknownMapAsserts) {
  EXPECT_DEATH(QUAV_VLMapRegistry::SetID(NewMap(), {1, 1}), Asserts("i < _Pairs.size()"));
  QUAV_VLMapRegistry::Add(NewMap(), {1, 301});
  EXPECT_DEATH(QUAV_VLMapRegistry::SetID(NewMap(), {1, 1}), Asserts("i < _Pairs.size()"));
}

TEST_F(VLMapRegistry, CollectsMapsThatAreNotShared) {
  QUAV_Variable variable(0);
  variable.SetValueLabels(NewMap());
  QUAV_VLMapRegistry::Add(NewMap(), {1, 401});
  QUAV_VLMapRegistry::Add(variable.GetValueLabels(), {1, 402});
  QUAV_VLMapRegistry::Add(NewMap(), {1, 403});
  QUAV_VLMapRegistry::Add({}, {1, 404});
  QUAV_VLMapRegistry::CollectGarbage();
  EXPECT_FALSE(QUAV_VLMapRegistry::GetMap({1, 401}).IsValid());
  EXPECT_TRUE(QUAV_VLMapRegistry::GetMap({1, 402}) == variable.GetValueLabels());
  EXPECT_FALSE(QUAV_VLMapRegistry::GetMap({1, 403}).IsValid());
}

TEST_F(VLMapRegistry, CollectionKeepsTheOrder) {
  const QUAV_VLImplPointer kept = NewMap();
  const QUAV_VLImplPointer later = NewMap();
  QUAV_VLMapRegistry::Add(NewMap(), {1, 501});
  QUAV_VLMapRegistry::Add(kept, {1, 502});
  QUAV_VLMapRegistry::Add(NewMap(), {1, 503});
  QUAV_VLMapRegistry::Add(later, {1, 502});
  QUAV_VLMapRegistry::CollectGarbage();
  EXPECT_TRUE(QUAV_VLMapRegistry::GetMap({1, 502}) == kept);
}

}  // namespace
}  // namespace vlmapregistry_test
