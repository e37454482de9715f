#include "datasrc/CodePageDataSource.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "datasrc/SystemFileDataSource.h"
#include "datasrc/UTF8DataSource.h"
#include "tests/support/Listener.h"
#include "tests/support/MemorySource.h"
#include "tests/support/Reading.h"

namespace CodePageDataSource_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr char kEncoding[] = "windows-1252";

// A dictionary in UTF-8 and a view of it in the code page, which the process uses too.
class CodePageView : public testing::Test {
 protected:
  CodePageDataSource View(bool useBySave = false) { return {source, kEncoding, &listener, useBySave}; }

  const SystemFileDataSource::TemporaryCodePage codePage{kEncoding, 0};
  MemorySource source;
  Listener listener;
};

QUAV_Variable VariableOf(const QUAV_DataSource& view, int column) { return view.GetVariable(column); }

TEST_F(CodePageView, KeepsWidthsAndFormats) {
  source.AddText("S", 10);
  source.AddNumber("N");
  const CodePageDataSource view = View();
  EXPECT_EQ(10, VariableOf(view, 0).GetType());
  EXPECT_EQ(10, VariableOf(view, 0).GetFormatEx().Width());
  EXPECT_EQ(source.GetObsAreaSize(), view.GetObsAreaSize());
}

TEST_F(CodePageView, ConvertsTheTextsOfTheDictionary) {
  source.SetLabel("Überblick");
  source.AddText("Größe", 4);
  source.GetVariable(0).SetLabel("in Fuß");
  source.GetVariable(0).SetMissingValues("é", "x", nullptr);
  QUAV_ValueLabelMap map(4);
  map.AddPair(std::string("çç"), "façon");
  source.GetVariable(0).SetValueLabels(map);
  const CodePageDataSource view = View();
  EXPECT_STREQ(
      "\xDC"
      "berblick",
      view.GetLabel());
  EXPECT_STREQ(
      "Gr\xF6\xDF"
      "e",
      VariableOf(view, 0).GetName());
  EXPECT_STREQ("in Fu\xDF", VariableOf(view, 0).GetLabel());
  EXPECT_EQ(1, VariableOf(view, 0).IsMissing("\xE9   "));
  EXPECT_EQ(1, VariableOf(view, 0).IsMissing("x   "));
  QUAV_ValueLabelMap converted(VariableOf(view, 0).GetValueLabels());
  EXPECT_EQ(4, converted.Type());
  EXPECT_STREQ("fa\xE7on", converted.GetLabel(std::string("\xE7\xE7")));
}

TEST_F(CodePageView, VariablesStillShareTheirMap) {
  QUAV_ValueLabelMap map(0);
  map.AddPair(1.0, "é");
  for (const char* name : {"A", "B"}) source.GetVariable(source.AddNumber(name)).SetValueLabels(map);
  const CodePageDataSource view = View();
  EXPECT_EQ(VariableOf(view, 0).GetValueLabels().get(), VariableOf(view, 1).GetValueLabels().get());
}

TEST_F(CodePageView, DropsOnlyTheMissingValueThatGrowsPastACell) {
  source.AddText("S", 8);
  source.GetVariable(0).SetMissingValues("ççç", "x", nullptr);
  // In this encoding the letter takes four bytes, two more than in UTF-8.
  const SystemFileDataSource::TemporaryCodePage gb18030("GB18030", 0);
  const CodePageDataSource view(source, "GB18030", &listener, false);
  const QUAV_Variable variable = VariableOf(view, 0);
  const OBS* values[3]{};
  ASSERT_EQ(1, variable.GetMissingValues(values[0], values[1], values[2]));
  EXPECT_EQ('x', *CellText(values[0]));
}

TEST_F(CodePageView, RepairsNamesThatBecomeEqualWithoutWarning1722) {
  source.AddNumber("Ωa");
  source.AddNumber("Δa");
  const CodePageDataSource view = View();
  EXPECT_STREQ("v1", VariableOf(view, 0).GetName());
  EXPECT_STREQ("v2", VariableOf(view, 1).GetName());
  EXPECT_THAT(listener.Numbers(), ElementsAre(1711));
}

