#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Platform/text/QUAVMB.h"
#include "tests/support/Listener.h"
#include "tests/support/MemorySource.h"
#include "tests/support/Reading.h"
#include "tests/support/RowName.h"

namespace FixVarNames_test {
namespace {

using testing::ElementsAre;

MemorySource SourceOf(const std::vector<std::string>& names) {
  MemorySource source;
  for (const std::string& name : names) source.AddNumber(name.c_str());
  return source;
}

std::vector<std::string> NamesOf(const QUAV_DataSource& source) {
  std::vector<std::string> names;
  for (int column = 0; column < static_cast<int>(source.ColumnCount()); ++column)
    names.emplace_back(source.GetVariable(column).GetName());
  return names;
}

// Returns the names after the repair.
std::vector<std::string> Repaired(const std::vector<std::string>& names) {
  MemorySource source = SourceOf(names);
  SystemFileDataSource::FixVarNames(source);
  return NamesOf(source);
}

struct Name {
  const char* name;
  std::string text;
};

// ---- Names that are kept ----

class FixVarNamesGoodName : public testing::TestWithParam<Name> {};

TEST_P(FixVarNamesGoodName, IsKept) { EXPECT_THAT(Repaired({GetParam().text}), ElementsAre(GetParam().text)); }

INSTANTIATE_TEST_SUITE_P(Names, FixVarNamesGoodName,
                         testing::Values(Name{"Letters", "azAZ"},                         //
                                         Name{"AllAllowedAsciiCharacters", "aZ09@#$_."},  //
                                         Name{"LeadingAtSign", "@A"},                     //
                                         Name{"AtSignAlone", "@"},                        //
                                         Name{"LeadingDigit", "1A"},                      //
                                         Name{"Digits", "123"},                           //
                                         Name{"Reserved", "AND"},                         //
                                         Name{"TrailingPeriod", "A."},                    //
                                         Name{"TrailingUnderscore", "A_"},                //
                                         Name{"SixtyFourBytes", std::string(64, 'A')},    //
                                         Name{"SixtyFourBytesOfCharacters", std::string(61, 'A') + "\xE2\x82\xAC"},
                                         Name{"CharacterOf2Bytes", "\xC3\xA4rger"},  //
                                         Name{"CharactersOf3And4Bytes", "A\xE2\x82\xAC\xF0\x9D\x84\x9E"}),
                         kRowName);

// ---- Names that are replaced ----

class FixVarNamesBadName : public testing::TestWithParam<Name> {};

TEST_P(FixVarNamesBadName, IsReplaced) { EXPECT_THAT(Repaired({GetParam().text}), ElementsAre("v1")); }

INSTANTIATE_TEST_SUITE_P(Names, FixVarNamesBadName,
                         testing::Values(Name{"Empty", ""},                             //
                                         Name{"LeadingNumberSign", "#A"},               //
                                         Name{"LeadingDollarSign", "$A"},               //
                                         Name{"LeadingUnderscore", "_A"},               //
                                         Name{"LeadingPeriod", ".A"},                   //
                                         Name{"BlankInside", "A B"},                    //
                                         Name{"LeadingBlank", " A"},                    //
                                         Name{"Hyphen", "A-B"},                         //
                                         Name{"TrailingSign", "AB!"},                   //
                                         Name{"Tab", "A\tB"},                           //
                                         Name{"Delete", "A\x7F"},                       //
                                         Name{"CharacterBeforeTheDigits", "A/"},        //
                                         Name{"CharacterAfterTheLetters", "A{"},        //
                                         Name{"SixtyFiveBytes", std::string(65, 'A')},  //
                                         Name{"SixtyFiveBytesOfCharacters", std::string(63, 'A') + "\xC3\xA4"},
                                         Name{"ManyBytes", std::string(1000, 'A')},  //
                                         Name{"InvalidByte", "A\xFF"},               //
                                         Name{"LeadingInvalidByte", "\x80"},         //
                                         Name{"InvalidByteInside", "A\xC3Z"},        //
                                         Name{"TruncatedCharacter", "A\xE2\x82"}),
                         kRowName);

TEST(FixVarNames, RenamesALaterNameThatDiffersOnlyByCase) {
  EXPECT_THAT(Repaired({"a", "A"}), ElementsAre("a", "v1"));
  EXPECT_THAT(Repaired({"A", "a", "A"}), ElementsAre("A", "v1", "v2"));
  EXPECT_THAT(Repaired({"\xC3\xA4", "\xC3\x84"}), ElementsAre("\xC3\xA4", "v1"));
}

TEST(FixVarNames, NumbersBadNamesInColumnOrder) {
  EXPECT_THAT(Repaired({"", "A", "#B", "C", "D E"}), ElementsAre("v1", "A", "v2", "C", "v3"));
}

TEST(FixVarNames, SkipsNumbersThatAreTaken) {
  EXPECT_THAT(Repaired({"$A", "V1"}), ElementsAre("v2", "V1"));
  EXPECT_THAT(Repaired({"$A", "$B", "v1", "V3"}), ElementsAre("v2", "v4", "v1", "V3"));
}

// The repair collects all good names before it gives a new one.
TEST(FixVarNames, NewNameDoesNotReplaceALaterGoodName) {
  EXPECT_THAT(Repaired({"", "v1", ""}), ElementsAre("v2", "v1", "v3"));
}

TEST(FixVarNames, DuplicateDoesNotGetItsOldNumber) {
  // The second name is a duplicate; V1 is taken by the first.
  EXPECT_THAT(Repaired({"V1", "v1"}), ElementsAre("V1", "v2"));
}

TEST(FixVarNames, NumbersBeyondOneDigit) {
  const std::vector<std::string> names = Repaired(std::vector<std::string>(12));
  EXPECT_EQ("v1", names.front());
  EXPECT_EQ("v12", names.back());
}

TEST(FixVarNames, AcceptsAnEmptyDictionary) { EXPECT_THAT(Repaired({}), ElementsAre()); }

TEST(FixVarNames, KeepsRepairedNames) {
  const std::vector<std::string> once = Repaired({"", "V1", "v1", "A B", "a"});
  EXPECT_EQ(once, Repaired(once));
}

TEST(FixVarNames, UsesTheCurrentEncoding) {
  // The byte is a character in windows-1252, but not in UTF-8.
  EXPECT_THAT(Repaired({"A\xE4"}), ElementsAre("v1"));
  ASSERT_NE(0, QUAVMBConverterSet_A("windows-1252"));
  const std::vector<std::string> names = Repaired({"A\xE4"});
  QUAVMBConverterSet_A("");
  EXPECT_THAT(names, ElementsAre("A\xE4"));
}

TEST(FixVarNames, ChecksOnlyTheFirstByteOfACharacter) {
  ASSERT_NE(0, QUAVMBConverterSet_A("Shift_JIS"));
  // The second bytes are a backslash and an underscore.
  const std::vector<std::string> names = Repaired({"\x83\x5C", "\x83\x5F"});
  QUAVMBConverterSet_A("");
  EXPECT_THAT(names, ElementsAre("\x83\x5C", "\x83\x5F"));
}

TEST(FixVarNames, KeepsTheRestOfTheVariable) {
  MemorySource source = SourceOf({"A B"});
  source.GetVariable(0).SetLabel("label");
  const LocallyUniqueID id = source.GetVariable(0).GetID();
  SystemFileDataSource::FixVarNames(source);
  EXPECT_STREQ("V1", source.GetVariable(0).GetUpperCaseName());
  EXPECT_STREQ("label", source.GetVariable(0).GetLabel());
  EXPECT_EQ(id, source.GetVariable(0).GetID());
}

// ---- The monitor ----

TEST(FixVarNames, WarnsTheMonitorOnce) {
  MemorySource source = SourceOf({"", "A B", "C"});
  Listener listener;
  SystemFileDataSource::FixVarNames(source, &listener);
  ASSERT_EQ(1u, listener.warnings.size());
  EXPECT_TRUE(listener.errors.empty());
  const ErrorMonitor::Message& message = listener.warnings[0];
  EXPECT_EQ(1722, message.number);
  EXPECT_EQ("some variables had names that are not allowed and were renamed: no message", message.text);
  EXPECT_EQ(0, message.value);
  EXPECT_EQ(nullptr, message.detail);
  EXPECT_THAT(NamesOf(source), ElementsAre("v1", "v2", "C"));
}

TEST(FixVarNames, WarnsWithTheSameTextEachTime) {
  Listener listener;
  for (const std::vector<std::string>& names : {std::vector<std::string>{"%s%n"}, {"a", "A"}}) {
    MemorySource source = SourceOf(names);
    SystemFileDataSource::FixVarNames(source, &listener);
  }
  ASSERT_EQ(2u, listener.warnings.size());
  EXPECT_EQ(listener.warnings[0].text, listener.warnings[1].text);
}

TEST(FixVarNames, DoesNotWarnWithoutARepair) {
  MemorySource source = SourceOf({"A", "B"});
  Listener listener;
  SystemFileDataSource::FixVarNames(source, &listener);
  EXPECT_TRUE(listener.warnings.empty());
  EXPECT_TRUE(listener.errors.empty());
}

// ---- Opening ----

std::vector<std::string> NamesOfOpened(const SystemFileBuilder& builder) {
  const TempFile file(builder.Bytes());
  return NamesOf(SystemFileDataSource(file.Name(), "", false));
}

TEST(FixVarNames, OpeningRepairsShortNames) {
  SystemFileBuilder file;
  file.Header().Number("GOOD").Number("#BAD").Number("GOOD").Number("V1").End();
  EXPECT_THAT(NamesOfOpened(file), ElementsAre("good", "v2", "v3", "v1"));
}

TEST(FixVarNames, OpeningRepairsLongNames) {
  const std::string names = "A=Name\tB=NAME\tC=a-b\tD=Good";
  SystemFileBuilder file;
  file.Header().Number("A").Number("B").Number("C").Number("D");
  file.Extension(13, 1, static_cast<std::int32_t>(names.size()), names).End();
  EXPECT_THAT(NamesOfOpened(file), ElementsAre("Name", "v1", "v2", "Good"));
}

TEST(FixVarNames, RepairWhileOpeningDoesNotMakeTheSourceDirty) {
  const TempFile file(SystemFileBuilder().Header().Number("#A").End().Bytes());
  const SystemFileDataSource source(file.Name(), "", false);
  EXPECT_THAT(NamesOf(source), ElementsAre("v1"));
  EXPECT_FALSE(source.IsDirty());
}

}  // namespace
}  // namespace FixVarNames_test
