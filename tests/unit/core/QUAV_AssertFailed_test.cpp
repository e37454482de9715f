#include "datasrc/QUAV_AssertFailed.h"

#include <gtest/gtest.h>

#include <string>

namespace QUAV_AssertFailed_test {
namespace {

TEST(AssertFailed, CopiesItsTexts) {
  std::string condition = "a < b";
  std::string file = "some.cpp";
  const QUAV_AssertFailed failed(condition.c_str(), file.c_str(), 12);
  condition = "";
  file = "";
  EXPECT_STREQ(failed.Condition(), "a < b");
  EXPECT_STREQ(failed.File(), "some.cpp");
  EXPECT_EQ(failed.Line(), 12);
}

TEST(AssertFailed, ReplacesANullCondition) {
  EXPECT_STREQ(QUAV_AssertFailed(nullptr, "f", 1).Condition(), "Null condition in QUAV_AssertFailed");
}

TEST(AssertFailed, ReplacesANullFile) {
  EXPECT_STREQ(QUAV_AssertFailed("c", nullptr, 1).File(), "Null source file in QUAV_AssertFailed");
}

TEST(AssertFailed, WhatReturnsTheCondition) {
  try {
    throw QUAV_AssertFailed("a < b", "some.cpp", 12);
  } catch (const std::exception& failed) {
    EXPECT_STREQ(failed.what(), "a < b");
  }
}

}  // namespace
}  // namespace QUAV_AssertFailed_test
