#include "datasrc/UTF8DataSource.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "datasrc/SystemFileDataSource.h"
#include "tests/support/Listener.h"
#include "tests/support/MemorySource.h"
#include "tests/support/Reading.h"

namespace UTF8DataSource_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr char kEncoding[] = "windows-1252";
// An encoding without a character for the byte 0xFF.
constexpr char kOtherEncoding[] = "ISO-8859-7";

// A dictionary in windows-1252 and a view of it in UTF-8; the process is in UTF-8 mode.
class UTF8View : public testing::Test {
 protected:
  UTF8DataSource View(const char* encoding = kEncoding) { return {source, encoding, &listener}; }

  // Adds a case while the process uses the parent's encoding.
  void AddCase(const std::vector<MemorySource::Value>& values) {
    const SystemFileDataSource::TemporaryCodePage codePage(kEncoding, 0);
    source.AddCase(values);
  }

  const SystemFileDataSource::TemporaryCodePage utf8{"", 1};
  MemorySource source;
  Listener listener;
};

QUAV_Variable VariableOf(const QUAV_DataSource& view, int column) { return view.GetVariable(column); }

// Adds a pair while the process uses the parent's encoding.
void AddPair(QUAV_ValueLabelMap& map, const std::string& value, const std::string& label) {
  const SystemFileDataSource::TemporaryCodePage codePage(kEncoding, 0);
  map.AddPair(value, label);
}

// ---- Widths ----

struct Width {
  int parent;
  int view;
};

TEST_F(UTF8View, StringsAreThreeTimesAsWideUpToTheWidest) {
  for (const Width width :
       {Width{1, 3}, {8, 24}, {10, 30}, {255, 765}, {10922, 32766}, {10923, 32767}, {11000, 32767}, {32767, 32767}}) {
    MemorySource parent;
    parent.AddText("S", width.parent);
    const UTF8DataSource view(parent, kEncoding, nullptr);
    EXPECT_EQ(width.view, VariableOf(view, 0).GetType());
    EXPECT_EQ(CellCount(width.view), view.GetObsAreaSize());
  }
}

TEST_F(UTF8View, NumbersStayNumbers) {
  source.AddNumber("N");
  EXPECT_EQ(0, VariableOf(View(), 0).GetType());
}

TEST_F(UTF8View, MovesTheColumnsAfterAWiderString) {
  source.AddText("S", 8);
  source.AddNumber("N");
  const UTF8DataSource view = View();
  EXPECT_EQ(3, view.ObsIndex(1));
  EXPECT_EQ(4u, view.GetObsAreaSize());
}

TEST_F(UTF8View, PlainStringFormatHasTheNewWidth) {
  source.AddText("S", 10);
  EXPECT_EQ(30, VariableOf(View(), 0).GetFormatEx().Width());
  EXPECT_EQ(30, VariableOf(View(), 0).GetWriteFormatEx().Width());
}

TEST_F(UTF8View, HexadecimalFormatHasTwiceTheNewWidth) {
  source.AddText("S", 10);
  constexpr FormatType kHexText{2};
  source.GetVariable(0).SetFormat(kHexText, 20, 0);
  const QUAV_Format format = VariableOf(View(), 0).GetFormatEx();
  EXPECT_EQ(kHexText, format.Type());
  EXPECT_EQ(60, format.Width());
}

TEST_F(UTF8View, KeepsTheDisplayWidth) {
  source.AddText("S", 10);
  source.GetVariable(0).SetDisplayWidth(7);
  EXPECT_EQ(7, VariableOf(View(), 0).GetDisplayWidth());
}

// ---- Texts ----