// ---- Warnings ----

TEST_F(CodePageView, WarnsOnceOfTextThatTheEncodingCannotHold) {
  source.SetLabel("Ω");
  source.AddNumber("A");
  source.GetVariable(0).SetLabel("Δ");
  View();
  EXPECT_THAT(listener.Numbers(), ElementsAre(1711));
  EXPECT_THAT(listener.warnings[0].text, HasSubstr(kEncoding));
  EXPECT_EQ(0, listener.warnings[0].value);
  EXPECT_EQ(nullptr, listener.warnings[0].detail);
}

TEST_F(CodePageView, WarnsWithAnotherNumberWhenItIsForSaving) {
  source.SetLabel("Ω");
  View(true);
  EXPECT_THAT(listener.Numbers(), ElementsAre(1712));
}

// The text of the value label's value grows: to four bytes in GB18030, to three in EUC-JP.
struct GrowingValue {
  const char* encoding;
  const char* value;
  int width;
  bool isLost;
};

TEST(CodePageViewOfGrowingText, WarnsOnlyWhenMoreThanTrailingBlanksIsLost) {
  const GrowingValue rows[] = {
      {"GB18030", "\u00E4", 4, false},      {"GB18030", "\u00E4", 5, false},      {"GB18030", "\u00E4x", 5, false},
      {"GB18030", "\u00E4", 3, true},       {"GB18030", "\u00E4xy", 5, true},     {"GB18030", "\u00E4\u00E4", 8, false},
      {"GB18030", "\u00E4\u00E4", 7, true}, {"EUC-JP", "\u00E4", 3, false},       {"EUC-JP", "\u00E4\u00E4", 6, false},
      {"EUC-JP", "\u00E4\u00E4", 5, true},  {"windows-1252", "\u00E4", 2, false}, {"windows-1252", "\u03A9", 9, true}};
  for (const GrowingValue& row : rows) {
    SCOPED_TRACE(std::string(row.encoding) + " " + row.value + " " + std::to_string(row.width));
    const SystemFileDataSource::TemporaryCodePage utf8("", 1);
    MemorySource source;
    source.AddText("S", row.width);
    QUAV_ValueLabelMap map(row.width);
    map.AddPair(std::string(row.value), "label");
    source.GetVariable(0).SetValueLabels(map);
    Listener listener;
    const CodePageDataSource view(source, row.encoding, &listener, true);
    EXPECT_EQ(row.isLost ? std::vector{1712} : std::vector<int>{}, listener.Numbers());
  }
}

TEST_F(CodePageView, DoesNotWarnWhenAllTextConverts) {
  source.SetLabel("é");
  View();
  View(true);
  EXPECT_THAT(listener.warnings, IsEmpty());
}

TEST_F(CodePageView, ConvertsWithoutAMonitor) {
  source.SetLabel("Ωé");
  const CodePageDataSource view(source, kEncoding, nullptr, false);
  EXPECT_STREQ("\x1A\xE9", view.GetLabel());
}

TEST_F(CodePageView, SetUseBySaveCodepageAddsNoWarning) {
  source.SetLabel("Ω");
  CodePageDataSource view = View();
  view.SetUseBySaveCodepage(true);
  EXPECT_THAT(listener.Numbers(), ElementsAre(1711));
}

// ---- Cases ----

TEST_F(CodePageView, ConvertsTheStringsOfACaseAndPadsWithBlanks) {
  source.AddNumber("A");
  source.AddText("S", 12);
  source.AddNumber("B");
  source.AddCase({1.0, "äöü", 2.0});
  source.AddCase({3.0, "plain text!!", 4.0});
  EXPECT_THAT(AllCells(View()), ElementsAre(CellsOf(FileCase{1.0, FileText("\xE4\xF6\xFC", 12), 2.0}),
                                            CellsOf(FileCase{3.0, FileText("plain text!!", 12), 4.0})));
}

TEST_F(CodePageView, ReturnsNumbersUnchanged) {
  source.AddNumber("A");
  source.AddNumber("B");
  source.AddCase({1.0, 2.0});
  EXPECT_EQ(AllCells(source), AllCells(View()));
}

