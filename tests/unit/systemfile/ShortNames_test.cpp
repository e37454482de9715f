#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Platform/text/QUAVMB.h"
#include "systemfile/SaveDS.h"
#include "tests/support/Reading.h"

namespace ShortNames_test {
namespace {

using SaveDS = SystemFileDataSource::SaveDS;

class ShortNames : public testing::Test {
 protected:
  ShortNames() { SetUTF8mode(1); }
  ~ShortNames() override { SetUTF8mode(0); }

  std::vector<std::string> Of(const std::vector<std::string>& names) {
    SystemFileDataSource source;
    for (const std::string& name : names) source.MakeVariable(0, nullptr).SetName(name.c_str());
    QUAV_FileStream file;
    SystemFileOptions options;
    SaveDS writer(&source, file, options);
    std::vector<std::string> shortNames;
    for (const Rename& rename : writer.FormRenames()) {
      EXPECT_EQ(names[shortNames.size()], rename.first) << "in the order of the columns";
      shortNames.push_back(rename.second);
    }
    return shortNames;
  }
};

using testing::ElementsAre;

TEST_F(ShortNames, AreInUpperCase) { EXPECT_THAT(Of({"Salary"}), ElementsAre("SALARY")); }

TEST_F(ShortNames, CutsTheFirstLongNameAndNumbersTheNext) {
  EXPECT_THAT(Of({"VERYLONGNAME1", "VERYLONGNAME2"}), ElementsAre("VERYLONG", "V2_A"));
}

TEST_F(ShortNames, KeepsANameThatFitsWhateverComesBefore) {
  EXPECT_THAT(Of({"VERYLONGNAME1", "VERYLONG"}), ElementsAre("V1_A", "VERYLONG"));
}

TEST_F(ShortNames, RemovesUnderscoresAndPeriodsAtTheCut) {
  EXPECT_THAT(Of({"LONG_NA_ME"}), ElementsAre("LONG_NA"));
  EXPECT_THAT(Of({"ABCDE._.XYZ"}), ElementsAre("ABCDE"));
}

TEST_F(ShortNames, CutsBetweenCharacters) { EXPECT_THAT(Of({"ABCDEFG\u00C9"}), ElementsAre("ABCDEFG")); }

TEST_F(ShortNames, SkipsNumberedNamesThatAreTaken) {
  EXPECT_THAT(Of({"V2_A", "V2_Bxxxxxxxx", "V2_B", "V2_Bxxxxyyyy"}), ElementsAre("V2_A", "V2_BXXXX", "V2_B", "V4_A"));
  EXPECT_THAT(Of({"VERYLONG", "VERYLONGNAME", "V2_A"}), ElementsAre("VERYLONG", "V2_B", "V2_A"));
}

TEST_F(ShortNames, AreFormedOnlyOnce) {
  SystemFileDataSource source;
  source.MakeVariable(0, nullptr).SetName("first");
  QUAV_FileStream file;
  SystemFileOptions options;
  SaveDS writer(&source, file, options);
  const Renames* const renames = &writer.FormRenames();
  writer.GetVariable(0).SetName("second");
  EXPECT_EQ(renames, &writer.FormRenames());
  EXPECT_EQ("first", renames->front().first);
}

TEST_F(ShortNames, NoColumnsGiveNoNames) { EXPECT_THAT(Of({}), ElementsAre()); }

TEST_F(ShortNames, AreUniqueForManyColumns) {
  std::vector<std::string> names;
  for (int i = 0; i < 3000; ++i) names.push_back("A_LONG_NAME_" + std::to_string(i));
  std::vector<std::string> shortNames = Of(names);
  std::ranges::sort(shortNames);
  EXPECT_EQ(shortNames.end(), std::ranges::adjacent_find(shortNames));
  for (const std::string& name : shortNames) EXPECT_LE(name.size(), 8u);
}

TEST_F(ShortNames, PrefixHasAtMostFiveBytesOfWholeCharacters) {
  EXPECT_EQ("LONGS", SaveDS::NamePrefix("LONGSTRINGVAR"));
  EXPECT_EQ("ABC", SaveDS::NamePrefix("ABC"));
  EXPECT_EQ("", SaveDS::NamePrefix(""));
  EXPECT_EQ("ABCD", SaveDS::NamePrefix("ABCD\u00C9X"));
  EXPECT_EQ("ABC\u00C9", SaveDS::NamePrefix("ABC\u00C9X"));
}

}  // namespace
}  // namespace ShortNames_test
