#include "Platform/stream/Holes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace Holes_test {
namespace {

// The bytes from `offset` on: "x" for a written byte, "." for one in a hole.
std::string Shown(const Holes& holes, std::size_t size, std::int64_t offset = 0) {
  std::vector<std::byte> bytes(size, std::byte{'x'});
  holes.Clear(bytes.data(), size, offset);
  std::string text;
  for (const std::byte byte : bytes) text += byte == std::byte{} ? '.' : static_cast<char>(byte);
  return text;
}

TEST(Holes, HasNoneAtFirst) {
  EXPECT_TRUE(Holes().None());
  EXPECT_EQ("xxxx", Shown(Holes(), 4));
}

TEST(Holes, ClearSetsHolesToZero) {
  Holes holes;
  holes.Add(2, 5);
  EXPECT_FALSE(holes.None());
  EXPECT_EQ("xx...xx", Shown(holes, 7));
  EXPECT_EQ("..x", Shown(holes, 3, 3));
  EXPECT_EQ("xxx", Shown(holes, 3, 5));
}

TEST(Holes, IgnoresAnEmptyHole) {
  Holes holes;
  holes.Add(3, 3);
  EXPECT_TRUE(holes.None());
}

TEST(Holes, FillsAPartOfAHole) {
  Holes holes;
  holes.Add(2, 8);
  holes.Fill(4, 5);
  EXPECT_EQ("xx..x...x", Shown(holes, 9));
  holes.Fill(0, 3);
  EXPECT_EQ("xxx.x...x", Shown(holes, 9));
  holes.Fill(3, 100);
  EXPECT_TRUE(holes.None());
}

TEST(Holes, AgreesWithAPictureInRandomRounds) {
  std::mt19937 random(1);
  for (int round = 0; round < 2000; ++round) {
    std::string picture(40, 'x');
    Holes holes;
    for (std::size_t at = random() % 5; at < 35; at += 2 + random() % 9) {
      const std::size_t size = 1 + random() % 4;
      holes.Add(static_cast<std::int64_t>(at), static_cast<std::int64_t>(at + size));
      std::fill_n(picture.begin() + static_cast<std::ptrdiff_t>(at), size, '.');
      at += size;
    }
    for (int i = 0; i < 4; ++i) {
      const std::size_t from = random() % 40;
      const std::size_t to = from + random() % (41 - from);
      holes.Fill(static_cast<std::int64_t>(from), static_cast<std::int64_t>(to));
      std::fill(picture.begin() + static_cast<std::ptrdiff_t>(from), picture.begin() + static_cast<std::ptrdiff_t>(to),
                'x');
    }
    ASSERT_EQ(picture, Shown(holes, 40)) << "round " << round;
    ASSERT_EQ(picture.substr(7, 20), Shown(holes, 20, 7)) << "round " << round;
  }
}

}  // namespace
}  // namespace Holes_test
