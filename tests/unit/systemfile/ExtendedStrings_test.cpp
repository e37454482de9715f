#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "systemfile/SaveDS.h"
#include "tests/support/Reading.h"

namespace ExtendedStrings_test {
namespace {

using SaveDS = SystemFileDataSource::SaveDS;
using Columns = std::vector<std::pair<std::string, int>>;

// Returns the name and type of each column after the strings wider than 255 bytes are split.
Columns Split(const Columns& columns) {
  SystemFileDataSource source;
  std::vector<std::pair<int, int>> list;
  for (const auto& [name, type] : columns) {
    if (type > 255) list.emplace_back(static_cast<int>(source.ColumnCount()), type);
    source.MakeVariable(type, nullptr).SetName(name.c_str());
  }
  QUAV_FileStream file;
  SystemFileOptions options;
  SaveDS writer(&source, file, options);
  writer.SetExtendedStrings(list);
  Columns split;
  for (int column = 0; column < static_cast<int>(writer.ColumnCount()); ++column) {
    const QUAV_Variable& variable = std::as_const(writer).GetVariable(column);
    split.emplace_back(variable.GetName(), variable.GetType());
    EXPECT_EQ(variable.GetType(), variable.GetFormat().Width()) << "the format has the width of the string";
  }
  return split;
}

using testing::ElementsAre;
using testing::Pair;

TEST(ExtendedStrings, SplitsWidth256IntoTwoSegments) {
  EXPECT_THAT(Split({{"S", 256}}), ElementsAre(Pair("S", 255), Pair("S0", 4)));
}

TEST(ExtendedStrings, MultipleOf252HasOnlyWholeSegments) {
  EXPECT_THAT(Split({{"S", 504}}), ElementsAre(Pair("S", 255), Pair("S0", 255)));
}

TEST(ExtendedStrings, NamesSegmentsByPrefixAndCounter) {
  EXPECT_THAT(Split({{"LONGSTRINGVAR", 600}}),
              ElementsAre(Pair("LONGSTRINGVAR", 255), Pair("LONGS0", 255), Pair("LONGS1", 96)));
}

TEST(ExtendedStrings, SkipsNamesThatAreTaken) {
  EXPECT_THAT(Split({{"LONGS0", 8}, {"LONGSTRINGVAR", 600}}),
              ElementsAre(Pair("LONGS0", 8), Pair("LONGSTRINGVAR", 255), Pair("LONGS1", 255), Pair("LONGS2", 96)));
}

TEST(ExtendedStrings, NamesTheLastStringFirst) {
  EXPECT_THAT(Split({{"STRING_A", 300}, {"STRING_B", 300}}),
              ElementsAre(Pair("STRING_A", 255), Pair("STRIN1", 48), Pair("STRING_B", 255), Pair("STRIN0", 48)));
}

TEST(ExtendedStrings, CountsSegmentsInBase36) {
  const Columns split = Split({{"S", 32767}});  // 131 segments
  ASSERT_EQ(131u, split.size());
  EXPECT_EQ("S9", split[10].first);
  EXPECT_EQ("SA", split[11].first);
  EXPECT_EQ("SZ", split[36].first);
  EXPECT_EQ("S10", split[37].first);
  EXPECT_EQ(7, split[130].second);
}

TEST(ExtendedStrings, EachSegmentKeepsTheLabel) {
  SystemFileDataSource source;
  QUAV_Variable& variable = source.MakeVariable(300, nullptr);
  variable.SetName("S");
  variable.SetLabel("the label");
  QUAV_FileStream file;
  SystemFileOptions options;
  SaveDS writer(&source, file, options);
  writer.SetExtendedStrings({{0, 300}});
  EXPECT_STREQ("the label", writer.GetVariable(0).GetLabel());
  EXPECT_STREQ("the label", writer.GetVariable(1).GetLabel());
  EXPECT_EQ(300, source.GetVariable(0).GetType()) << "the caller's variable is unchanged";
}

TEST(ExtendedStrings, ExtendedStringsInFileReturnsColumnsInTheFile) {
  SystemFileDataSource source;
  for (const int type : {0, 300, 0, 1000})
    source.MakeVariable(type, nullptr)
        .SetName(("V" + std::to_string(type) + std::to_string(source.ColumnCount())).c_str());
  QUAV_FileStream file;
  SystemFileOptions options;
  SaveDS writer(&source, file, options);
  writer.SetExtendedStrings({{1, 300}, {3, 1000}});
  EXPECT_THAT(writer.ExtendedStringsInFile(), ElementsAre(Pair(1, 300), Pair(4, 1000)));
}

TEST(ExtendedStrings, KeepsTheWeightVariable) {
  SystemFileDataSource source;
  source.MakeVariable(300, nullptr).SetName("S");
  source.MakeVariable(0, nullptr).SetName("W");
  source.SetWeightVar(1);
  QUAV_FileStream file;
  SystemFileOptions options;
  SaveDS writer(&source, file, options);
  writer.SetExtendedStrings({{0, 300}});
  EXPECT_EQ(2, writer.GetWeightVarIndex());
}

}  // namespace
}  // namespace ExtendedStrings_test
