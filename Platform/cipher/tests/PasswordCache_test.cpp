#include "Platform/cipher/PasswordCache.h"

#include <gtest/gtest.h>

#include <utility>

namespace PasswordCache_test {
namespace {

CipherHeader HeaderOf(int salt) {
  CipherHeader header;
  header.cost = {.logN = 1, .r = 1, .p = 1};
  header.salt[0] = static_cast<std::byte>(salt);
  return header;
}

std::shared_ptr<const FileKey> Announced(const std::string& name, int salt = 1) {
  auto key = FileKey::Derive("pass", HeaderOf(salt));
  AnnounceFileKey(name, key);
  return key;
}

TEST(PasswordCache, FindsAKeyWhileItHasAnOwner) {
  auto key = Announced("a");
  EXPECT_EQ(key, FindFileKey("pass", HeaderOf(1)));
  key.reset();
  EXPECT_EQ(nullptr, FindFileKey("pass", HeaderOf(1)));
}

TEST(PasswordCache, FindsOnlyTheSamePasswordAndHeader) {
  const auto key = Announced("b");
  EXPECT_EQ(key, FindFileKey("pass", HeaderOf(1)));
  EXPECT_EQ(nullptr, FindFileKey("word", HeaderOf(1)));
  EXPECT_EQ(nullptr, FindFileKey("pass", HeaderOf(2)));
}

TEST(PasswordCache, KeepsAStoredKeyUntilItIsRemoved) {
  Announced("d");
  TestAndStoreToPes("d", 3, 0);  // the key has no owner any more
  EXPECT_EQ(nullptr, FindFileKey("pass", HeaderOf(1)));
  auto key = Announced("d");
  TestAndStoreToPes("d", 3, 0);
  key.reset();
  EXPECT_NE(nullptr, FindFileKey("pass", HeaderOf(1)));
  RemoveFromPesCache("d");
  EXPECT_EQ(nullptr, FindFileKey("pass", HeaderOf(1)));
}

TEST(PasswordCache, StoresTheLastKeyOfAName) {
  auto first = Announced("e", 1);
  TestAndStoreToPes("e", 3, 0);
  auto second = Announced("e", 2);
  TestAndStoreToPes("e", 3, 0);
  first.reset();
  second.reset();
  EXPECT_EQ(nullptr, FindFileKey("pass", HeaderOf(1)));
  EXPECT_NE(nullptr, FindFileKey("pass", HeaderOf(2)));
  RemoveFromPesCache("e");
}

TEST(PasswordCache, StoringAKeyKeepsThoseOfOtherNames) {
  const std::pair<const char*, int> files[] = {{"i", 1}, {"j", 2}};
  for (const auto& [name, salt] : files) {
    const auto key = Announced(name, salt);
    TestAndStoreToPes(name, 3, 0);
  }
  for (const auto& [name, salt] : files) {
    EXPECT_NE(nullptr, FindFileKey("pass", HeaderOf(salt))) << name;
    RemoveFromPesCache(name);
    EXPECT_EQ(nullptr, FindFileKey("pass", HeaderOf(salt))) << name;
  }
}

TEST(PasswordCache, ChangesOnlyTheGivenName) {
  Announced("f").reset();
  auto key = Announced("f");
  TestAndStoreToPes("f", 3, 0);
  TestAndStoreToPes("never seen", 3, 0);
  RemoveFromPesCache("g");
  key.reset();
  EXPECT_NE(nullptr, FindFileKey("pass", HeaderOf(1)));
  RemoveFromPesCache("f");
}

// Another owner may still be using the key.
TEST(PasswordCache, FindsARemovedKeyWhileItHasAnOwner) {
  const auto key = Announced("h");
  TestAndStoreToPes("h", 3, 0);
  RemoveFromPesCache("h");
  EXPECT_EQ(key, FindFileKey("pass", HeaderOf(1)));
}

}  // namespace
}  // namespace PasswordCache_test
