// The attribute records: 17 for the data set, 18 for the variables.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/Reading.h"
#include "tests/support/WrittenRecord.h"

namespace SFExtensionAttributes_test {
namespace {

constexpr int kDataset = 17;
constexpr int kVariables = 18;

std::string FileWith(int subtype, const std::string& text, int unitSize = 1) {
  return SystemFileBuilder()
      .Header()
      .Number("A")
      .Number("B")
      .Extension(subtype, unitSize, static_cast<int>(text.size()) / unitSize, text)
      .End()
      .Bytes();
}

class SFExtensionAttributes : public testing::TestWithParam<int> {};
INSTANTIATE_TEST_SUITE_P(Subtypes, SFExtensionAttributes, testing::Values(kDataset, kVariables),
                         testing::PrintToStringParamName());

TEST_P(SFExtensionAttributes, OtherUnitSizeThrows1204) {
  EXPECT_THAT(FaultOf(FileWith(GetParam(), "A:x('1'\n)", 3)), IsFault(1204, "rec.UnitSize() == sizeof(char)"));
}

TEST_P(SFExtensionAttributes, NegativeLengthThrows1204) {
  EXPECT_THAT(FaultOfNegativeLength(GetParam()), IsFault(1204, "rec.NUnits() >= 0"));
}

// ---- Attributes of the data set ----

TEST(SFExtensionDatasetAttributes, RoundTripsAttributesAsText) {
  const std::string text = "x('1'\n'2'\n)$y(''\n)";
  const ReadDictionary read(FileWith(kDataset, text));
  EXPECT_EQ(2u, read.source.GetAttributes().Size());
  EXPECT_EQ(text, WrittenRecord(read.source, {kDataset}).Contents());
}

TEST(SFExtensionDatasetAttributes, IgnoresMalformedText) {
  EXPECT_EQ(0u, ReadDictionary(FileWith(kDataset, "x('1'\n)y(")).source.GetAttributes().Size());
}

TEST(SFExtensionDatasetAttributes, MalformedTextKeepsTheExistingAttributes) {
  SystemFileDataSource source;
  DatasourceAttributes attributes;
  attributes.Define("there", {"before"});
  source.SetAttributes(attributes);
  SystemFileExtensionRecord record;
  record.Fill("x('1'\n)y(");
  SystemFileOptions options;
  SystemFileExtensionHandler::Read(kDataset, source, options, record);
  EXPECT_EQ("there('before'\n)", source.GetAttributes().MakeString());
}

TEST(SFExtensionDatasetAttributes, AttributesEndAtASlash) {
  EXPECT_EQ(1u, ReadDictionary(FileWith(kDataset, "x('1'\n)/y('1'\n)")).source.GetAttributes().Size());
}

TEST(SFExtensionDatasetAttributes, OldViewReplacesTheNewOne) {
  const ReadDictionary read(FileWith(kDataset, "$VariableView2('new'\n)$VariableView('old'\n)x('1'\n)"));
  const DatasourceAttributes& attributes = read.source.GetAttributes();
  ASSERT_EQ(2u, attributes.Size());
  EXPECT_EQ("x", attributes.Name(0));
  EXPECT_EQ("$VariableView2", attributes.Name(1));
  EXPECT_EQ(std::vector<std::string>{"old"}, attributes.Values(1));
}

TEST(SFExtensionDatasetAttributes, NoValuesGiveNoRecord) {
  SystemFileDataSource source;
  EXPECT_EQ(0, WrittenRecord(source, {kDataset}).record.NUnits());
  DatasourceAttributes attributes;
  attributes.Define("x", {});
  source.SetAttributes(attributes);
  EXPECT_EQ(0, WrittenRecord(source, {kDataset}).record.NUnits());
}

// ---- Attributes of the variables ----

struct Given {
  const char* name;
  std::string text;  // of the record, for the variable A
  int level;         // of A before the record is read
  int role;          // of A afterwards
  std::string left;  // the attributes of A afterwards
};
class SFExtensionVariableAttributesRead : public testing::TestWithParam<Given> {};
INSTANTIATE_TEST_SUITE_P(
    Texts, SFExtensionVariableAttributesRead,
    testing::Values(Given{"Own", "A:x('1'\n)", 0, 0, "x('1'\n)"}, Given{"Role", "A:$@Role('2'\n)", 0, 2, ""},
                    Given{"RoleThatIsNotANumber", "A:$@Role('two'\n)", 0, 0, ""},
                    Given{"RoleOfMoreThan32Bits", "A:$@Role('4294967298'\n)", 0, 2, ""},
                    Given{"UnknownRole", "A:$@Role('-99'\n)", 0, -99, ""},
                    Given{"RoleOfSeveralValues", "A:$@Role('2'\n'3'\n)", 0, 2, ""},
                    Given{"ExtendedRole", "A:$@ExtendRole('6'\n)$@Role('3'\n)", 0, 3, "$@ExtendRole('6'\n)"},
                    Given{"ExtendedRoleWithoutRole", "A:$@ExtendRole('6'\n)", 0, 0, ""},
                    Given{"ExtendedRoleThatIsTheRole", "A:$@ExtendRole('1'\n)$@Role('1'\n)", 0, 1,
                          "$@ExtendRole('1'\n)"},
                    Given{"LevelOfANominalVariable", "A:$@MeasurementLevel('4'\n)", 1, 0, "$@MeasurementLevel('4'\n)"},
                    Given{"LevelOfAnOrdinalVariable", "A:$@MeasurementLevel('4'\n)", 2, 0, ""},
                    Given{"LevelOfAScaleVariable", "A:$@MeasurementLevel('4'\n)x('1'\n)", 3, 0, "x('1'\n)"},
                    Given{"ReservedNameInLowerCase", "A:$@role('2'\n)", 0, 0, "$@role('2'\n)"},
                    Given{"UnknownVariableBefore", "Q:x('1'\n)/A:y('2'\n)", 0, 0, "y('2'\n)"},
                    Given{"FaultAfter", "A:y('2'\n)/B:x(", 0, 0, "y('2'\n)"},
                    Given{"FaultBefore", "B:x(/A:y('2'\n)", 0, 0, ""}, Given{"NoName", ":y('2'\n)", 0, 0, ""},
                    Given{"NoColonAfter", "A:y('2'\n)/B", 0, 0, "y('2'\n)"},
                    Given{"VariableNameInLowerCase", "a:y('2'\n)", 0, 0, "y('2'\n)"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_P(SFExtensionVariableAttributesRead, SetsRoleAndAttributes) {
  SystemFileDataSource source;
  source.MakeVariable(0, nullptr).SetName("A");
  source.MakeVariable(0, nullptr).SetName("B");
  source.GetVariable(0).SetMeasurementLevel(static_cast<QUAV_Variable::MeasurementLevel>(GetParam().level));
  SystemFileExtensionRecord record;
  record.Fill(GetParam().text);
  SystemFileOptions options;
  SystemFileExtensionHandler::Read(kVariables, source, options, record);
  EXPECT_EQ(GetParam().role, source.GetVariable(0).GetRole());
  EXPECT_EQ(GetParam().left, source.GetVariable(0).GetAttributes().MakeString());
}

TEST(SFExtensionVariableAttributes, ReplacesTheExistingAttributes) {
  SystemFileDataSource source;
  source.MakeVariable(0, nullptr).SetName("A");
  DatasourceAttributes attributes;
  attributes.Define("old", {"1"});
  source.GetVariable(0).SetAttributes(attributes);
  SystemFileExtensionRecord record;
  record.Fill("A:$@Role('1'\n)");
  SystemFileOptions options;
  SystemFileExtensionHandler::Read(kVariables, source, options, record);
  EXPECT_EQ(DatasourceAttributes(), source.GetVariable(0).GetAttributes());
}

std::string WrittenOf(int role, int level, const DatasourceAttributes& attributes, int* levelAfter) {
  SystemFileDataSource source;
  QUAV_Variable& variable = source.MakeVariable(0, nullptr);
  variable.SetName("Income");
  variable.SetRole(static_cast<QUAV_Variable::Role>(role));
  variable.SetMeasurementLevel(static_cast<QUAV_Variable::MeasurementLevel>(level));
  variable.SetAttributes(attributes);
  WrittenRecord written(source, {kVariables});
  *levelAfter = written.saved.GetVariable(0).GetMeasurementLevel();
  EXPECT_EQ(level, source.GetVariable(0).GetMeasurementLevel()) << "the caller's variable is unchanged";
  return written.Contents();
}

TEST(SFExtensionVariableAttributes, WritesTheRoleOfEveryVariable) {
  int level = 0;
  EXPECT_EQ("Income:$@Role('0'\n)", WrittenOf(0, 0, {}, &level));
  EXPECT_EQ("Income:$@Role('5'\n)", WrittenOf(5, 0, {}, &level));
}

TEST(SFExtensionVariableAttributes, WritesAnExtendedRoleAsAnAttributeOfItsOwn) {
  int level = 0;
  EXPECT_EQ("Income:$@ExtendRole('6'\n)$@Role('3'\n)", WrittenOf(6, 0, {}, &level));
  EXPECT_EQ("Income:$@ExtendRole('7'\n)$@Role('3'\n)", WrittenOf(7, 0, {}, &level));
}

TEST(SFExtensionVariableAttributes, RoundTripsAttributesAsText) {
  const std::string text = "A:$@MeasurementLevel('4'\n)$@ExtendRole('6'\n)$@Role('3'\n)/B:$@Role('0'\n)";
  EXPECT_EQ(text, WrittenRecord(ReadDictionary(FileWith(kVariables, text)).source, {kVariables}).Contents());
}

TEST(SFExtensionVariableAttributes, WritesAnExtendedLevelAndLeavesLevel1InTheDictionary) {
  int level = 0;
  EXPECT_EQ("Income:$@MeasurementLevel('5'\n)$@Role('0'\n)", WrittenOf(0, 5, {}, &level));
  EXPECT_EQ(1, level);
  EXPECT_EQ("Income:$@MeasurementLevel('4'\n)$@ExtendRole('7'\n)$@Role('3'\n)", WrittenOf(7, 4, {}, &level));
  EXPECT_EQ(1, level);
}

TEST(SFExtensionVariableAttributes, ReplacesAnExistingRoleAttributeInPlace) {
  DatasourceAttributes attributes;
  attributes.Define("x", {"1"});
  attributes.Define("$@Role", {"old"});
  attributes.Define("y", {"2"});
  int level = 0;
  EXPECT_EQ("Income:x('1'\n)$@Role('0'\n)y('2'\n)", WrittenOf(0, 0, attributes, &level));
}

TEST(SFExtensionVariableAttributes, WritesASlashBetweenVariables) {
  SystemFileDataSource source;
  source.MakeVariable(0, nullptr).SetName("A");
  source.MakeVariable(0, nullptr).SetName("B");
  EXPECT_EQ("A:$@Role('0'\n)/B:$@Role('0'\n)", WrittenRecord(source, {kVariables}).Contents());
}

TEST(SFExtensionVariableAttributes, NoVariablesGiveNoRecord) {
  EXPECT_EQ(0, WrittenRecord(SystemFileDataSource(), {kVariables}).record.NUnits());
}

}  // namespace
}  // namespace SFExtensionAttributes_test