TEST_F(UTF8View, ConvertsTheTextsOfTheDataSet) {
  source.SetLabel(
      "\xDC"
      "berblick");
  DatasourceAttributes attributes;
  attributes.Define(
      "Gr\xF6\xDF"
      "e",
      {"\xE9t\xE9", "plain"});
  source.SetAttributes(attributes);
  const UTF8DataSource view = View();
  EXPECT_STREQ("Überblick", view.GetLabel());
  ASSERT_EQ(1u, view.GetAttributes().Size());
  EXPECT_EQ("Größe", view.GetAttributes().Name(0));
  EXPECT_THAT(view.GetAttributes().Values(0), ElementsAre("été", "plain"));
}

TEST_F(UTF8View, KeepsANullLabel) { EXPECT_EQ(nullptr, View().GetLabel()); }

TEST_F(UTF8View, ConvertsTheTextsOfAVariable) {
  source.AddNumber(
      "Gr\xF6\xDF"
      "e");
  source.GetVariable(0).SetLabel("in Fu\xDF");
  DatasourceAttributes attributes;
  attributes.Define("L\xE4nge", {"\x80"});
  source.GetVariable(0).SetAttributes(attributes);
  const UTF8DataSource view = View();
  EXPECT_STREQ("Größe", VariableOf(view, 0).GetName());
  EXPECT_STREQ("in Fuß", VariableOf(view, 0).GetLabel());
  EXPECT_THAT(VariableOf(view, 0).GetAttributes().Values("LÄNGE"), ElementsAre("€"));
  EXPECT_EQ(std::as_const(source).GetVariable(0).GetID(), VariableOf(view, 0).GetID());
}

TEST_F(UTF8View, ConvertsTheTextsOfSets) {
  source.AddNumber("\xE4");
  VariableSetImpl set;
  set.members = {source.GetVariable(0).GetID()};
  set.name =
      "Gr\xF6\xDF"
      "en";
  set.label = "\xE9t\xE9";
  set.value = "\xE7";
  source.SetVariableSets({set});
  source.SetMRSets({set, set});
  const UTF8DataSource view = View();
  for (const auto& sets : {view.GetVariableSets(), view.GetMRSets()}) {
    EXPECT_EQ("Größen", sets.back().name);
    EXPECT_EQ("été", sets.back().label);
    EXPECT_EQ("ç", sets.back().value);
    EXPECT_EQ(0, view.FindVarIndex(sets.back().members[0]));
  }
  EXPECT_EQ(2u, view.GetMRSets().size());
}

TEST_F(UTF8View, DoesNotChangeTheParent) {
  source.AddText("\xE4", 4);
  source.GetVariable(0).SetLabel("\xE9");
  View();
  EXPECT_STREQ("\xE4", std::as_const(source).GetVariable(0).GetName());
  EXPECT_STREQ("\xE9", std::as_const(source).GetVariable(0).GetLabel());
  EXPECT_EQ(4, std::as_const(source).GetVariable(0).GetType());
}

// ---- Missing values ----

std::vector<std::string> MissingTexts(const QUAV_Variable& variable) {
  const OBS* values[3]{};
  const int count = variable.GetMissingValues(values[0], values[1], values[2]);
  std::vector<std::string> texts;
  for (int i = 0; i < count; ++i) texts.emplace_back(CellText(values[i]), sizeof(OBS));
  return texts;
}

TEST_F(UTF8View, ConvertsMissingValuesOfStrings) {
  source.AddText("S", 3);
  source.GetVariable(0).SetMissingValues("n\xE9", "?", nullptr);
  EXPECT_THAT(MissingTexts(VariableOf(View(), 0)), ElementsAre("né     ", "?       "));
}

TEST_F(UTF8View, DropsOnlyTheMissingValueThatGrowsPastACell) {
  source.AddText("S", 8);
  source.GetVariable(0).SetMissingValues("abcdefg\xE9", "abcdef\xE9", "x");
  EXPECT_THAT(MissingTexts(VariableOf(View(), 0)), ElementsAre("abcdefé", "x       "));
  EXPECT_THAT(listener.warnings, IsEmpty());
}

