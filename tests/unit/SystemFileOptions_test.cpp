#include "SystemFileOptions.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

namespace {

TEST(SystemFileOptions, StartWithTheNumbersOfThisSystem) {
  const SystemFileOptions options;
  EXPECT_EQ(100.0, options.bias);
  EXPECT_EQ(0xFFEFFFFFFFFFFFFF, NumberCell(options.systemMissing).bits);
  EXPECT_EQ(0x7FEFFFFFFFFFFFFF, NumberCell(options.highNumber).bits);
  EXPECT_EQ(0xFFEFFFFFFFFFFFFF, NumberCell(options.lowNumber).bits);
  EXPECT_EQ(-1, options.numberOfCases);
  EXPECT_EQ(-1, options.nominalCaseSize);
  EXPECT_EQ("@(#) MOR QUAV TABULATORS 64-bit Linux 25.0.0.1", options.eyeCatcher);
  EXPECT_EQ(2, options.layoutCode);
  EXPECT_EQ(25, options.releaseMajor);
  EXPECT_EQ(0, options.releaseMinor);
  EXPECT_EQ(1, options.releaseRevision);
  EXPECT_EQ(720, options.machineCode);
  EXPECT_EQ(1, options.floatingPoint);
  EXPECT_EQ(1, options.compressionCode);
  EXPECT_EQ(2, options.characterCode);
  EXPECT_EQ(0, options.weightIndex);
  EXPECT_EQ(0, options.compression);
}

TEST(SystemFileOptions, StartWithNothingFound) {
  const SystemFileOptions options;
  EXPECT_EQ(std::vector<bool>(100), options.extensionsFound);
  EXPECT_FALSE(options.dechunker.Active());
  EXPECT_EQ(nullptr, options.NumericCellMap());
  EXPECT_FALSE(options.hasLongNames);
  EXPECT_EQ("", options.characterEncoding);
  EXPECT_TRUE(options._password.Empty());
  EXPECT_FALSE(options.passwordMangled);
}

TEST(SystemFileOptions, TellTheByteOrderOfTheFile) {
  SystemFileOptions options;
  EXPECT_EQ(ByteOrder::native, options.Order());
  options.reversed = true;
  EXPECT_EQ(ByteOrder::reversed, options.Order());
}

TEST(NoteExtension, RemembersSubtypesFrom0To99) {
  SystemFileOptions options;
  options.NoteExtension(0);
  options.NoteExtension(99);
  EXPECT_TRUE(options.extensionsFound[0]);
  EXPECT_TRUE(options.extensionsFound[99]);
  EXPECT_EQ(2, std::ranges::count(options.extensionsFound, true));
}

TEST(NoteExtension, PassesOverTheOthers) {
  SystemFileOptions options;
  for (const int subtype : {-1, 100, 150, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()})
    options.NoteExtension(subtype);
  EXPECT_EQ(std::vector<bool>(100), options.extensionsFound);
}

TEST(NumericCellMap, HasAFlagForEachCellOfACase) {
  SystemFileOptions options;
  options.SetNominalCaseSize(4);
  EXPECT_EQ(nullptr, options.NumericCellMap());
  options.MarkNumericCell(0);
  options.MarkNumericCell(3);
  const bool* map = options.NumericCellMap();
  ASSERT_NE(nullptr, map);
  EXPECT_EQ((std::vector<bool>{true, false, false, true}), std::vector<bool>(map, map + 4));
}

TEST(NumericCellMap, KeepsItsFlagsWhenCasesGrow) {
  SystemFileOptions options;
  options.SetNominalCaseSize(2);
  options.MarkNumericCell(1);
  options.SetNominalCaseSize(4);
  EXPECT_EQ(4, options.nominalCaseSize);
  const bool* map = options.NumericCellMap();
  EXPECT_EQ((std::vector<bool>{false, true, false, false}), std::vector<bool>(map, map + 4));
}

TEST(NumericCellMap, KeepsTheFlagsThatAreLeftWhenCasesShrink) {
  SystemFileOptions options;
  options.SetNominalCaseSize(4);
  options.MarkNumericCell(0);
  options.MarkNumericCell(3);
  options.SetNominalCaseSize(2);
  const bool* map = options.NumericCellMap();
  EXPECT_EQ((std::vector<bool>{true, false}), std::vector<bool>(map, map + 2));
}

}  // namespace
