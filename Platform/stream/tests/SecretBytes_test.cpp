#include "Platform/stream/SecretBytes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <string>

#include "Platform/stream/tests/LockedMemory.h"
#include "tests/support/FailingCrypto.h"

namespace SecretBytes_test {
namespace {

// The kernel's flags of the pages that hold the bytes.
std::string FlagsOf(const void* bytes) {
  std::ifstream maps("/proc/self/smaps");
  bool isWithin = false;
  for (std::string line; std::getline(maps, line);) {
    unsigned long begin = 0;
    unsigned long end = 0;
    if (std::sscanf(line.c_str(), "%lx-%lx", &begin, &end) == 2) {
      const auto place = reinterpret_cast<unsigned long>(bytes);
      isWithin = begin <= place && place < end;
    }
    if (isWithin && line.starts_with("VmFlags:")) return line;
  }
  return "";
}

TEST(SecretBytes, IsZeroAtFirst) {
  const auto secret = SecretBytes::Make(10'000);
  ASSERT_TRUE(secret);
  EXPECT_EQ(10'000U, secret->Size());
  EXPECT_TRUE(std::all_of(secret->Data(), secret->Data() + secret->Size(), [](unsigned char c) { return c == 0; }));
}

TEST(SecretBytes, IsLockedAndExcludedFromDumps) {
  if (!kMemoryIsLocked) GTEST_SKIP() << "no memory is locked under a sanitizer";
  const auto secret = SecretBytes::Make(32);
  ASSERT_TRUE(secret);
  const std::string flags = FlagsOf(secret->Data());
  EXPECT_NE(std::string::npos, flags.find(" lo")) << flags;
  EXPECT_NE(std::string::npos, flags.find(" dd")) << flags;
}

TEST(SecretBytes, MakeRandomGivesRandomBytes) {
  const auto one = SecretBytes::MakeRandom(32);
  const auto other = SecretBytes::MakeRandom(32);
  ASSERT_TRUE(one && other);
  EXPECT_FALSE(std::equal(one->Data(), one->Data() + 32, other->Data()));
}

TEST(SecretBytes, MakeReturnsNullForTooLargeASize) { EXPECT_EQ(nullptr, SecretBytes::Make(std::size_t{1} << 60)); }

TEST(SecretBytes, MakeRandomReturnsNullForTooLargeASize) {
  EXPECT_EQ(nullptr, SecretBytes::MakeRandom(std::size_t{1} << 60));
}

TEST(SecretBytes, MakeRandomReturnsNullWithoutRandomBytes) {
  const NoRandomBytes none;
  errno = 0;
  EXPECT_EQ(nullptr, SecretBytes::MakeRandom(32));
  EXPECT_EQ(EIO, errno);
}

// The test reads the text's memory while it still belongs to the text.
TEST(Wipe, ClearsTheWholeMemoryOfTheText) {
  for (const std::size_t size : {std::size_t{5}, std::size_t{100}}) {
    std::string text(size, 's');
    text.resize(2);  // its old contents are still in memory
    const char* const memory = text.data();
    Wipe(text);
    EXPECT_TRUE(text.empty());
    ASSERT_EQ(memory, text.data());
    text.resize(text.capacity(), '.');
    EXPECT_EQ(std::string::npos, text.find('s'));
  }
}

}  // namespace
}  // namespace SecretBytes_test
