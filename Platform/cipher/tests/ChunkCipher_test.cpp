#include "Platform/cipher/ChunkCipher.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>

#include "Platform/cipher/FileKey.h"
#include "Platform/cipher/tests/CipherTesting.h"
#include "Platform/stream/tests/LockedMemory.h"
#include "tests/support/FailingCrypto.h"

namespace ChunkCipher_test {
namespace {

CipherHeader KnownHeader() {
  CipherHeader header;
  header.cost = {.logN = 4, .r = 8, .p = 1};
  for (std::size_t i = 0; i < CipherHeader::kSaltSize; ++i) header.salt[i] = static_cast<std::byte>(i);
  return header;
}

std::string Text(const unsigned char* bytes, std::size_t size) { return {reinterpret_cast<const char*>(bytes), size}; }

TEST(FileKey, DerivesAKnownKey) {
  const auto key = FileKey::Derive("p\u00e4ssword", KnownHeader());
  ASSERT_TRUE(key);
  EXPECT_EQ(FromHex("092114e81228ff60209ac58ec37003d422d4d5eb5facfd3bf74bf15e9c548f47"),
            Text(key->Bytes(), FileKey::kSize));
}

TEST(FileKey, MatchesOnlyItsPasswordAndHeader) {
  const auto key = FileKey::Derive("one", KnownHeader());
  ASSERT_TRUE(key);
  EXPECT_TRUE(key->IsFor("one", KnownHeader()));
  EXPECT_FALSE(key->IsFor("two", KnownHeader()));
  EXPECT_FALSE(key->IsFor("ones", KnownHeader()));
  EXPECT_FALSE(key->IsFor("", KnownHeader()));
  CipherHeader other = KnownHeader();
  other.salt[31] ^= std::byte{1};
  EXPECT_FALSE(key->IsFor("one", other));
  other = KnownHeader();
  other.cost.p = 2;
  EXPECT_FALSE(key->IsFor("one", other));
}

// Runs in its own process, whose user may lock nothing.
int ErrorWhereNoMemoryMayBeLocked() {
  const rlimit none{0, 0};
  if (setrlimit(RLIMIT_MEMLOCK, &none) != 0) return -1;
  if (geteuid() == 0 && setuid(65534) != 0) return -1;
  errno = 0;
  return FileKey::Derive("one", KnownHeader()) ? 0 : errno;
}

TEST(FileKeyDeathTest, DeriveFailsWhenNoMemoryMayBeLocked) {
  if (!kMemoryIsLocked) GTEST_SKIP() << "no memory is locked under a sanitizer";
  EXPECT_EXIT(_exit(ErrorWhereNoMemoryMayBeLocked()), testing::ExitedWithCode(ENOLCK), "");
}

TEST(ChunkCipher, SealsAKnownChunk) {
  const auto key = FileKey::Derive("p\u00e4ssword", KnownHeader());
  ASSERT_TRUE(key);
  ChunkCipher cipher(ChunkCipher::Direction::encipher, key->Bytes(), KnownHeader());
  ASSERT_TRUE(cipher.IsReady());
  std::string chunk = "twenty-one plain byte" + std::string(ChunkCipher::kTagSize, '\0');
  auto* const bytes = reinterpret_cast<std::byte*>(chunk.data());
  ASSERT_TRUE(cipher.Seal(bytes, 21, true, bytes));
  EXPECT_EQ(FromHex("c7e07face129ee539e4c4a38b21854b36b0b6e692d2ad0156645fdb1579a3bccd849dd1365"), chunk);
}

// The number of the chunk carries from byte to byte.
TEST(ChunkCipher, CounterCarriesOverManyChunks) {
  const auto key = FileKey::Derive("many", KnownHeader());
  ASSERT_TRUE(key);
  ChunkCipher seals(ChunkCipher::Direction::encipher, key->Bytes(), KnownHeader());
  ChunkCipher opens(ChunkCipher::Direction::decipher, key->Bytes(), KnownHeader());
  std::string before;
  for (int i = 0; i < 600; ++i) {
    std::string chunk(1 + ChunkCipher::kTagSize, '\0');
    auto* const bytes = reinterpret_cast<std::byte*>(chunk.data());
    ASSERT_TRUE(seals.Seal(bytes, 1, false, bytes));
    EXPECT_NE(before, chunk);
    before = chunk;
    ASSERT_TRUE(opens.Open(bytes, 1, false, bytes));
    EXPECT_EQ('\0', chunk[0]);
  }
}

TEST(ChunkCipher, FailsWheneverLibcryptoFails) {
  const auto key = FileKey::Derive("one", KnownHeader());
  ASSERT_TRUE(key);
  for (const auto direction : {ChunkCipher::Direction::encipher, ChunkCipher::Direction::decipher}) {
    for (int n = 1;; ++n) {
      const FailingCipher failing(n);
      ChunkCipher cipher(direction, key->Bytes(), KnownHeader());
      std::string chunk(5 + ChunkCipher::kTagSize, 'x');
      auto* const bytes = reinterpret_cast<std::byte*>(chunk.data());
      const bool isDone =
          cipher.IsReady() && (direction == ChunkCipher::Direction::encipher ? cipher.Seal(bytes, 5, true, bytes)
                                                                             : cipher.Open(bytes, 5, true, bytes));
      EXPECT_NE(failing.Struck(), isDone) << "operation " << n;
      if (failing.Struck()) continue;
      EXPECT_LT(5, n);
      break;
    }
  }
}

}  // namespace
}  // namespace ChunkCipher_test
