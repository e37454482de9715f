// An encrypted file that make_encrypted.py made once. It is kept so that later versions still read it.

#include <gtest/gtest.h>

#include <string>

#include "tests/support/Reading.h"

namespace encrypted_test {
namespace {

constexpr char kFile[] = SOURCE_DIR "/tests/golden/files/encrypted.quav";
constexpr char kPassword[] = "sw\u00f6rdfish & cr\u00e8me";
constexpr char kMangled[] = "mangled1:c782f925226510d65f25d20d68badc140cc8cfad78";
constexpr int kCases = 8300;

TEST(GoldenEncryptedFile, OpensWithBothFormsOfItsPassword) {
  for (const std::string password : {kPassword, kMangled}) {
    const SystemFileDataSource file(kFile, password, password == kMangled);
    EXPECT_TRUE(file.IsEncrypted());
    EXPECT_EQ(password == kMangled, file.GetPasswordMangled());
    EXPECT_STREQ("A file that is kept", file.GetLabel());
    ASSERT_EQ(kCases, file.RowCount());
    const auto cells = AllCells(file);
    ASSERT_EQ(static_cast<std::size_t>(kCases), cells.size());
    for (int row = 0; row < kCases; ++row)
      EXPECT_EQ(CellsOf(FileCase{row * 0.5}), cells[static_cast<std::size_t>(row)]);
  }
}

TEST(GoldenEncryptedFile, DoesNotOpenWithoutItsPassword) {
  EXPECT_EQ(1213, ErrorOf([] { SystemFileDataSource(kFile, "swordfish & creme", false); })->Number());
  EXPECT_EQ(1214, ErrorOf([] { SystemFileDataSource(kFile, "", false); })->Number());
}

}  // namespace
}  // namespace encrypted_test
