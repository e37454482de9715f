#include "systemfile/SystemFileLayout.h"

#include <gtest/gtest.h>

#include <vector>

#include "datasrc/SystemFileDataSource.h"

namespace SystemFileLayout_test {
namespace {

using ColumnWidths = SystemFileLayout::ColumnWidths;

struct Dictionary {
  SystemFileDataSource source;

  explicit Dictionary(const std::vector<int>& types) {
    for (const int type : types) source.MakeVariable(type, nullptr);
  }
};

SystemFileLayout LayoutOf(const std::vector<int>& types, const ColumnWidths& veryLong = {},
                          ByteOrder order = ByteOrder::native) {
  return SystemFileLayout(Dictionary(types).source, veryLong, order);
}

TEST(SystemFileLayout, IsUnknownAtFirst) {
  const SystemFileLayout layout;
  EXPECT_EQ(-1, layout.NominalCaseSize());
  EXPECT_EQ(-1, layout.LogicalCaseSize());
  EXPECT_EQ(nullptr, layout.NumericCellMap());
  EXPECT_FALSE(layout.Dechunker().Active());
}

TEST(SystemFileLayout, WithoutVeryLongStringsHasOneSize) {
  const SystemFileLayout layout = LayoutOf({0, 20, 255});
  EXPECT_EQ(1 + 3 + 32, layout.NominalCaseSize());
  EXPECT_EQ(1 + 3 + 32, layout.LogicalCaseSize());
  EXPECT_FALSE(layout.Dechunker().Active());
}

TEST(SystemFileLayout, CountsTheCellsOfBothForms) {
  // 300 bytes take 38 cells in both forms, 600 bytes 76 in the file and 75 for the caller.
  const SystemFileLayout layout = LayoutOf({0, 255, 48, 0, 255, 255, 96, 8}, {{1, 300}, {4, 600}});
  EXPECT_EQ(1 + 38 + 1 + 76 + 1, layout.NominalCaseSize());
  EXPECT_EQ(1 + 38 + 1 + 75 + 1, layout.LogicalCaseSize());
  EXPECT_TRUE(layout.Dechunker().Active());
}

TEST(SystemFileLayout, CountsACellLessForWidthsJustAboveAWholeSegment) {
  for (const int width : {253, 254, 255, 256}) {
    const SystemFileLayout layout = LayoutOf({255, width - 252}, {{0, width}});
    EXPECT_EQ(33, layout.NominalCaseSize()) << width;
    EXPECT_EQ(32, layout.LogicalCaseSize()) << width;
  }
}

TEST(SystemFileLayout, HasTheVeryLongStringsAtTheirLogicalColumns) {
  const SystemFileLayout layout = LayoutOf({0, 255, 48, 0, 255, 255, 96, 255}, {{1, 300}, {4, 600}, {7, 252}});
  EXPECT_EQ((ColumnWidths{{1, 300}, {3, 600}, {4, 252}}), layout.VeryLongStrings());
}

TEST(SystemFileLayout, MapsTheNumbersOfAReversedFileInTheFilesCase) {
  const SystemFileLayout layout = LayoutOf({0, 255, 48, 0, 8, 0}, {{1, 300}}, ByteOrder::reversed);
  const bool* map = layout.NumericCellMap();
  ASSERT_NE(nullptr, map);
  ASSERT_EQ(1 + 38 + 3, layout.NominalCaseSize());
  for (int cell = 0; cell < layout.NominalCaseSize(); ++cell)
    EXPECT_EQ(cell == 0 || cell == 39 || cell == 41, map[cell]) << cell;
}

TEST(SystemFileLayout, HasNoMapWithoutNumbersOrInThisMachinesOrder) {
  EXPECT_EQ(nullptr, LayoutOf({8, 20}, {}, ByteOrder::reversed).NumericCellMap());
  EXPECT_EQ(nullptr, LayoutOf({0, 20}).NumericCellMap());
}

TEST(SystemFileLayout, TakesTheLogicalDictionary) {
  const SystemFileLayout layout = LayoutOf({0, 255, 48, 8}, {{1, 300}});
  EXPECT_TRUE(layout.Takes(Dictionary({0, 300, 8}).source));
  EXPECT_TRUE(layout.Takes(Dictionary({0, 300, 8, 0}).source));
  EXPECT_FALSE(layout.Takes(Dictionary({0, 300}).source));
  EXPECT_FALSE(layout.Takes(Dictionary({0, 301, 8}).source));
  EXPECT_FALSE(layout.Takes(Dictionary({300, 0, 8}).source));
  EXPECT_FALSE(layout.Takes(Dictionary({0}).source));
}

}  // namespace
}  // namespace SystemFileLayout_test
