#include "datasrc/QUAV_Variable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "dictionary/varimpl.h"

namespace variable_test {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

auto Asserts(const std::string& text) { return testing::HasSubstr("assertion failed: " + text + "\n"); }

// Returns the text as 8 bytes, padded with blanks.
OBS TextCell(const std::string& text) {
  OBS cell = kBlankCell;
  text.copy(CellText(&cell), sizeof(OBS));
  return cell;
}

std::string CellBytes(const OBS* cell) { return {CellText(cell), sizeof(OBS)}; }

QUAV_Variable Named(int type, const char* name) {
  QUAV_Variable variable(type);
  variable.SetName(name);
  return variable;
}

// Restores the process's originator.
class OriginatorGuard {
 public:
  ~OriginatorGuard() { QUAV_VariableImpl::SetOriginator(0); }
};

// ---- Handles ----

TEST(Variable, CopiesShareTheBodyUntilOneChanges) {
  QUAV_Variable first = Named(0, "a");
  QUAV_Variable second = first;
  EXPECT_EQ(first.GetName(), second.GetName());  // the same pointer

  second.SetName("b");
  EXPECT_STREQ("a", first.GetName());
  EXPECT_STREQ("b", second.GetName());
  EXPECT_EQ(first.GetID(), second.GetID());
}

TEST(Variable, CopyOnWriteKeepsAllOtherFields) {
  QUAV_Variable first = Named(12, "text");
  DatasourceAttributes attributes;
  attributes.Define("a", {"1"});
  QUAV_ValueLabelMap labels(12);
  first.SetAttributes(attributes);
  first.SetValueLabels(labels);
  first.SetLabel("label");
  first.SetRole(QUAV_Variable::kRoleBoth);
  first.SetMissingValues("x", "y", nullptr);

  QUAV_Variable second = first;
  second.SetName("other");
  second.SetName("text");
  EXPECT_TRUE(first == second);
  EXPECT_EQ(first.GetLabel(), second.GetLabel());  // the same text of the pool
  EXPECT_TRUE(first.GetValueLabels() == second.GetValueLabels());
}

TEST(Variable, MovesWithoutThrowing) {
  static_assert(std::is_nothrow_move_constructible_v<QUAV_Variable>);
  static_assert(std::is_nothrow_move_assignable_v<QUAV_Variable>);
  QUAV_Variable first = Named(0, "a");
  QUAV_Variable second = std::move(first);
  EXPECT_STREQ("a", second.GetName());
  QUAV_Variable third;
  third = std::move(second);
  EXPECT_STREQ("a", third.GetName());
}

TEST(Variable, NullHandlesCanBeCopiedAndAssigned) {
  const QUAV_Variable null;
  QUAV_Variable copy = null;
  copy = Named(0, "a");
  EXPECT_STREQ("a", copy.GetName());
  copy = null;
}

TEST(VariableDeathTest, AnyOtherOperationOnANullHandleAsserts) {
  QUAV_Variable null;
  const QUAV_Variable whole(0);
  const OBS cell{};
  const OBS *v1, *v2, *v3;
  FormatType type{};
  int width{}, decimals{};
  const std::vector<std::pair<const char*, std::function<void()>>> operations = {
      {"GetName", [&] { null.GetName(); }},
      {"GetUpperCaseName", [&] { null.GetUpperCaseName(); }},
      {"SetName", [&] { null.SetName("a"); }},
      {"GetID", [&] { null.GetID(); }},
      {"SetID", [&] { null.SetID({}); }},
      {"NewID", [&] { null.NewID(); }},
      {"GetType", [&] { null.GetType(); }},
      {"SetType", [&] { null.SetType(0); }},
      {"GetFormat", [&] { null.GetFormat(); }},
      {"GetFormatEx", [&] { null.GetFormatEx(); }},
      {"GetFormat, in parts", [&] { null.GetFormat(type, width, decimals); }},
      {"GetWriteFormat", [&] { null.GetWriteFormat(); }},
      {"GetWriteFormatEx", [&] { null.GetWriteFormatEx(); }},
      {"GetWriteFormat, in parts", [&] { null.GetWriteFormat(type, width, decimals); }},
      {"SetFormat", [&] { null.SetFormat(kDefaultNumericFormat); }},
      {"SetWriteFormat", [&] { null.SetWriteFormat(kDefaultNumericFormat); }},
      {"SetFormat, in parts", [&] { null.SetFormat(kFormatNumber, 8, 2); }},
      {"SetWriteFormat, in parts", [&] { null.SetWriteFormat(kFormatNumber, 8, 2); }},
      {"GetLabel", [&] { null.GetLabel(); }},
      {"SetLabel", [&] { null.SetLabel("a"); }},
      {"SetLabel to null", [&] { null.SetLabel(nullptr); }},
      {"GetPreferredLabel", [&] { null.GetPreferredLabel(); }},
      {"GetDisplayWidth", [&] { null.GetDisplayWidth(); }},
      {"SetDisplayWidth", [&] { null.SetDisplayWidth(1); }},
      {"GetMeasurementLevel", [&] { null.GetMeasurementLevel(); }},
      {"SetMeasurementLevel", [&] { null.SetMeasurementLevel(QUAV_Variable::kLevelScale); }},
      {"GetAlignment", [&] { null.GetAlignment(); }},
      {"SetAlignment", [&] { null.SetAlignment(QUAV_Variable::kAlignLeft); }},
      {"GetRole", [&] { null.GetRole(); }},
      {"SetRole", [&] { null.SetRole(QUAV_Variable::kRoleNone); }},
      {"GetAttributes", [&] { null.GetAttributes(); }},
      {"SetAttributes", [&] { null.SetAttributes({}); }},
      {"GetValueLabels", [&] { null.GetValueLabels(); }},
      {"SetValueLabels", [&] { null.SetValueLabels({}); }},
      {"GetMissingValues", [&] { null.GetMissingValues(v1, v2, v3); }},
      {"SetMissingValues by code", [&] { null.SetMissingValues(1, &cell, nullptr, nullptr); }},
      {"SetMissingValues", [&] { null.SetMissingValues(&cell, nullptr, nullptr); }},
      {"SetMissingRange", [&] { null.SetMissingRange(nullptr, nullptr, nullptr); }},
      {"IsMissing of a cell", [&] { null.IsMissing(&cell); }},
      {"IsMissing of a number", [&] { null.IsMissing(1.0); }},
      {"IsMissing of a text", [&] { null.IsMissing("a"); }},
      {"IsObsolete", [&] { null.IsObsolete(); }},
      {"operator==", [&] { (void)(null == whole); }},
  };
  for (const auto& [name, operation] : operations) {
    SCOPED_TRACE(name);
    EXPECT_DEATH(operation(), Asserts("fpImpl.IsValid()"));
  }
  EXPECT_DEATH((void)(whole == null), Asserts("other.fpImpl.IsValid()"));
}

// ---- Defaults ----

TEST(Variable, HasTheDefaultsOfItsType) {
  struct Row {
    const char* name;
    int type;
    QUAV_Format format;
    short displayWidth;
    QUAV_Variable::MeasurementLevel level;
    QUAV_Variable::Alignment alignment;
  };
  using V = QUAV_Variable;
  const Row rows[] = {
      {"numeric", 0, {kFormatNumber, 8, 2}, 8, V::kLevelDefaultNumeric, V::kAlignRight},
      {"one byte", 1, {kFormatString, 1, 0}, 1, V::kLevelDefaultString, V::kAlignLeft},
      {"40 bytes", 40, {kFormatString, 40, 0}, 40, V::kLevelDefaultString, V::kAlignLeft},
      {"50 bytes", 50, {kFormatString, 50, 0}, 50, V::kLevelDefaultString, V::kAlignLeft},
      {"51 bytes", 51, {kFormatString, 51, 0}, 50, V::kLevelDefaultString, V::kAlignLeft},
      {"300 bytes", 300, {kFormatString, 300, 0}, 50, V::kLevelDefaultString, V::kAlignLeft},
      {"the widest", MAX_STRING_TYPE, {kFormatString, 32767, 0}, 50, V::kLevelDefaultString, V::kAlignLeft},
      {"no variable", -1, QUAV_Format(0), -1, V::kLevelDefaultString, V::kAlignLeft},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const QUAV_Variable variable(row.type);
    EXPECT_EQ(row.type, variable.GetType());
    EXPECT_EQ(row.format, variable.GetFormat());
    EXPECT_EQ(row.format, variable.GetWriteFormat());
    EXPECT_EQ(row.displayWidth, variable.GetDisplayWidth());
    EXPECT_EQ(row.level, variable.GetMeasurementLevel());
    EXPECT_EQ(row.alignment, variable.GetAlignment());
  }
}

TEST(Variable, NewVariableHasNoProperties) {
  const QUAV_Variable variable(0);
  const OBS *v1, *v2, *v3;
  EXPECT_STREQ("", variable.GetName());
  EXPECT_STREQ("", variable.GetUpperCaseName());
  EXPECT_EQ(nullptr, variable.GetLabel());
  EXPECT_EQ(QUAV_Variable::kRoleInput, variable.GetRole());
  EXPECT_EQ(0u, variable.GetAttributes().Size());
  EXPECT_FALSE(variable.GetValueLabels().IsValid());
  EXPECT_EQ(0, variable.GetMissingValues(v1, v2, v3));
  EXPECT_EQ(OBS{0}, *v1);
  EXPECT_EQ(OBS{0}, *v2);
  EXPECT_EQ(OBS{0}, *v3);
  EXPECT_EQ(0, variable.IsObsolete());
}

TEST(VariableImpl, DisplayWidthIsThatOfTheType) {
  EXPECT_EQ(300, QUAV_VariableImpl(300).fDisplayWidth);
  EXPECT_EQ(8, QUAV_VariableImpl(0).fDisplayWidth);
}

// ---- Name ----

TEST(Variable, NamesLoseTrailingBlanks) {
  struct Row {
    const char* name;
    std::string given, kept, upper;
  };
  const Row rows[] = {
      {"plain", "age", "age", "AGE"},
      {"padded", "Age     ", "Age", "AGE"},
      {"blanks inside", " a b ", " a b", " A B"},
      {"blanks only", "    ", "", ""},
      {"empty", "", "", ""},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    QUAV_Variable variable(0);
    variable.SetName(row.given.c_str());
    EXPECT_EQ(row.kept, variable.GetName());
    EXPECT_EQ(row.upper, variable.GetUpperCaseName());
  }
}

TEST(Variable, SetNameUsesTheGivenLength) {
  QUAV_Variable variable(0);
  variable.SetName("abc  def", 5);
  EXPECT_STREQ("abc", variable.GetName());
  EXPECT_STREQ("ABC", variable.GetUpperCaseName());
}

TEST(Variable, UpperCaseNameHasAtMost128Bytes) {
  QUAV_Variable variable(0);
  variable.SetName(std::string(200, 'x').c_str());
  EXPECT_EQ(std::string(200, 'x'), variable.GetName());
  EXPECT_EQ(std::string(128, 'X'), variable.GetUpperCaseName());
}

TEST(Variable, SetNameAcceptsAPartOfTheOwnName) {
  QUAV_Variable variable = Named(0, "abcdef");
  variable.SetName(variable.GetName() + 3);
  EXPECT_STREQ("def", variable.GetName());
  EXPECT_STREQ("DEF", variable.GetUpperCaseName());
}

// ---- Identity ----

TEST(Variable, EachNewVariableHasANewID) {
  const LocallyUniqueID first = QUAV_Variable(0).GetID();
  const LocallyUniqueID second = QUAV_Variable(0).GetID();
  EXPECT_EQ(LocallyUniqueID(first.originator, first.number + 1), second);
}

TEST(Variable, NewIDUsesTheNextNumber) {
  QUAV_Variable variable(0);
  const LocallyUniqueID before = variable.GetID();
  variable.NewID();
  EXPECT_EQ(LocallyUniqueID(before.originator, before.number + 1), variable.GetID());
}

TEST(Variable, SetIDKeepsTheIDOfAnotherHandle) {
  QUAV_Variable first(0);
  QUAV_Variable second = first;
  const LocallyUniqueID before = first.GetID();
  second.SetID({5, 77});
  EXPECT_EQ(before, first.GetID());
  EXPECT_EQ(LocallyUniqueID(5, 77), second.GetID());
}

TEST(VariableImpl, OriginatorMarksIDsWithItsLow4Bits) {
  const OriginatorGuard guard;
  EXPECT_EQ(0u, QUAV_Variable(0).GetID().originator);
  QUAV_VariableImpl::SetOriginator(0x1A);
  EXPECT_EQ(0xAu, QUAV_Variable(0).GetID().originator);
}

TEST(VariableImpl, OriginatorAlsoAppliesToValueLabelMaps) {
  const OriginatorGuard guard;
  QUAV_VariableImpl::SetOriginator(7);
  EXPECT_EQ(7u, QUAV_VLMapRegistry::Add(new QUAV_VLMapImpl(0), {}).originator);
  QUAV_VLMapRegistry::CollectGarbage();
}

// ---- Label ----

TEST(Variable, EmptyLabelIsALabel) {
  QUAV_Variable variable = Named(0, "a");
  variable.SetLabel("");
  EXPECT_STREQ("", variable.GetLabel());
  EXPECT_EQ("", variable.GetPreferredLabel());
}

TEST(Variable, NullRemovesTheLabel) {
  QUAV_Variable variable = Named(0, "a");
  variable.SetLabel("label");
  EXPECT_EQ("label", variable.GetPreferredLabel());
  variable.SetLabel(nullptr);
  EXPECT_EQ(nullptr, variable.GetLabel());
  EXPECT_EQ("a", variable.GetPreferredLabel());
}

TEST(Variable, SetLabelUsesTheGivenLength) {
  QUAV_Variable variable(0);
  variable.SetLabel("label, and more", 5);
  EXPECT_STREQ("label", variable.GetLabel());
  variable.SetLabel(nullptr, 5);
  EXPECT_EQ(nullptr, variable.GetLabel());
}

TEST(Variable, LabelTextOutlivesItsVariable) {
  const char* label;
  {
    QUAV_Variable variable(0);
    variable.SetLabel("still here");
    label = variable.GetLabel();
    for (int i = 0; i < 1000; ++i) variable.SetLabel("another");
  }
  EXPECT_STREQ("still here", label);
}

TEST(VariableImpl, LabelPoolSharesNothing) {
  const QUAV_VarLabel* first = QUAV_VariableImpl::InsertLabel("same", 4);
  const QUAV_VarLabel* second = QUAV_VariableImpl::InsertLabel("same", 4);
  EXPECT_NE(first, second);
  EXPECT_EQ(*first, *second);
}

// ---- Display ----

TEST(Variable, KeepsItsDisplayProperties) {
  QUAV_Variable variable(0);
  variable.SetDisplayWidth(-7);
  variable.SetMeasurementLevel(QUAV_Variable::kLevelExtended5);
  variable.SetAlignment(QUAV_Variable::kAlignCenter);
  variable.SetRole(QUAV_Variable::kRoleExtended7);
  EXPECT_EQ(-7, variable.GetDisplayWidth());
  EXPECT_EQ(QUAV_Variable::kLevelExtended5, variable.GetMeasurementLevel());
  EXPECT_EQ(QUAV_Variable::kAlignCenter, variable.GetAlignment());
  EXPECT_EQ(QUAV_Variable::kRoleExtended7, variable.GetRole());
}

TEST(Variable, LevelHas4BitsAndAlignmentHas2) {
  QUAV_Variable variable(0);
  variable.SetMeasurementLevel(static_cast<QUAV_Variable::MeasurementLevel>(0x13));
  variable.SetAlignment(static_cast<QUAV_Variable::Alignment>(0x6));
  EXPECT_EQ(QUAV_Variable::kLevelScale, variable.GetMeasurementLevel());
  EXPECT_EQ(QUAV_Variable::kAlignCenter, variable.GetAlignment());
}

TEST(VariableImpl, NameTypeAndMissingValuesSetTheModifiedMark) {
  QUAV_VariableImpl body(0);
  EXPECT_EQ(0u, body.fModified);
  body.NewID();
  EXPECT_EQ(0u, body.fModified);
  body.SetName("a", 1);
  EXPECT_EQ(1u, body.fModified);
  body.fModified = 0;
  body.SetType(0);
  EXPECT_EQ(1u, body.fModified);
  body.fModified = 0;
  body.SetMissingValues(0, nullptr, nullptr, nullptr);
  EXPECT_EQ(1u, body.fModified);
}

// ---- Type ----

TEST(Variable, SetTypeRebuildsTheFormats) {
  struct Row {
    const char* name;
    int oldType;
    QUAV_Format oldFormat;
    int newType;
    QUAV_Format newFormat;
  };
  const Row rows[] = {
      {"number to string", 0, {kFormatDollar, 10, 3}, 300, {kFormatString, 300, 0}},
      {"string to number", 12, {kFormatString, 12, 0}, 0, kDefaultNumericFormat},
      {"hexadecimal string to number", 12, {kFormatHexString, 24, 0}, 0, kDefaultNumericFormat},
      {"string to string", 12, {kFormatString, 12, 0}, 4, {kFormatString, 4, 0}},
      {"hexadecimal stays", 12, {kFormatHexString, 24, 0}, 4, {kFormatHexString, 8, 0}},
      {"hexadecimal keeps its decimals", 12, {kFormatHexString, 24, 3}, 4, {kFormatHexString, 8, 3}},
      {"widest hexadecimal", 12, {kFormatHexString, 24, 0}, 126, {kFormatHexString, 252, 0}},
      {"too wide for hexadecimal", 12, {kFormatHexString, 24, 0}, 127, {kFormatString, 127, 0}},
      {"same type", 0, {kFormatDollar, 10, 3}, 0, {kFormatDollar, 10, 3}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    QUAV_Variable variable(row.oldType);
    variable.SetFormat(row.oldFormat);
    variable.SetWriteFormat(row.oldFormat);
    variable.SetType(row.newType);
    EXPECT_EQ(row.newType, variable.GetType());
    EXPECT_EQ(row.newFormat, variable.GetFormat());
    EXPECT_EQ(row.newFormat, variable.GetWriteFormat());
  }
}

TEST(Variable, SetTypeRebuildsEachFormatSeparately) {
  QUAV_Variable variable(12);
  variable.SetWriteFormat(QUAV_Format(kFormatHexString, 24, 0));
  variable.SetType(4);
  EXPECT_EQ(QUAV_Format(kFormatString, 4, 0), variable.GetFormat());
  EXPECT_EQ(QUAV_Format(kFormatHexString, 8, 0), variable.GetWriteFormat());
}

TEST(Variable, SetTypeKeepsAllOtherFields) {
  QUAV_Variable variable(0);
  const double nine = 9;
  variable.SetMissingValues(&nine, nullptr, nullptr);
  variable.SetLabel("label");
  variable.SetValueLabels(QUAV_ValueLabelMap(0));
  variable.SetType(20);
  const OBS *v1, *v2, *v3;
  EXPECT_EQ(8, variable.GetDisplayWidth());
  EXPECT_STREQ("label", variable.GetLabel());
  EXPECT_TRUE(variable.GetValueLabels().IsValid());
  EXPECT_EQ(1, variable.GetMissingValues(v1, v2, v3));
}

TEST(VariableDeathTest, SetTypeOutOfRangeAsserts) {
  QUAV_Variable variable(0);
  variable.SetType(MAX_STRING_TYPE);
  EXPECT_DEATH(variable.SetType(-1), Asserts("0 <= type && type <= MAX_STRING_TYPE"));
  EXPECT_DEATH(variable.SetType(32768), Asserts("0 <= type && type <= MAX_STRING_TYPE"));
}

// ---- Formats, as the handle returns them; varformat_test.cpp tests the stored form ----

TEST(Variable, NumericFormatsAreReturnedAtMost40Wide) {
  QUAV_Variable variable(0);
  variable.SetFormat(QUAV_Format(kFormatNumber, 60, 2));
  EXPECT_EQ(QUAV_Format(kFormatNumber, 40, 2), variable.GetFormat());
  variable.SetFormat(QUAV_Format(kFormatHexString, 60, 0));
  EXPECT_EQ(QUAV_Format(kFormatHexString, 60, 0), variable.GetFormat());
}

TEST(Variable, FormatsSetInPartsAreLimitedTo40WhenStored) {
  QUAV_Variable variable(0);
  // A whole format is stored as it is, and only the low byte of its width is read back. A format in parts is limited
  // before that.
  variable.SetFormat(QUAV_Format(kFormatNumber, 256 + 9, 2));
  EXPECT_EQ(9, variable.GetFormat().Width());
  variable.SetFormat(kFormatNumber, 256 + 9, 2);
  EXPECT_EQ(40, variable.GetFormat().Width());
  variable.SetFormat(kFormatString, 300, 0);
  EXPECT_EQ(300, variable.GetFormat().Width());
  variable.SetWriteFormat(kFormatComma, 41, 5);
  EXPECT_EQ(QUAV_Format(kFormatComma, 40, 5), variable.GetWriteFormat());
}

TEST(Variable, PrintAndWriteFormatsAreSeparate) {
  QUAV_Variable variable(0);
  variable.SetFormat(kFormatComma, 9, 1);
  variable.SetWriteFormat(kFormatDate, 11, 0);
  FormatType type;
  int width, decimals;
  variable.GetFormat(type, width, decimals);
  EXPECT_EQ(kFormatComma, type);
  EXPECT_EQ(9, width);
  EXPECT_EQ(1, decimals);
  variable.GetWriteFormat(type, width, decimals);
  EXPECT_EQ(kFormatDate, type);
  EXPECT_EQ(11, width);
  EXPECT_EQ(0, decimals);
  EXPECT_EQ(variable.GetFormat(), variable.GetFormatEx());
  EXPECT_EQ(variable.GetWriteFormat(), variable.GetWriteFormatEx());
}

// ---- Setting missing values ----

TEST(Variable, KeepsTheNumberOfMissingValuesOfTheCode) {
  const OBS one{1}, two{2}, three{3}, none{0};
  struct Row {
    const char* name;
    int code;
    OBS kept[3];
  };
  const Row rows[] = {
      {"none", 0, {none, none, none}},       {"one", 1, {one, none, none}},
      {"two", 2, {one, two, none}},          {"three", 3, {one, two, three}},
      {"a range", -2, {one, two, none}},     {"a range and one", -3, {one, two, three}},
      {"no meaning", -1, {one, none, none}}, {"no meaning, positive", 4, {one, two, none}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    QUAV_Variable variable(0);
    variable.SetMissingValues(3, &three, &three, &three);
    variable.SetMissingValues(row.code, &one, &two, &three);
    const OBS *v1, *v2, *v3;
    EXPECT_EQ(row.code, variable.GetMissingValues(v1, v2, v3));
    EXPECT_EQ(row.kept[0], *v1);
    EXPECT_EQ(row.kept[1], *v2);
    EXPECT_EQ(row.kept[2], *v3);
  }
}

TEST(Variable, SetMissingValuesAcceptsItsOwnValuesInAnotherOrder) {
  QUAV_Variable variable(0);
  const double one = 1, two = 2;
  variable.SetMissingValues(&one, &two, nullptr);
  const OBS *v1, *v2, *v3;
  variable.GetMissingValues(v1, v2, v3);
  variable.SetMissingValues(v2, v1, nullptr);
  variable.GetMissingValues(v1, v2, v3);
  EXPECT_EQ(2.0, CellNumber(*v1));
  EXPECT_EQ(1.0, CellNumber(*v2));
}

TEST(Variable, SetMissingValuesCountsTheGivenValues) {
  QUAV_Variable variable(0);
  const double one = 1, two = 2, three = 3;
  const OBS cell{};
  const OBS *v1, *v2, *v3;
  variable.SetMissingValues(&one, &two, &three);
  EXPECT_EQ(3, variable.GetMissingValues(v1, v2, v3));
  EXPECT_EQ(3.0, CellNumber(*v3));
  variable.SetMissingValues(&one, nullptr, nullptr);
  EXPECT_EQ(1, variable.GetMissingValues(v1, v2, v3));
  variable.SetMissingValues(&cell, &cell, nullptr);
  EXPECT_EQ(2, variable.GetMissingValues(v1, v2, v3));
  const double* none = nullptr;
  variable.SetMissingValues(none, none, none);
  EXPECT_EQ(0, variable.GetMissingValues(v1, v2, v3));
}

TEST(Variable, MissingTextsAreTruncatedOrPaddedTo8Bytes) {
  QUAV_Variable variable(20);
  const OBS *v1, *v2, *v3;
  variable.SetMissingValues("ABCDEFGHIJ", "ABCDEFGH", "A");
  EXPECT_EQ(3, variable.GetMissingValues(v1, v2, v3));
  EXPECT_EQ("ABCDEFGH", CellBytes(v1));
  EXPECT_EQ("ABCDEFGH", CellBytes(v2));
  EXPECT_EQ("A       ", CellBytes(v3));
}

TEST(Variable, MissingRangeMayBeOpenAtEachEnd) {
  QUAV_Variable variable(0);
  const double five = 5, nine = 9;
  const OBS *v1, *v2, *v3;
  variable.SetMissingRange(nullptr, nullptr, nullptr);
  EXPECT_EQ(-2, variable.GetMissingValues(v1, v2, v3));
  EXPECT_EQ(-1.7976931348623157e308, CellNumber(*v1));
  EXPECT_EQ(1.7976931348623157e308, CellNumber(*v2));
  variable.SetMissingRange(&five, &nine, &five);
  EXPECT_EQ(-3, variable.GetMissingValues(v1, v2, v3));
  EXPECT_EQ(5.0, CellNumber(*v1));
  EXPECT_EQ(9.0, CellNumber(*v2));
  EXPECT_EQ(5.0, CellNumber(*v3));
}

TEST(VariableDeathTest, SetMissingValuesWithANullValueAsserts) {
  QUAV_Variable variable(0);
  const OBS cell{};
  EXPECT_DEATH(variable.SetMissingValues(1, nullptr, &cell, &cell), Asserts("v1"));
  EXPECT_DEATH(variable.SetMissingValues(-2, &cell, nullptr, &cell), Asserts("v2"));
  EXPECT_DEATH(variable.SetMissingValues(-3, &cell, &cell, nullptr), Asserts("v3"));
  EXPECT_DEATH(variable.SetMissingValues(nullptr, &cell, nullptr), Asserts("v1"));
}

TEST(VariableDeathTest, SetMissingValuesOfAnotherTypeOrWithAGapAsserts) {
  QUAV_Variable number(0);
  QUAV_Variable text(8);
  const double one = 1;
  const double* none = nullptr;
  const char* noText = nullptr;
  EXPECT_DEATH(text.SetMissingValues(&one, none, none), Asserts("v1 == 0 || GetType() == 0"));
  EXPECT_DEATH(number.SetMissingValues("a", noText, noText), Asserts("v1 == 0 || GetType() != 0"));
  EXPECT_DEATH(number.SetMissingValues(&one, none, &one), Asserts("int(v2!=0) >= int(v3!=0)"));
  EXPECT_DEATH(number.SetMissingValues(none, &one, none), Asserts("int(v1!=0) >= int(v2!=0)"));
  EXPECT_DEATH(text.SetMissingValues("a", noText, "a"), Asserts("int(v2!=0) >= int(v3!=0)"));
  EXPECT_DEATH(text.SetMissingValues(noText, "a", noText), Asserts("int(v1!=0) >= int(v2!=0)"));
}

TEST(VariableDeathTest, SetMissingRangeOfAStringAsserts) {
  QUAV_Variable variable(8);
  EXPECT_DEATH(variable.SetMissingRange(nullptr, nullptr, nullptr), Asserts("GetType() == 0"));
}

// ---- Testing for missing values ----

TEST(Variable, SystemMissingIsMissingForEveryNumber) {
  const double sysmis = CellNumber(kSystemMissingCell);
  const double one = 1;
  QUAV_Variable variable(0);
  EXPECT_EQ(1, variable.IsMissing(sysmis));
  EXPECT_EQ(1, variable.IsMissing(&kSystemMissingCell));
  variable.SetMissingValues(&one, nullptr, nullptr);
  EXPECT_EQ(1, variable.IsMissing(sysmis));
  variable.SetMissingRange(&one, nullptr, nullptr);
  EXPECT_EQ(1, variable.IsMissing(sysmis));
}

TEST(Variable, SystemMissingBitsAreNotAMissingString) { EXPECT_EQ(0, QUAV_Variable(8).IsMissing(&kSystemMissingCell)); }

TEST(Variable, SingleMissingValuesMatchByBits) {
  QUAV_Variable variable(0);
  const double minusZero = -0.0, two = 2;
  variable.SetMissingValues(&minusZero, &two, &kNaN);
  EXPECT_EQ(1, variable.IsMissing(-0.0));
  EXPECT_EQ(0, variable.IsMissing(0.0));
  EXPECT_EQ(1, variable.IsMissing(2.0));
  EXPECT_EQ(1, variable.IsMissing(kNaN));
  EXPECT_EQ(0, variable.IsMissing(3.0));
}

TEST(Variable, OnlyMissingValuesWithinTheCountMatch) {
  QUAV_Variable variable(0);
  const OBS one = NumberCell(1), two = NumberCell(2), three = NumberCell(3);
  variable.SetMissingValues(2, &one, &two, &three);
  EXPECT_EQ(1, variable.IsMissing(2.0));
  EXPECT_EQ(0, variable.IsMissing(3.0));
  EXPECT_EQ(0, variable.IsMissing(0.0));  // the unused cell
}

TEST(Variable, RangesCompareAsDoublesAndIncludeBothEnds) {
  struct Row {
    const char* name;
    double value;
    int missing;
  };
  const Row rows[] = {
      {"low end", -0.0, 1}, {"low end, other zero", 0.0, 1},         {"inside", 5.0, 1}, {"high end", 9.0, 1},
      {"below", -1.0, 0},   {"above", std::nextafter(9.0, 10.0), 0}, {"NaN", kNaN, 0},   {"single value", 42.0, 1},
  };
  QUAV_Variable variable(0);
  const double low = 0.0, high = 9.0, single = 42.0;
  variable.SetMissingRange(&low, &high, &single);
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(row.missing, variable.IsMissing(row.value));
  }
}

TEST(Variable, SingleValueNextToARangeMatchesByBits) {
  QUAV_Variable variable(0);
  const double low = 5, high = 9, single = 0.0;
  variable.SetMissingRange(&low, &high, &single);
  EXPECT_EQ(1, variable.IsMissing(0.0));
  EXPECT_EQ(0, variable.IsMissing(-0.0));
}

TEST(Variable, OpenRangeStartsAtTheLowestNumber) {
  QUAV_Variable variable(0);
  const double end = 5;
  variable.SetMissingRange(nullptr, &end, nullptr);
  EXPECT_EQ(1, variable.IsMissing(-1.7e308));
  EXPECT_EQ(1, variable.IsMissing(5.0));
  EXPECT_EQ(1, variable.IsMissing(CellNumber(kSystemMissingCell)));
  EXPECT_EQ(0, variable.IsMissing(5.1));
  EXPECT_EQ(0, variable.IsMissing(-std::numeric_limits<double>::infinity()));
}

TEST(Variable, CodesWithoutMeaningDefineNoMissingValues) {
  const OBS one = NumberCell(1);
  for (const int code : {-1, 4, -4}) {
    SCOPED_TRACE(code);
    QUAV_Variable variable(0);
    variable.SetMissingValues(code, &one, &one, &one);
    EXPECT_EQ(0, variable.IsMissing(1.0));
    EXPECT_EQ(1, variable.IsMissing(CellNumber(kSystemMissingCell)));
  }
}

TEST(Variable, StringsHaveOnlySingleMissingValues) {
  QUAV_Variable variable(8);
  const OBS a = TextCell("a"), b = TextCell("b"), z = TextCell("z");
  variable.SetMissingValues(1, &a, nullptr, nullptr);
  EXPECT_EQ(1, variable.IsMissing(&a));
  EXPECT_EQ(0, variable.IsMissing(&b));
  for (const int code : {-2, -3}) {
    SCOPED_TRACE(code);
    variable.SetMissingValues(code, &a, &z, &b);
    EXPECT_EQ(0, variable.IsMissing(&b));
  }
}

TEST(Variable, LongStringsMatchByTheirFirst8Bytes) {
  QUAV_Variable variable(20);
  variable.SetMissingValues("ABCDEFGH", nullptr, nullptr);
  const OBS cells[] = {TextCell("ABCDEFGH"), TextCell("more"), kBlankCell};
  EXPECT_EQ(1, variable.IsMissing(cells));
}

TEST(Variable, TextsMatchWhenTheyFitTheTypeAndACell) {
  struct Row {
    const char* name;
    int type;
    const char* text;
    int missing;
  };
  const Row rows[] = {
      {"same", 20, "AB", 1},
      {"other", 20, "AC", 0},
      {"with blanks", 20, "AB   ", 1},
      {"eight bytes", 20, "AB      ", 1},
      {"over eight bytes", 20, "AB       ", 0},
      {"as long as the type", 2, "AB", 1},
      {"longer than the type", 2, "AB ", 0},
      {"empty", 20, "", 0},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    QUAV_Variable variable(row.type);
    variable.SetMissingValues("AB", nullptr, nullptr);
    EXPECT_EQ(row.missing, variable.IsMissing(row.text));
  }
}

TEST(Variable, TextOver8BytesIsNeverMissing) {
  QUAV_Variable variable(20);
  variable.SetMissingValues("ABCDEFGHI", nullptr, nullptr);
  EXPECT_EQ(0, variable.IsMissing("ABCDEFGHI"));
  EXPECT_EQ(1, variable.IsMissing("ABCDEFGH"));
}

TEST(Variable, TextIsNeverMissingForANumberOrWithoutMissingValues) {
  QUAV_Variable number(0);
  const OBS cell = TextCell("AB");
  number.SetMissingValues(&cell, nullptr, nullptr);
  EXPECT_EQ(0, number.IsMissing("AB"));
  EXPECT_EQ(0, QUAV_Variable(8).IsMissing(""));
}

// ---- Equality ----

TEST(Variable, EqualsASeparateVariableWithTheSameFields) { EXPECT_TRUE(Named(0, "a") == Named(0, "a")); }

TEST(Variable, EqualityComparesEachFieldExceptTheID) {
  struct Row {
    const char* name;
    std::function<void(QUAV_Variable&)> change;
    bool equal;
  };
  QUAV_ValueLabelMap sameLabels(0), otherLabels(0);
  sameLabels.AddPair(1.0, "one");
  otherLabels.AddPair(1.0, "uno");
  DatasourceAttributes attributes;
  attributes.Define("a", {"2"});
  const OBS one = NumberCell(1), two = NumberCell(2), three = NumberCell(3);
  using V = QUAV_Variable;
  const Row rows[] = {
      {"ID", [](V& v) { v.NewID(); }, true},
      {"equal label at another address", [](V& v) { v.SetLabel("label"); }, true},
      {"equal map at another address", [&](V& v) { v.SetValueLabels(sameLabels); }, true},
      {"case of the name", [](V& v) { v.SetName("NAME"); }, false},
      {"type",
       [](V& v) {
         v.SetType(4);
         v.SetFormat(kDefaultNumericFormat);
         v.SetWriteFormat(kDefaultNumericFormat);
       },
       false},
      {"label", [](V& v) { v.SetLabel("Label"); }, false},
      {"no label", [](V& v) { v.SetLabel(nullptr); }, false},
      {"code of missing values", [&](V& v) { v.SetMissingValues(-2, &one, &two, nullptr); }, false},
      {"missing values", [&](V& v) { v.SetMissingValues(&one, &three, nullptr); }, false},
      {"print format", [](V& v) { v.SetFormat(kFormatNumber, 8, 1); }, false},
      {"write format", [](V& v) { v.SetWriteFormat(kFormatNumber, 9, 2); }, false},
      {"display width", [](V& v) { v.SetDisplayWidth(9); }, false},
      {"level", [](V& v) { v.SetMeasurementLevel(V::kLevelScale); }, false},
      {"alignment", [](V& v) { v.SetAlignment(V::kAlignCenter); }, false},
      {"role", [](V& v) { v.SetRole(V::kRoleSplit); }, false},
      {"value labels", [&](V& v) { v.SetValueLabels(otherLabels); }, false},
      {"no value labels", [](V& v) { v.SetValueLabels({}); }, false},
      {"attributes", [&](V& v) { v.SetAttributes(attributes); }, false},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    QUAV_Variable variable = Named(0, "name");
    variable.SetLabel("label");
    variable.SetMissingValues(&one, &two, nullptr);
    QUAV_ValueLabelMap labels(0);
    labels.AddPair(1.0, "one");
    variable.SetValueLabels(labels);
    QUAV_Variable changed = variable;
    row.change(changed);
    EXPECT_EQ(row.equal, variable == changed);
    EXPECT_EQ(row.equal, changed == variable);
  }
}

TEST(Variable, EqualityComparesFormatsInStoredForm) {
  QUAV_Variable first = Named(0, "a");
  QUAV_Variable second = first;
  first.SetFormat(QUAV_Format(kFormatNumber, 50, 2));
  second.SetFormat(QUAV_Format(kFormatNumber, 60, 2));
  EXPECT_EQ(first.GetFormat(), second.GetFormat());
  EXPECT_FALSE(first == second);
}

TEST(VariableImpl, EqualityIgnoresMarksAndUpperCaseName) {
  QUAV_VariableImpl first(0);
  QUAV_VariableImpl second(first);
  second.fObsolete = 1;
  second.fModified = 1;
  second.fUpperName = "other";
  EXPECT_TRUE(first == second);
}

TEST(VariableImpl, CopiesKeepTheObsoleteMark) {
  QUAV_VariableImpl first(0);
  first.fObsolete = 1;
  EXPECT_EQ(1u, QUAV_VariableImpl(first).fObsolete);
}

TEST(Variable, SharesItsValueLabelMapUntilItChanges) {
  QUAV_ValueLabelMap labels(0);
  labels.AddPair(1.0, "one");
  QUAV_Variable first(0), second(0);
  first.SetValueLabels(labels);
  second.SetValueLabels(first.GetValueLabels());
  EXPECT_TRUE(first.GetValueLabels() == second.GetValueLabels());

  QUAV_ValueLabelMap changed(second.GetValueLabels());
  changed.AddPair(2.0, "two");
  EXPECT_EQ(1, QUAV_ValueLabelMap(second.GetValueLabels()).Size());
}

TEST(VariableDeathTest, TypeOfNoVariableAsserts) {
  const char* const text = "-1 <= type && type <= MAX_STRING_TYPE";
  for (const int type : {32768, 40000, 65541, -2, -9}) EXPECT_DEATH(QUAV_Variable{type}, Asserts(text)) << type;
  EXPECT_EQ(32767, QUAV_Variable(32767).GetType());
  EXPECT_EQ(-1, QUAV_Variable(-1).GetType());
}

}  // namespace
}  // namespace variable_test
