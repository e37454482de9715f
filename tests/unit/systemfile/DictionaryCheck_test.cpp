#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Platform/text/QUAVMB.h"
#include "datasrc/SystemFileDataSource.h"
#include "datasrc/VariableSet.h"
#include "tests/support/Reading.h"
#include "tests/support/RowName.h"

using std::string_literals::operator""s;

namespace DictionaryCheck_test {
namespace {

OBS TextCell(const std::string& text) {
  OBS cell = kBlankCell;
  std::ranges::copy(text, CellText(&cell));
  return cell;
}

// A dictionary with the number A, and the strings S of 8 bytes and W of 9 bytes.
class DictionaryCheck : public testing::Test {
 protected:
  DictionaryCheck() {
    SetUTF8mode(1);
    m_file.CharacterEncoding(kUtf8Name);
    m_file.MakeVariable(0, nullptr).SetName("A");
    m_file.MakeVariable(8, nullptr).SetName("S");
    m_file.MakeVariable(9, nullptr).SetName("W");
  }
  ~DictionaryCheck() override { SetUTF8mode(0); }

  // Expects that the dictionary is refused with the number, which tells the name, and that no file is made.
  void ExpectRefused(int number, const std::string& name) {
    const std::string path = m_onDisk.Directory() + "/new.quav";
    m_file.SetFileSpec(path.c_str());
    const auto error = ErrorOf([&] { m_file.CommitDictionary(); });
    ASSERT_TRUE(error);
    EXPECT_EQ(number, error->Number());
    EXPECT_NE(std::string::npos, error->Text().find(name)) << error->Text();
    EXPECT_FALSE(std::filesystem::exists(path));
  }
  // Saves the dictionary and opens the file.
  std::unique_ptr<SystemFileDataSource> Saved() {
    m_file.SetFileSpec(m_onDisk.Name().c_str());
    m_file.CommitDictionary();
    m_file.Close();
    return std::make_unique<SystemFileDataSource>(m_onDisk.Name(), "", false);
  }

  void SetSets(const std::vector<VariableSetImpl>& sets, bool plain) {
    std::vector<VariableSetImpl> list = sets;
    for (VariableSetImpl& set : list) set.members = {m_file.GetVariable(0).GetID()};
    plain ? m_file.SetVariableSets(list) : m_file.SetMRSets(list);
  }
  static VariableSetImpl Set(const std::string& name, int type, const std::string& label = "",
                             const std::string& value = "") {
    VariableSetImpl set;
    set.name = name;
    set.type = type;
    set.label = label;
    set.value = value;
    return set;
  }
  static DatasourceAttributes Attributes(const std::string& name, const std::vector<std::string>& values) {
    DatasourceAttributes attributes;
    attributes.Define(name, values);
    return attributes;
  }

