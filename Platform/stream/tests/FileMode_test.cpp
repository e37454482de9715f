#include "Platform/stream/FileMode.h"

#include <gtest/gtest.h>

namespace FileMode_test {
namespace {

struct ModeRow {
  const char* name;
  const char* letters;
  bool read, write, append, create, truncate;
};

void PrintTo(const ModeRow& row, std::ostream* out) { *out << row.letters; }

class FileModeLetters : public testing::TestWithParam<ModeRow> {};

TEST_P(FileModeLetters, SetsWhatTheLettersAskFor) {
  const ModeRow& row = GetParam();
  const std::optional<FileMode> mode = ParseFileMode(row.letters);
  ASSERT_TRUE(mode);
  EXPECT_EQ(row.read, mode->read);
  EXPECT_EQ(row.write, mode->write);
  EXPECT_EQ(row.append, mode->append);
  EXPECT_EQ(row.create, mode->create);
  EXPECT_EQ(row.truncate, mode->truncate);
}

constexpr ModeRow kGoodModes[] = {
    {"r", "r", true, false, false, false, false},       {"rb", "rb", true, false, false, false, false},
    {"rPlus", "r+", true, true, false, false, false},   {"rbPlus", "rb+", true, true, false, false, false},
    {"rPlusB", "r+b", true, true, false, false, false}, {"w", "w", false, true, false, true, true},
    {"wb", "wb", false, true, false, true, true},       {"wPlusB", "w+b", true, true, false, true, true},
    {"wbPlus", "wb+", true, true, false, true, true},   {"a", "a", false, true, true, true, false},
    {"ab", "ab", false, true, true, true, false},       {"aPlusB", "a+b", true, true, true, true, false},
    {"abPlus", "ab+", true, true, true, true, false},
};

INSTANTIATE_TEST_SUITE_P(Modes, FileModeLetters, testing::ValuesIn(kGoodModes),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(FileMode, TemporaryModeMakesANewFileDeletedOnClose) {
  const std::optional<FileMode> mode = ParseFileMode("w+bTD");
  ASSERT_TRUE(mode);
  EXPECT_TRUE(mode->read && mode->write && mode->create && mode->truncate);
  EXPECT_FALSE(mode->append);
  EXPECT_TRUE(mode->temporary);
  EXPECT_TRUE(mode->deleteOnClose);
}

TEST(FileMode, TemporaryAndDeleteOnCloseHaveTheirOwnLetters) {
  EXPECT_TRUE(ParseFileMode("wT")->temporary);
  EXPECT_FALSE(ParseFileMode("wT")->deleteOnClose);
  EXPECT_FALSE(ParseFileMode("wD")->temporary);
  EXPECT_TRUE(ParseFileMode("wD")->deleteOnClose);
}

TEST(FileMode, OrdinaryModeIsNeitherTemporaryNorEnciphered) {
  const std::optional<FileMode> mode = ParseFileMode("w+b");
  EXPECT_FALSE(mode->temporary || mode->deleteOnClose || mode->encrypt);
}

TEST(FileMode, RefusesInvalidLetters) {
  for (const char* letters :
       {"", "b", "+", "+r", "br", "x", "rw", "rbx", "rT", "aT", "r+bD", "aD", "TDw", "r b", "R", "rb+ "}) {
    EXPECT_FALSE(ParseFileMode(letters)) << '"' << letters << '"';
  }
  EXPECT_FALSE(ParseFileMode(nullptr));
}

}  // namespace
}  // namespace FileMode_test