TEST_F(CodePageView, TextThatGrowsMayUseTheWholeCell) {
  source.AddText("S", 6);
  source.AddCase({"ççç"});
  const SystemFileDataSource::TemporaryCodePage gb18030("GB18030", 0);
  const CodePageDataSource view(source, "GB18030", &listener, false);
  const auto cells = AllCells(view);
  // Two characters of four bytes each fit; the third is cut.
  EXPECT_EQ(std::string_view("\x81\x30\x85\x34\x81\x30\x85\x34").size(), 8u);
  EXPECT_NE(' ', CellText(cells.at(0).data())[7]);
}

TEST_F(CodePageView, SeekAndTellMatchTheParent) {
  source.AddText("S", 2);
  source.AddCase({"a"});
  source.AddCase({"ä"});
  const CodePageDataSource view = View();
  const std::unique_ptr<QUAV_InputCaseIterator> cases(view.MakeIterator(nullptr));
  EXPECT_EQ(1, cases->IsSeekOK());
  EXPECT_EQ(1, cases->Seek(1));
  ASSERT_EQ(1, cases->Next());
  EXPECT_EQ("\xE4 ", std::string(cases->GetStringValue(0), 2));
  EXPECT_EQ(2, cases->Tell());
}

TEST_F(CodePageView, HasTheRowCountOfTheParentAndReturnsTheEncoding) {
  source.AddNumber("A");
  source.AddCase({1.0});
  const CodePageDataSource view = View();
  EXPECT_EQ(1, view.RowCount());
  EXPECT_EQ(kEncoding, view.CharacterEncoding());
}

// ---- Round trip ----

// Sets texts of every kind that a dictionary has.
void PutTexts(MemorySource& source) {
  source.SetLabel("Überblick €");
  DatasourceAttributes attributes;
  attributes.Define("Größe", {"été", "plain"});
  source.SetAttributes(attributes);
  source.AddText("Länge", 8);
  QUAV_Variable& variable = source.GetVariable(0);
  variable.SetLabel("in Fuß");
  variable.SetMissingValues("né", "?", nullptr);
  variable.SetAttributes(attributes);
  QUAV_ValueLabelMap map(8);
  map.AddPair(std::string("où"), "naïf");
  variable.SetValueLabels(map);
  VariableSetImpl set;
  set.members = {variable.GetID()};
  set.name = "Größen";
  set.label = "été";
  set.value = "ç";
  source.SetVariableSets({set});
  source.SetMRSets({set});
}

TEST(EncodingViews, RoundTripADictionary) {
  const SystemFileDataSource::TemporaryCodePage utf8("", 1);
  MemorySource source;
  PutTexts(source);
  Listener listener;
  std::optional<CodePageDataSource> there;
  {
    const SystemFileDataSource::TemporaryCodePage codePage(kEncoding, 0);
    there.emplace(source, kEncoding, &listener, false);
  }
  const UTF8DataSource back(*there, kEncoding, &listener);
  EXPECT_THAT(listener.warnings, IsEmpty());
  EXPECT_STREQ(source.GetLabel(), back.GetLabel());
  EXPECT_TRUE(source.GetAttributes() == back.GetAttributes());
  EXPECT_EQ(source.GetVariableSets(), back.GetVariableSets());
  EXPECT_EQ(source.GetMRSets(), back.GetMRSets());
  QUAV_Variable expected = std::as_const(source).GetVariable(0);
  QUAV_Variable variable = back.GetVariable(0);
  EXPECT_STREQ("naïf", QUAV_ValueLabelMap(variable.GetValueLabels()).GetLabel(std::string("où")));
  // The width and the type of the map grow; everything else is the same.
  expected.SetValueLabels(nullptr);
  variable.SetValueLabels(nullptr);
  variable.SetType(8);
  EXPECT_TRUE(expected == variable);
}

// ---- Mistakes of the caller ----

using CodePageViewDeathTest = CodePageView;

TEST_F(CodePageViewDeathTest, UnknownEncodingAsserts) {
  EXPECT_DEATH(CodePageDataSource(source, "klingon", nullptr, false), "_my->_converter");
}

}  // namespace
}  // namespace CodePageDataSource_test