  const TempFile m_onDisk{"as before"};
  SystemFileDataSource m_file;
};

TEST_F(DictionaryCheck, RefusalKeepsTheFileThatIsThere) {
  m_file.GetVariable(0).SetName("a=b");
  m_file.SetFileSpec(m_onDisk.Name().c_str());
  EXPECT_EQ(1506, ErrorOf([&] { m_file.CommitDictionary(); })->Number());
  EXPECT_EQ("as before", m_onDisk.Bytes());
}

TEST_F(DictionaryCheck, ARefusedDictionaryIsWrittenOnceItIsMended) {
  m_file.SetAttributes(Attributes("Note", {"two\nlines"}));
  ExpectRefused(1508, "Note");
  m_file.SetAttributes(Attributes("Note", {"one line"}));
  EXPECT_EQ("one line", Saved()->GetAttributes().Values("Note").at(0));
}

TEST_F(DictionaryCheck, RefusesToAppendWithADictionaryThatWasChangedToSuch) {
  const std::vector<OBS> row(m_file.GetObsAreaSize(), NumberCell(1));
  Saved();
  const std::string before = m_onDisk.Bytes();
  SystemFileDataSource opened(m_onDisk.Name(), "", false);
  opened.SetAttributes(Attributes("Note", {"two\nlines"}));
  EXPECT_EQ(1508, ErrorOf([&] { opened.AddRow(row.data()); })->Number());
  EXPECT_EQ(before, m_onDisk.Bytes());
  opened.SetAttributes(DatasourceAttributes());
  opened.AddRow(row.data());
  opened.Close();
  EXPECT_EQ(1, SystemFileDataSource(m_onDisk.Name(), "", false).RowCount());
}

// ---- Names of variables ----

TEST_F(DictionaryCheck, RefusesEqualNamesBeforeTheFileIsMade) {
  m_file.GetVariable(1).SetName("a");
  ExpectRefused(1505, "A");
}

struct NameRow {
  const char* name;
  std::string text;
  bool isHeld;
};

class DictionaryCheckNames : public DictionaryCheck, public testing::WithParamInterface<NameRow> {};

TEST_P(DictionaryCheckNames, NameIsHeldOrRefused) {
  m_file.GetVariable(0).SetName(GetParam().text.c_str());
  if (!GetParam().isHeld) return ExpectRefused(1506, GetParam().text);
  const auto read = Saved();
  EXPECT_EQ(GetParam().text, std::as_const(*read).GetVariable(0).GetName());
}

INSTANTIATE_TEST_SUITE_P(
    Rows, DictionaryCheckNames,
    testing::Values(NameRow{"Equal", "a=b", false}, NameRow{"Tab", "a\tb", false}, NameRow{"Colon", "a:b", false},
                    NameRow{"Blank", "a b", false}, NameRow{"LineFeed", "a\nb", false},
                    NameRow{"Return", "a\rb", false}, NameRow{"Slash", "/a", false}, NameRow{"Empty", "", false},
                    NameRow{"OfScratch", "#a", false}, NameRow{"OfSystem", "$a", false},
                    NameRow{"NotUtf8", "a\xE4", false}, NameRow{"Bytes65", std::string(65, 'a'), false},
                    NameRow{"Bytes64", std::string(64, 'a'), true}, NameRow{"Specials", "a@#$_.", true},
                    NameRow{"Digit", "1a", true}, NameRow{"Umlaut", "\u00C4", true}),
    kRowName);

TEST_F(DictionaryCheck, NameIsNotTestedByAnotherEncodingThanTheFiles) {
  m_file.CharacterEncoding("windows-1252");
  m_file.GetVariable(0).SetName("\xE4");
  m_file.GetVariable(1).SetAttributes(Attributes("\xE4", {"x"}));
  Saved();
  const std::unique_ptr<QUAV_DataSource, LineDeleter> view(
      SystemFileDataSource::GetSystemFile(m_onDisk.Name(), "", false, nullptr));
  EXPECT_STREQ("ä", std::as_const(*view).GetVariable(0).GetName());
  EXPECT_EQ("x", std::as_const(*view).GetVariable(1).GetAttributes().Values("ä").at(0));
}

TEST_F(DictionaryCheck, NameWithAnEqualSignIsRefusedInAnyEncoding) {
  m_file.CharacterEncoding("windows-1252");
  m_file.GetVariable(0).SetName("\xE4=");
  ExpectRefused(1506, "\xE4=");
}

// ---- Attributes ----

struct AttributeRow {
  const char* name;
  std::string attribute;
  std::vector<std::string> values;
  bool isHeld;
};

class DictionaryCheckAttributes : public DictionaryCheck, public testing::WithParamInterface<AttributeRow> {};

TEST_P(DictionaryCheckAttributes, AttributeOfTheDataSetIsHeldOrRefused) {
  const DatasourceAttributes attributes = Attributes(GetParam().attribute, GetParam().values);
  m_file.SetAttributes(attributes);
  if (!GetParam().isHeld) return ExpectRefused(1508, GetParam().attribute.c_str());
  EXPECT_TRUE(attributes == Saved()->GetAttributes());
}

TEST_P(DictionaryCheckAttributes, AttributeOfAVariableIsHeldOrRefused) {
  const DatasourceAttributes attributes = Attributes(GetParam().attribute, GetParam().values);
  m_file.GetVariable(1).SetAttributes(attributes);
  if (!GetParam().isHeld) return ExpectRefused(1508, GetParam().attribute.c_str() + " of the variable S"s);
  EXPECT_TRUE(attributes == std::as_const(*Saved()).GetVariable(1).GetAttributes());
}

INSTANTIATE_TEST_SUITE_P(
    Rows, DictionaryCheckAttributes,
    testing::Values(
        AttributeRow{"LineFeed", "x", {"a\nb"}, false}, AttributeRow{"LineFeedAlone", "x", {"\n"}, false},
        AttributeRow{"LineFeedInALaterValue", "x", {"a", "b\n"}, false}, AttributeRow{"Nul", "x", {"a\0b"s}, false},
        AttributeRow{"NulInTheName", "x\0"s, {"a"}, false}, AttributeRow{"EmptyName", "", {"a"}, false},
        AttributeRow{"ParenthesisInTheName", "a(", {"a"}, false},
        AttributeRow{"SlashBeforeTheName", "/a", {"a"}, false}, AttributeRow{"NameOfScratch", "#a", {"a"}, false},
        AttributeRow{"NameEndsInPoint", "a.", {"a"}, false}, AttributeRow{"ReservedName", "all", {"a"}, false},
        AttributeRow{"NameNotUtf8", "a\xE4", {"a"}, false}, AttributeRow{"NameOfSystem", "$@a", {"a"}, true},
        AttributeRow{"Quotes", "x", {"'", "''", "\""}, true},
        AttributeRow{"Signs", "x", {"(", ")", "/", "a:b", "=", "\t", "\r", "", " "}, true},
        AttributeRow{"NotUtf8", "x", {"\xE4"}, true}),
    kRowName);

TEST_F(DictionaryCheck, AttributeWithoutValuesIsNotTested) {
  m_file.SetAttributes(Attributes("a\nb", {}));
  EXPECT_EQ(0u, Saved()->GetAttributes().Size());
}

// ---- Sets ----

struct SetRow {
  const char* name;
  std::vector<VariableSetImpl> sets;
  bool isPlain;
  bool isHeld;
};

class DictionaryCheckSets : public DictionaryCheck, public testing::WithParamInterface<SetRow> {
 public:
  static std::vector<SetRow> Rows() {
    VariableSetImpl enhanced = Set("$s", 2, "label", "1");
    enhanced.useVariableCategoryLabels = true;
    VariableSetImpl ofVariable = Set("$s", 2, "", "1");
    ofVariable.useVariableCategoryLabels = true;
    ofVariable.labelSetByVariable = true;
    return {{"EqualInAPlainName", {Set("a=b", 0)}, true, false},
            {"LineFeedInAPlainName", {Set("a\nb", 0)}, true, false},
            {"ReturnInAPlainName", {Set("a\r", 0)}, true, false},
            {"PlainNameBeginsWithDollar", {Set("$a", 0)}, true, false},
            {"PlainNameTwice", {Set("a", 0), Set("b", 0), Set("a", 0)}, true, false},
            {"EmptyPlainNameTwice", {Set("", 0), Set("", 0)}, true, false},
            {"PlainNamesThatDifferInCase", {Set("a", 0), Set("A", 0)}, true, true},
            {"EmptyPlainName", {Set("", 0)}, true, true},
            {"SignsInAPlainName", {Set("a\t$ ('b'\0)"s, 0)}, true, true},
            {"EqualInAName", {Set("$a=C", 1)}, false, false},
            {"LineFeedInAName", {Set("$a\n", 1)}, false, false},
            {"ReturnInALabel", {Set("$a", 1, "two\rlines")}, false, false},
            {"LineFeedInALabel", {Set("$a", 2, "two\nlines", "1")}, false, false},
            {"LineFeedInAValue", {Set("$a", 2, "label", "\n")}, false, false},
            {"UnknownType", {Set("$a", 3)}, false, false},
            {"NameTwiceInOneRecord", {Set("$s", 1), Set("$s", 2, "", "1")}, false, false},
            {"NameInBothRecords", {Set("$s", 1, "label"), enhanced}, false, true},
            {"SignsInTheTexts", {Set("$ \t'", 2, " = '\t $ \0 \xE4 5 x "s, " =\0'"s)}, false, true},
            {"LabelOfAVariable", {ofVariable}, false, true}};
  }
};

TEST_P(DictionaryCheckSets, SetsAreHeldOrRefused) {
  SetSets(GetParam().sets, GetParam().isPlain);
  const auto sets = [&](const QUAV_DataSource& source) {
    return GetParam().isPlain ? VariableSets(source, kPlainSets) : VariableSets(source, kMRSets);
  };
  if (!GetParam().isHeld) return ExpectRefused(1509, GetParam().sets.front().name);
  const std::vector<VariableSet> before = sets(m_file);
  EXPECT_TRUE(before == sets(*Saved()));
}

INSTANTIATE_TEST_SUITE_P(Rows, DictionaryCheckSets, testing::ValuesIn(DictionaryCheckSets::Rows()), kRowName);

using DictionaryCheckDeathTest = DictionaryCheck;

TEST_F(DictionaryCheckDeathTest, SetNameWithoutADollarAsserts) {
  SetSets({Set("a", 1)}, false);
  EXPECT_DEATH(Saved(), "vset.GetName\\(\\)\\[0\\] == '\\$'");
}

TEST_F(DictionaryCheckDeathTest, DichotomyWithoutAValueAsserts) {
  SetSets({Set("$a", 2)}, false);
  EXPECT_DEATH(Saved(), "vset.GetValue\\(\\).size\\(\\) > 0");
}

// ---- NUL bytes ----

TEST_F(DictionaryCheck, RefusesANulInAMissingValueOfAWideString) {
  const OBS value = TextCell("a\0b"s);
  m_file.GetVariable(2).SetMissingValues(1, &value, nullptr, nullptr);
  ExpectRefused(1510, "W");
}

TEST_F(DictionaryCheck, HoldsANulInAMissingValueOfAShortString) {
  const OBS value = TextCell("a\0b"s);
  m_file.GetVariable(1).SetMissingValues(1, &value, nullptr, nullptr);
  const auto read = Saved();
  const OBS* values[3]{};
  ASSERT_EQ(1, std::as_const(*read).GetVariable(1).GetMissingValues(values[0], values[1], values[2]));
  EXPECT_EQ(value, *values[0]);
}

// Labels are terminated texts for all who ask for them. A file may pad them with NUL bytes.
TEST_F(DictionaryCheck, ValueLabelEndsAtANul) {
  QUAV_ValueLabelMap map(9);
  map.AddPair("value"s, "one\0 more"s);
  m_file.GetVariable(2).SetValueLabels(map);
  const auto read = Saved();
  EXPECT_STREQ("one", QUAV_ValueLabelMap(std::as_const(*read).GetVariable(2).GetValueLabels()).GetLabel("value"s));
}

}  // namespace
}  // namespace DictionaryCheck_test
