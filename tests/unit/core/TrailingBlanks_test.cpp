#include "core/TrailingBlanks.h"

#include <gtest/gtest.h>

namespace TrailingBlanks_test {
namespace {

TEST(WithoutTrailingBlanks, RemovesOnlyTrailingBlanks) {
  EXPECT_EQ("abc", WithoutTrailingBlanks("abc  "));
  EXPECT_EQ(" a b", WithoutTrailingBlanks(" a b "));
  EXPECT_EQ("abc", WithoutTrailingBlanks("abc"));
  EXPECT_EQ("abc\t", WithoutTrailingBlanks("abc\t "));
}

TEST(WithoutTrailingBlanks, OnlyBlanksGiveAnEmptyText) {
  EXPECT_EQ("", WithoutTrailingBlanks("    "));
  EXPECT_EQ("", WithoutTrailingBlanks(""));
}

}  // namespace
}  // namespace TrailingBlanks_test