TEST_F(UTF8View, HasNoMissingValuesWhenAllAreDropped) {
  source.AddText("S", 8);
  source.GetVariable(0).SetMissingValues("abcdefg\xE9", nullptr, nullptr);
  EXPECT_THAT(MissingTexts(VariableOf(View(), 0)), IsEmpty());
}

TEST_F(UTF8View, KeepsABlankMissingValue) {
  source.AddText("S", 4);
  source.GetVariable(0).SetMissingValues(" ", nullptr, nullptr);
  EXPECT_THAT(MissingTexts(VariableOf(View(), 0)), ElementsAre("        "));
}

TEST_F(UTF8View, KeepsMissingValuesOfNumbers) {
  source.AddNumber("N");
  const double low = 1;
  const double high = 2;
  source.GetVariable(0).SetMissingRange(&low, &high, nullptr);
  const QUAV_Variable variable = VariableOf(View(), 0);
  const OBS* values[3]{};
  EXPECT_EQ(-2, variable.GetMissingValues(values[0], values[1], values[2]));
  EXPECT_EQ(NumberCell(high), *values[1]);
}

// ---- Value labels ----

TEST_F(UTF8View, ConvertsTheLabelsOfNumbers) {
  source.AddNumber("N");
  QUAV_ValueLabelMap map(0);
  map.AddPair(1.0,
              "gr\xF6\xDF"
              "er");
  source.GetVariable(0).SetValueLabels(map);
  const UTF8DataSource view = View();
  EXPECT_STREQ("größer", QUAV_ValueLabelMap(VariableOf(view, 0).GetValueLabels()).GetLabel(1.0));
}

TEST_F(UTF8View, ConvertsTheValuesAndLabelsOfStringsIntoWiderFields) {
  source.AddText("S", 6);
  QUAV_ValueLabelMap map(6);
  AddPair(map, "\xE7\xE7\xE7\xE7\xE7\xE7", "fa\xE7on");
  source.GetVariable(0).SetValueLabels(map);
  const UTF8DataSource view = View();
  QUAV_ValueLabelMap converted(VariableOf(view, 0).GetValueLabels());
  EXPECT_EQ(18, converted.Type());
  EXPECT_STREQ("façon", converted.GetLabel(std::string("çççççç")));
}

TEST_F(UTF8View, VariablesStillShareTheirMap) {
  source.AddNumber("A");
  source.AddNumber("B");
  source.AddNumber("C");
  QUAV_ValueLabelMap map(0);
  map.AddPair(1.0, "one");
  source.GetVariable(0).SetValueLabels(map);
  source.GetVariable(1).SetValueLabels(map);
  QUAV_ValueLabelMap other(0);
  other.AddPair(1.0, "one");
  source.GetVariable(2).SetValueLabels(other);
  const UTF8DataSource view = View();
  const auto body = [&view](int column) { return VariableOf(view, column).GetValueLabels().get(); };
  EXPECT_EQ(body(0), body(1));
  EXPECT_NE(body(0), body(2));
  EXPECT_NE(body(0), std::as_const(source).GetVariable(0).GetValueLabels().get());
}

TEST_F(UTF8View, KeepsAMapWithoutPairs) {
  source.AddText("S", 4);
  const QUAV_ValueLabelMap map(4);
  source.GetVariable(0).SetValueLabels(map);
  EXPECT_EQ(std::as_const(source).GetVariable(0).GetValueLabels().get(), VariableOf(View(), 0).GetValueLabels().get());
}

// ---- Warnings ----

TEST_F(UTF8View, WarnsOnceOfLostText) {
  source.SetLabel("\xFF");
  source.AddNumber("A");
  source.GetVariable(0).SetLabel("\xFF\xFF");
  const UTF8DataSource view = View(kOtherEncoding);
  EXPECT_THAT(listener.Numbers(), ElementsAre(1701));
  EXPECT_THAT(listener.warnings[0].text, HasSubstr(kOtherEncoding));
  EXPECT_EQ(0, listener.warnings[0].value);
  EXPECT_EQ(nullptr, listener.warnings[0].detail);
  EXPECT_STREQ("\xEF\xBF\xBD", view.GetLabel());
}

