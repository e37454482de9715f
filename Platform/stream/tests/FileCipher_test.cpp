#include "Platform/stream/FileCipher.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <string>

#include "Platform/stream/tests/LockedMemory.h"
#include "Platform/stream/tests/StreamTesting.h"
#include "tests/support/FailingCrypto.h"

namespace FileCipher_test {
namespace {

std::string Applied(const FileCipher& cipher, std::string bytes, std::int64_t offset) {
  auto* const place = reinterpret_cast<std::byte*>(bytes.data());
  EXPECT_TRUE(cipher.Apply(place, place, bytes.size(), offset));
  return bytes;
}

TEST(FileCipher, DeciphersWhatItEnciphered) {
  const auto cipher = FileCipher::Make();
  ASSERT_TRUE(cipher);
  const std::string plain = Noise(100'000);
  EXPECT_TRUE(SameBytes(plain, Applied(*cipher, Applied(*cipher, plain, 0), 0)));
}

// An enciphered byte may equal the plain one by chance, but not with each of many ciphers.
TEST(FileCipher, LeavesNoByteThatIsAlwaysPlain) {
  std::string plain(4096, 'a');  // an 'a' where the byte was plain with every cipher so far
  for (int count = 0; count < 16; ++count) {
    const std::string enciphered = Applied(*FileCipher::Make(), std::string(plain.size(), 'a'), 0);
    EXPECT_NE(enciphered.substr(0, 16), enciphered.substr(16, 16));
    for (std::size_t at = 0; at < plain.size(); ++at)
      if (enciphered[at] != 'a') plain[at] = '.';
  }
  EXPECT_EQ(std::string::npos, plain.find('a'));
}

TEST(FileCipher, EnciphersAnyRangeByItself) {
  const auto cipher = FileCipher::Make();
  const std::string plain = Noise(200);
  for (const std::int64_t start : {std::int64_t{0}, std::int64_t{5}, (std::int64_t{1} << 40) - 100}) {
    const std::string whole = Applied(*cipher, plain, start);
    for (std::size_t first = 0; first < plain.size(); ++first)
      EXPECT_EQ(whole.substr(first, 37),
                Applied(*cipher, plain.substr(first, 37), start + static_cast<std::int64_t>(first)));
  }
}

TEST(FileCipher, EnciphersIntoAnotherBuffer) {
  const auto cipher = FileCipher::Make();
  const std::string plain = Noise(1000);
  std::string to(1000, '\0');
  EXPECT_TRUE(cipher->Apply(reinterpret_cast<const std::byte*>(plain.data()), reinterpret_cast<std::byte*>(to.data()),
                            plain.size(), 3));
  EXPECT_EQ(Applied(*cipher, plain, 3), to);
}

TEST(FileCipher, AcceptsZeroBytes) {
  const auto cipher = FileCipher::Make();
  EXPECT_TRUE(cipher->Apply(nullptr, nullptr, 0, 7));
}

TEST(FileCipher, EnciphersEachFileDifferently) {
  const std::string plain(64, '\0');
  EXPECT_NE(Applied(*FileCipher::Make(), plain, 0), Applied(*FileCipher::Make(), plain, 0));
}

TEST(FileCipher, MakeFailsWithoutRandomBytes) {
  const NoRandomBytes none;
  errno = 0;
  EXPECT_EQ(nullptr, FileCipher::Make());
  EXPECT_EQ(EIO, errno);
}

TEST(FileCipher, EnciphersRightlyOrFailsWhenLibcryptoHasNoMemory) {
  const auto cipher = FileCipher::Make();
  ASSERT_TRUE(cipher);
  const std::string plain = Noise(1000);
  const std::string expected = Applied(*cipher, plain, 5);
  for (long requests = 0;; ++requests) {
    std::string bytes = plain;
    auto* const place = reinterpret_cast<std::byte*>(bytes.data());
    const CryptoMemory memory(requests);
    if (cipher->Apply(place, place, bytes.size(), 5)) {
      EXPECT_TRUE(SameBytes(expected, bytes)) << requests;
    } else {
      EXPECT_TRUE(memory.RanOut()) << requests;
    }
    if (!memory.RanOut()) break;
    ASSERT_GT(100, requests);
  }
}

TEST(FileCipher, FailsWheneverLibcryptoFails) {
  const auto cipher = FileCipher::Make();
  ASSERT_TRUE(cipher);
  for (int n = 1;; ++n) {
    std::string bytes = Noise(100);
    auto* const place = reinterpret_cast<std::byte*>(bytes.data());
    const FailingCipher failing(n);
    const bool isDone = cipher->Apply(place, place, bytes.size(), 5);
    EXPECT_NE(failing.Struck(), isDone) << "operation " << n;
    if (failing.Struck()) continue;
    EXPECT_LT(2, n);
    break;
  }
}

// The locked memory of this process, in kB.
long LockedMemory() {
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;) {
    if (word != "VmLck:") continue;
    long size = 0;
    status >> size;
    return size;
  }
  return -1;
}

TEST(FileCipher, KeepsItsKeyInLockedMemory) {
  if (!kMemoryIsLocked) GTEST_SKIP() << "no memory is locked under a sanitizer";
  const auto cipher = FileCipher::Make();
  EXPECT_GE(LockedMemory(), 4);
}

// Runs in its own process, whose user may lock nothing and which has no key yet.
int ErrorWhereNoMemoryMayBeLocked() {
  const rlimit none{0, 0};
  if (setrlimit(RLIMIT_MEMLOCK, &none) != 0) return -1;
  if (geteuid() == 0 && setuid(65534) != 0) return -1;
  errno = 0;
  return FileCipher::Make() ? 0 : errno;
}

TEST(FileCipherDeathTest, MakeFailsWhenNoMemoryMayBeLocked) {
  if (!kMemoryIsLocked) GTEST_SKIP() << "no memory is locked under a sanitizer";
  testing::GTEST_FLAG(death_test_style) = "threadsafe";
  EXPECT_EXIT(_exit(ErrorWhereNoMemoryMayBeLocked()), testing::ExitedWithCode(ENOLCK), "");
}

}  // namespace
}  // namespace FileCipher_test
