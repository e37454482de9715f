#include "core/cap_ltoa.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <string>

namespace cap_ltoa_test {
namespace {

using testing::HasSubstr;

constexpr long kLeast = std::numeric_limits<long>::min();
constexpr long kMost = std::numeric_limits<long>::max();

std::string Text(long value, unsigned radix) {
  std::array<char, 65> out;
  out.fill('~');
  EXPECT_EQ(out.data(), cap_ltoa(value, out.data(), radix));
  return out.data();
}

struct Number {
  long value;
  unsigned radix;
  std::string text;
};

TEST(CapLtoa, WritesAnyRadixUpTo36) {
  for (const auto& [value, radix, text] :
       {Number{0, 10, "0"}, Number{0, 36, "0"}, Number{7, 10, "7"}, Number{1234567890, 10, "1234567890"},
        Number{kMost, 10, "9223372036854775807"}, Number{5, 2, "101"}, Number{255, 16, "FF"}, Number{8, 8, "10"},
        Number{9, 36, "9"}, Number{10, 36, "A"}, Number{35, 36, "Z"}, Number{36, 36, "10"}, Number{1295, 36, "ZZ"},
        Number{1296, 36, "100"}, Number{34, 35, "Y"}, Number{kMost, 16, "7FFFFFFFFFFFFFFF"}})
    EXPECT_EQ(text, Text(value, radix)) << value << " in radix " << radix;
}

TEST(CapLtoa, WritesASignOnlyInRadix10) {
  EXPECT_EQ("-1", Text(-1, 10));
  EXPECT_EQ("-9223372036854775808", Text(kLeast, 10));
  EXPECT_EQ("FFFFFFFFFFFFFFFF", Text(-1, 16));
  EXPECT_EQ("3W5E11264SGSF", Text(-1, 36));
}

TEST(CapLtoa, NeedsNoMoreThan65Bytes) {
  EXPECT_EQ(std::string(64, '1'), Text(-1, 2));
  EXPECT_EQ("1" + std::string(63, '0'), Text(kLeast, 2));
}

TEST(CapLtoaDeathTest, RadixAbove36Asserts) {
  std::array<char, 65> out;
  EXPECT_DEATH(cap_ltoa(1, out.data(), 37), HasSubstr("assertion failed: Radix <= 36"));
}

}  // namespace
}  // namespace cap_ltoa_test