VariableSetImpl Set(const char* name, const char* label, const char* value) {
  VariableSetImpl set;
  set.name = name;
  set.label = label;
  set.value = value;
  return set;
}

struct LostText {
  const char* where;
  std::function<void(MemorySource&)> put;
};

TEST_F(UTF8View, WarnsOfALossInAnyText) {
  const auto attributes = [](const char* name, const char* value) {
    DatasourceAttributes made;
    made.Define(name, {value});
    return made;
  };
  const auto labels = [](const char* value, const char* label) {
    QUAV_ValueLabelMap map(4);
    AddPair(map, value, label);
    return map;
  };
  const LostText texts[] = {
      {"label", [](MemorySource& data) { data.SetLabel("\xFF"); }},
      {"attribute name", [&](MemorySource& data) { data.SetAttributes(attributes("\xFF", "x")); }},
      {"attribute value", [&](MemorySource& data) { data.SetAttributes(attributes("x", "\xFF")); }},
      {"variable name", [](MemorySource& data) { data.GetVariable(0).SetName("\xFF"); }},
      {"variable label", [](MemorySource& data) { data.GetVariable(0).SetLabel("\xFF"); }},
      {"missing value", [](MemorySource& data) { data.GetVariable(0).SetMissingValues("\xFF", nullptr, nullptr); }},
      {"labelled value", [&](MemorySource& data) { data.GetVariable(0).SetValueLabels(labels("\xFF", "x")); }},
      {"value label", [&](MemorySource& data) { data.GetVariable(0).SetValueLabels(labels("x", "\xFF")); }},
      {"variable's attribute", [&](MemorySource& data) { data.GetVariable(0).SetAttributes(attributes("x", "\xFF")); }},
      {"set name", [](MemorySource& data) { data.SetVariableSets({Set("\xFF", "", "")}); }},
      {"set label", [](MemorySource& data) { data.SetMRSets({Set("s", "\xFF", "")}); }},
      {"set value", [](MemorySource& data) { data.SetMRSets({Set("s", "", "\xFF")}); }},
  };
  for (const LostText& text : texts) {
    SCOPED_TRACE(text.where);
    MemorySource parent;
    parent.AddText("S", 4);
    text.put(parent);
    Listener heard;
    const UTF8DataSource view(parent, kOtherEncoding, &heard);
    EXPECT_THAT(heard.Numbers(), ElementsAre(1701));
  }
}

TEST_F(UTF8View, DoesNotWarnWhenAllTextConverts) {
  source.SetLabel("\xE9");
  View();
  EXPECT_THAT(listener.warnings, IsEmpty());
}

TEST_F(UTF8View, ConvertsWithoutAMonitor) {
  source.SetLabel("\xFF\xE1");
  const UTF8DataSource view(source, kOtherEncoding, nullptr);
  EXPECT_STREQ("\xEF\xBF\xBDα", view.GetLabel());
}

TEST_F(UTF8View, RepairsNamesThatBecomeTooLongWithAWarning) {
  source.AddNumber(std::string(40, '\xE9').c_str());
  const UTF8DataSource view = View();
  EXPECT_STREQ("v1", VariableOf(view, 0).GetName());
  EXPECT_THAT(listener.Numbers(), ElementsAre(1722));
}

TEST_F(UTF8View, RepairsNamesThatBecomeEqual) {
  source.AddNumber("\xFF");
  source.AddNumber("\xD2");
  const UTF8DataSource view = View(kOtherEncoding);
  EXPECT_STREQ("v1", VariableOf(view, 1).GetName());
  EXPECT_THAT(listener.Numbers(), ElementsAre(1722, 1701));
}

// ---- Cases ----

