#include "Platform/cipher/CipherHeader.h"

#include <gtest/gtest.h>

#include "Platform/cipher/FileKey.h"

namespace CipherHeader_test {
namespace {

CipherHeader Some() {
  CipherHeader header;
  for (std::size_t i = 0; i < CipherHeader::kSaltSize; ++i) header.salt[i] = static_cast<std::byte>(i + 1);
  return header;
}

std::optional<CipherHeader> WithCost(int logN, int r, int p) {
  CipherHeader header = Some();
  header.cost = {static_cast<std::uint8_t>(logN), static_cast<std::uint8_t>(r), static_cast<std::uint8_t>(p)};
  return ParseCipherHeader(ToBytes(header));
}

TEST(CipherHeader, RoundTripsThroughItsBytes) { EXPECT_EQ(Some(), ParseCipherHeader(ToBytes(Some()))); }

TEST(CipherHeader, StoresEachFieldAtItsOffset) {
  const CipherHeader::Bytes bytes = ToBytes(Some());
  const unsigned char front[] = {'Q', 'U', 'A', 'V', 'C', 'I', 'P', 'H', 1, 1, 1, 17, 8, 1, 0, 0, 1, 2, 3};
  for (std::size_t i = 0; i < sizeof(front); ++i) EXPECT_EQ(front[i], std::to_integer<int>(bytes[i])) << i;
  EXPECT_EQ(32, std::to_integer<int>(bytes[47]));
}

TEST(CipherHeader, RefusesChangedBytesOutsideCostAndSalt) {
  for (std::size_t place = 0; place < 16; ++place) {
    if (place >= 11 && place <= 13) continue;
    CipherHeader::Bytes bytes = ToBytes(Some());
    bytes[place] ^= std::byte{0x10};
    EXPECT_FALSE(ParseCipherHeader(bytes)) << place;
  }
}

TEST(CipherHeader, AllowsFourTimesTheWorkAndTwiceTheMemory) {
  EXPECT_TRUE(WithCost(17, 8, 1));
  EXPECT_TRUE(WithCost(17, 8, 4));
  EXPECT_TRUE(WithCost(18, 8, 2));
  EXPECT_TRUE(WithCost(20, 2, 2));
  EXPECT_TRUE(WithCost(1, 1, 255));
}

TEST(CipherHeader, RefusesHigherCosts) {
  EXPECT_FALSE(WithCost(17, 8, 5));
  EXPECT_FALSE(WithCost(18, 8, 3));
  EXPECT_FALSE(WithCost(19, 8, 1));
  EXPECT_FALSE(WithCost(21, 1, 1));
  EXPECT_FALSE(WithCost(255, 255, 255));
  EXPECT_FALSE(WithCost(63, 1, 1));
}

// N is below 2^(16 r).
TEST(CipherHeader, RefusesCostsThatScryptDoesNotDefine) {
  EXPECT_TRUE(WithCost(15, 1, 1));
  EXPECT_FALSE(WithCost(16, 1, 1));
  EXPECT_FALSE(WithCost(20, 1, 1));
  EXPECT_TRUE(WithCost(20, 2, 1));
}

// Every cost that passes gives a key, so that a failure means a lack of memory.
TEST(CipherHeader, AcceptsOnlyCostsThatGiveAKey) {
  for (int logN = 1; logN <= 16; ++logN) {
    for (const int r : {1, 2, 3}) {
      for (const int p : {1, 2}) {
        const auto header = WithCost(logN, r, p);
        EXPECT_TRUE(!header || FileKey::Derive("password", *header)) << logN << ", " << r << ", " << p;
      }
    }
  }
}

TEST(CipherHeader, RefusesZeroCosts) {
  EXPECT_FALSE(WithCost(0, 8, 1));
  EXPECT_FALSE(WithCost(17, 0, 1));
  EXPECT_FALSE(WithCost(17, 8, 0));
}

}  // namespace
}  // namespace CipherHeader_test