TEST_F(UTF8View, ConvertsTheStringsOfACase) {
  source.AddNumber("A");
  source.AddText("S", 3);
  source.AddNumber("B");
  source.AddText("T", 9);
  AddCase({1.0, "\xE4\xF6\xFC", 2.0, "\x80uro"});
  AddCase({3.0, "abc", 4.0, ""});
  EXPECT_THAT(AllCells(View()), ElementsAre(CellsOf(FileCase{1.0, FileText("äöü", 9), 2.0, FileText("€uro", 27)}),
                                            CellsOf(FileCase{3.0, FileText("abc", 9), 4.0, FileText("", 27)})));
}

TEST_F(UTF8View, PadsAFieldWithBlanks) {
  source.AddText("S", 8);
  AddCase({"\xE4"});
  const UTF8DataSource view = View();
  std::array<OBS, 3> cells;
  cells.fill(OBS{0});
  const std::unique_ptr<QUAV_InputCaseIterator> cases(view.MakeIterator(cells.data()));
  ASSERT_EQ(1, cases->Next());
  EXPECT_EQ("ä" + std::string(22, ' '), std::string(CellText(cells.data()), sizeof cells));
}

TEST_F(UTF8View, TruncatesTextBeyondTheWidestStringBetweenCharacters) {
  source.AddText("S", MAX_STRING_TYPE);
  AddCase({std::string(MAX_STRING_TYPE, '\x80')});
  const auto cells = AllCells(View());
  const std::string text(CellText(cells.at(0).data()), 4096 * 8);
  EXPECT_EQ("€", text.substr(32763, 3));
  EXPECT_EQ("  ", text.substr(32766));
}

TEST_F(UTF8View, DoesNotWarnOfTextLostInACase) {
  source.AddText("S", 1);
  AddCase({"\xFF"});
  EXPECT_THAT(AllCells(View(kOtherEncoding)), ElementsAre(CellsOf(FileCase{"\xEF\xBF\xBD"})));
  EXPECT_THAT(listener.warnings, IsEmpty());
}

TEST_F(UTF8View, KeepsTheBufferAtTheEndOfTheData) {
  source.AddNumber("A");
  AddCase({1.0});
  const UTF8DataSource view = View();
  const std::unique_ptr<QUAV_InputCaseIterator> cases(view.MakeIterator(nullptr));
  ASSERT_EQ(1, cases->Next());
  EXPECT_EQ(0, cases->Next());
  EXPECT_EQ(1.0, cases->GetNumericValue(0));
}

TEST_F(UTF8View, SeekAndTellMatchTheParent) {
  source.AddText("S", 1);
  AddCase({"a"});
  AddCase({"\xE4"});
  const UTF8DataSource view = View();
  const std::unique_ptr<QUAV_InputCaseIterator> cases(view.MakeIterator(nullptr));
  EXPECT_EQ(1, cases->IsSeekOK());
  EXPECT_EQ(1, cases->Seek(1));
  EXPECT_EQ(1, cases->Tell());
  ASSERT_EQ(1, cases->Next());
  EXPECT_EQ("ä ", std::string(cases->GetStringValue(0), 3));
  EXPECT_EQ(0, cases->Seek(3));
}

TEST_F(UTF8View, HasTheRowCountOfTheParentAndReturnsTheEncoding) {
  source.AddNumber("A");
  AddCase({1.0});
  const UTF8DataSource view = View();
  EXPECT_EQ(1, view.RowCount());
  EXPECT_EQ(kEncoding, view.CharacterEncoding());
  EXPECT_EQ(&source, view.GetParentSource());
  EXPECT_TRUE(view.IsDirty());
}

// ---- Mistakes of the caller ----

using UTF8ViewDeathTest = UTF8View;

TEST_F(UTF8ViewDeathTest, UnknownEncodingAsserts) {
  EXPECT_DEATH(UTF8DataSource(source, "klingon", nullptr), "_my->_converter");
}

}  // namespace
}  // namespace UTF8DataSource_test
