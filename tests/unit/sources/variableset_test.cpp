#include "datasrc/VariableSet.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "sources/VariableSetRecord.h"
#include "tests/support/MemorySource.h"
#include "tests/support/Reading.h"
#include "tests/support/RowName.h"
#include "tests/support/WrittenRecord.h"

namespace variableset_test {
namespace {

using Names = std::vector<std::string>;
using testing::ElementsAre;

Names Members(const VariableSet& set) { return set.GetVariableNames(VariableSet::kAsStored); }
std::string Name(const VariableSet& set) { return set.GetName(VariableSet::kAsStored); }

VariableSet SetOf(const std::string& name, VariableSet::VariableSetType type, const Names& members) {
  VariableSet set(name, type);
  for (const std::string& member : members) set.AddVariableName(member);
  return set;
}

// ---- The object ----

TEST(VariableSet, IgnoresARepeatedNameInAnyCase) {
  VariableSet set;
  for (const char* name : {"age", "", "AGE", "b"}) set.AddVariableName(name);
  EXPECT_THAT(Members(set), ElementsAre("age", "b"));
}

TEST(VariableSet, ReturnsNamesInEachCase) {
  const VariableSet set = SetOf("Name", VariableSet::kPlain, {"Age"});
  EXPECT_EQ("name", set.GetName(VariableSet::kLowerCase));
  EXPECT_EQ("NAME", set.GetName(VariableSet::kUpperCase));
  EXPECT_EQ("Name", set.GetName(VariableSet::kAsStored));
  EXPECT_THAT(set.GetVariableNames(VariableSet::kLowerCase), ElementsAre("age"));
  EXPECT_THAT(set.GetVariableNames(VariableSet::kUpperCase), ElementsAre("AGE"));
}

TEST(VariableSetDeathTest, BadCaseCodeOrEmptyNameAsserts) {
  const VariableSet set = SetOf("Name", VariableSet::kPlain, {"Age"});
  EXPECT_DEATH(set.GetName(static_cast<VariableSet::ChangeCase>(3)), "0 && \"Bad case code\"");
  EXPECT_DEATH(set.GetVariableNames(static_cast<VariableSet::ChangeCase>(3)), "0 && \"This case is not handeld!\"");
  EXPECT_DEATH(VariableSet().GetName(VariableSet::kUpperCase), "! str.empty\\(\\)");
  EXPECT_DEATH(VariableSet().GetName(VariableSet::kLowerCase), "! str.empty\\(\\)");
}

TEST(VariableSet, ConvertsFlagsFromAndToText) {
  VariableSet set;
  EXPECT_EQ("0", set.GetFlags());
  set.LabelSetByVariable(true);
  EXPECT_EQ("01", set.GetFlags());
  set.UseVariableCategoryLabels(true);
  EXPECT_EQ("11", set.GetFlags());
  set.LabelSetByVariable(false);
  EXPECT_EQ("1", set.GetFlags());
  for (const auto& [text, flags] :
       {std::pair{"", "0"}, {"0", "0"}, {"10", "1"}, {"x", "1"}, {"0x1", "01"}, {"11", "11"}}) {
    set.SetFlags(text);
    EXPECT_EQ(flags, set.GetFlags()) << text;
  }
}

TEST(VariableSet, ValidateReturnsTheError) {
  EXPECT_EQ(0, SetOf("x", VariableSet::kPlain, {"a"}).Validate());
  EXPECT_EQ(0, SetOf("$x", VariableSet::kDichotomy, {"a"}).Validate());
  EXPECT_EQ(50004, SetOf("$x", VariableSet::kPlain, {"a"}).Validate());
  EXPECT_EQ(50004, SetOf("x", VariableSet::kCategories, {"a"}).Validate());
  EXPECT_EQ(50000, SetOf("$" + std::string(64, ' '), VariableSet::kPlain, {}).Validate());
  EXPECT_EQ(50003, SetOf("x", VariableSet::kPlain, {}).Validate());
  EXPECT_EQ(50001, VariableSet::kValueOutOfBound);
  EXPECT_EQ(50002, VariableSet::kVariableNameNotFound);
}

TEST(VariableSet, LabelSetByVariableIsThatOfAMember) {
  MemorySource source;
  source.AddNumber("a");
  source.AddNumber("b");
  VariableSet set = SetOf("$s", VariableSet::kCategories, {"Q", "A", "B"});
  set.SetLabel("own");
  EXPECT_EQ("own", set.GetLabel(source));
  set.LabelSetByVariable(true);
  EXPECT_EQ("Q", set.GetLabel(source));
  source.GetVariable(1).SetLabel("of b");
  EXPECT_EQ("of b", set.GetLabel(source));
}

TEST(VariableSet, EqualityIgnoresTheCaseOfNames) {
  const VariableSet set = SetOf("$s", VariableSet::kCategories, {"a", "b"});
  EXPECT_EQ(set, SetOf("$S", VariableSet::kCategories, {"A", "B"}));
  EXPECT_FALSE(set == SetOf("$s", VariableSet::kCategories, {"b", "a"}));
  EXPECT_FALSE(set == SetOf("$s", VariableSet::kDichotomy, {"a", "b"}));
  EXPECT_FALSE(set == SetOf("$t", VariableSet::kCategories, {"a", "b"}));
  EXPECT_FALSE(set == SetOf("$s", VariableSet::kCategories, {"a", "b", "c"}));
  for (const auto& change : std::vector<std::function<void(VariableSet&)>>{
           [](VariableSet& one) { one.SetLabel("x"); }, [](VariableSet& one) { one.SetValue("x"); },
           [](VariableSet& one) { one.SetFlags("1"); }, [](VariableSet& one) { one.SetFlags("01"); }}) {
    VariableSet other = set;
    change(other);
    EXPECT_FALSE(set == other);
  }
}

// ---- Lines ----

VariableSet Dichotomy(const std::string& value, const std::string& label, const std::string& flags) {
  VariableSet set = SetOf("$yes", VariableSet::kDichotomy, {"q1", "q2"});
  set.SetValue(value);
  set.SetLabel(label);
  set.SetFlags(flags);
  return set;
}

TEST(VariableSetLine, IsWrittenForEachType) {
  VariableSet colours = SetOf("$colors", VariableSet::kCategories, {"red", "green", "blue"});
  colours.SetLabel("Colors");
  EXPECT_EQ("$colors=C 6 Colors red green blue\n", colours.ToExtension());
  EXPECT_EQ("$yes=D1 1 9 All votes q1 q2\n", Dichotomy("1", "All votes", "0").ToExtension());
  EXPECT_EQ("$yes=E 11 1 1 0  q1 q2\n", Dichotomy("1", "lost", "11").ToExtension());
  EXPECT_EQ("$yes=E 1 1 1 1 x q1 q2\n", Dichotomy("1", "x", "1").ToExtension());
  EXPECT_EQ("mine= a b c\n", SetOf("mine", VariableSet::kPlain, {"a", "b", "c"}).ToExtension());
  EXPECT_EQ("mine= \n", SetOf("mine", VariableSet::kPlain, {}).ToExtension());
  std::string text = "before ";
  text << SetOf("m", VariableSet::kPlain, {"a"});
  EXPECT_EQ("before m= a\n", text);
}

TEST(VariableSetLineDeathTest, MissingValueOrDollarSignAsserts) {
  EXPECT_DEATH(Dichotomy("", "x", "0").ToExtension(), "vset.GetValue\\(\\).size\\(\\) > 0");
  EXPECT_DEATH(SetOf("s", VariableSet::kCategories, {"a"}).ToExtension(), "vset.GetName\\(\\)\\[0\\] == '\\$'");
}

struct Parsed {
  const char* name;
  const char* line;
  VariableSet::VariableSetType type;
  const char* label;
  const char* value;
  const char* flags;
  Names members;
};
class VariableSetLines : public testing::TestWithParam<Parsed> {};
INSTANTIATE_TEST_SUITE_P(
    Lines, VariableSetLines,
    testing::Values(Parsed{"Plain", "s=  a   b ", VariableSet::kPlain, "", "", "0", {"a", "b"}},
                    Parsed{"PlainEmpty", "s=", VariableSet::kPlain, "", "", "0", {}},
                    Parsed{"PlainRepeats", "s= a A b", VariableSet::kPlain, "", "", "0", {"a", "b"}},
                    Parsed{"EmptyLabel", "$s=C 0  q1", VariableSet::kCategories, "", "", "0", {"q1"}},
                    Parsed{"CountedLabel", "$s=D1 1 5 a b c q1", VariableSet::kDichotomy, "a b c", "1", "0", {"q1"}},
                    Parsed{"Enhanced", "$s=E 11 1 1 0  q1 q2", VariableSet::kDichotomy, "", "1", "11", {"q1", "q2"}},
                    Parsed{"FirstLineOnly", "$s=C 1 L q1\r\nt= a", VariableSet::kCategories, "L", "", "0", {"q1"}}),
    kRowName);

TEST_P(VariableSetLines, AreParsed) {
  const VariableSet set{std::string(GetParam().line)};
  EXPECT_EQ(GetParam().type, set.GetType());
  EXPECT_EQ(GetParam().label, set.GetLabel());
  EXPECT_EQ(GetParam().value, set.GetValue());
  EXPECT_EQ(GetParam().flags, set.GetFlags());
  EXPECT_EQ(GetParam().members, Members(set));
}

TEST(VariableSetLine, ParsingIntoASetKeepsItsMembers) {
  VariableSet set = SetOf("old", VariableSet::kPlain, {"a"});
  std::string text = "new= A b\nnext= c\n";
  text >> set;
  EXPECT_EQ("new", Name(set));
  EXPECT_THAT(Members(set), ElementsAre("a", "b"));
  EXPECT_EQ("new= A b\nnext= c\n", text) << "the text does not change";
}

TEST(VariableSetLine, LineWithoutAnEqualSignIsASetWithoutMembers) {
  const VariableSet set(std::string("a b c"));
  EXPECT_EQ("a b c", Name(set));
  EXPECT_TRUE(Members(set).empty());
}

TEST(VariableSetLine, EnhancedDichotomyKeepsBothFlags) {
  const VariableSet set(Dichotomy("1", "lost", "11").ToExtension());
  EXPECT_TRUE(set.qUseVariableCategoryLabels() && set.qLabelSetByVariable());
  EXPECT_EQ("", set.GetLabel());
}

TEST(VariableSetLine, PlainDichotomyLosesLabelSetByVariable) {
  const VariableSet set(Dichotomy("1", "lost", "01").ToExtension());
  EXPECT_FALSE(set.qLabelSetByVariable());
  EXPECT_EQ("", set.GetLabel());
}

struct BadLine {
  const char* name;
  const char* line;
  const char* assertion;
};
class VariableSetBadLineDeathTest : public testing::TestWithParam<BadLine> {};
INSTANTIATE_TEST_SUITE_P(Lines, VariableSetBadLineDeathTest,
                         testing::Values(BadLine{"Type", "$s=X 1 L q1",
                                                 "\\(type == 'D'\\) \\|\\| \\(type == 'C'\\) \\|\\| \\(type == 'E'\\)"},
                                         BadLine{"NoType", "$s", "\\(type == 'D'\\)"},
                                         BadLine{"NoFlags", "$s=E11", "blank == ' '"},
                                         BadLine{"NoValue", "$s=D0  1 L q1", "length != 0"},
                                         BadLine{"ValueTooLong", "$s=D9 1 1 L", "length <= line.size\\(\\)"},
                                         BadLine{"NoBlank", "$s=C1 L q1", "space == ' '"},
                                         BadLine{"NoLabelLength", "$s=C x L q1",
                                                 "\\(length != 0\\) \\|\\| \\(strLabelLength\\[0\\] == '0'\\)"},
                                         BadLine{"NoBlankAfterTheLabel", "$s=C 0 q1", "space == ' '"},
                                         BadLine{"LabelTooLong", "$s=C 9 L q1", "length <= line.size\\(\\)"}),
                         kRowName);

TEST_P(VariableSetBadLineDeathTest, Asserts) {
  EXPECT_DEATH(VariableSet(std::string(GetParam().line)), GetParam().assertion);
}

// ---- Records ----

std::vector<VariableSet> Parse(const std::string& text, int subtype) {
  std::vector<VariableSet> sets;
  ParseExtension(text.data(), static_cast<unsigned int>(text.size()), subtype, sets);
  return sets;
}

TEST(VariableSetRecord, AddsTheDollarSignToNamesOfRecord7) {
  EXPECT_EQ("$s", Name(Parse("s=C 1 L q1\n", 7).at(0)));
  EXPECT_EQ("s", Name(Parse("s= q1\n", 5).at(0)));
}

TEST(VariableSetRecord, LaterSetReplacesTheFirstOfTheSameName) {
  const auto sets = Parse("$s=C 1 L a\n$t=C 1 M b\n$s=C 1 N c\n", 7);
  ASSERT_EQ(2u, sets.size());
  EXPECT_EQ("N", sets[0].GetLabel());
  EXPECT_EQ(2u, Parse("$s=C 1 L a\n$S=C 1 M b\n", 7).size()) << "names are compared exactly";
}

TEST(VariableSetRecord, IsWrittenWithTheLinesOfItsKind) {
  VariableSet category = SetOf("$c", VariableSet::kCategories, {"a"});
  const std::vector<VariableSet> sets{SetOf("p", VariableSet::kPlain, {"a"}), category, Dichotomy("1", "", "1"),
                                      Dichotomy("1", "", "01")};
  const auto made = [&sets](int subtype) {
    std::string text;
    MakeExtension(sets, text, subtype);
    return text;
  };
  EXPECT_EQ("p= a\n", made(5));
  EXPECT_EQ("$c=C 0  a\n$yes=D1 1 0  q1 q2\n", made(7));
  EXPECT_EQ("$yes=E 1 1 1 0  q1 q2\n", made(19));
  EXPECT_EQ("", made(6));
}

TEST(VariableSetRecord, DoesNotReplaceASetOfAnotherRecord) {
  std::vector<VariableSet> sets = Parse("$s=C 1 L a\n", 7);
  const std::string newer = "$s=E 1 1 1 0  a\n";
  ParseExtension(newer.data(), static_cast<unsigned int>(newer.size()), 19, sets);
  EXPECT_EQ(2u, sets.size()) << "both sets stay";
  const std::string repeated = newer + "$s=E 1 1 2 0  b\n";
  sets = Parse("$S=C 1 L a\n", 7);
  ParseExtension(repeated.data(), static_cast<unsigned int>(repeated.size()), 19, sets);
  ASSERT_EQ(2u, sets.size());
  EXPECT_THAT(Members(sets[0]), ElementsAre("b")) << "a repeated name replaces the first set of the name";
}

TEST(VariableSetRecord, AcceptsAnyLineEnd) {
  const auto sets = Parse("a= x\r\n\r\n\nq\nb= y", 5);
  ASSERT_EQ(2u, sets.size());
  EXPECT_THAT(Members(sets[0]), ElementsAre("x"));
  EXPECT_THAT(Members(sets[1]), ElementsAre("y"));
  EXPECT_TRUE(Parse("", 5).empty());
  EXPECT_TRUE(Parse("x", 5).empty());
}

TEST(VariableSetRecord, ReadsASetWithoutAName) {
  EXPECT_EQ(3u, Parse("s= a\n= b\nt= c\ns= d\n", 5).size()) << "the first set of the repeated name precedes it";
}

TEST(VariableSetRecordDeathTest, RepeatedNameAfterASetWithoutANameAsserts) {
  EXPECT_DEATH(Parse("= a\n= b\n", 5), "! str.empty\\(\\)");
  EXPECT_DEATH(Parse("= a\ns= b\ns= c\n", 5), "! str.empty\\(\\)");
}

TEST(VariableSetRecord, ReadsManySetsAndMembersInLinearTime) {
  std::string text = "s=";
  for (int i = 0; i < 100'000; ++i) text += " v" + std::to_string(i);
  for (int i = 0; i < 50'000; ++i) text += "\nt" + std::to_string(i) + "= a\nt0= b";
  EXPECT_EQ(50'001u, Parse(text, 5).size());
}

class VariableSetsOfAFile : public testing::Test {
 protected:
  VariableSetsOfAFile() {
    for (const char* name : {"Long_name_one", "Two", "Three"}) m_source.MakeVariable(0, nullptr).SetName(name);
  }
  void Read(int subtype, const std::string& text) {
    SystemFileExtensionRecord record;
    record.Fill(text);
    SystemFileOptions options;
    SystemFileExtensionHandler::Read(subtype, m_source, options, record);
  }
  SystemFileDataSource m_source;
};

TEST_F(VariableSetsOfAFile, DropUnknownVariablesAndSetsWithoutKnownOnes) {
  Read(5, "s= two nobody THREE\nt= nobody\n");
  const auto sets = VariableSets(m_source, kPlainSets);
  ASSERT_EQ(1u, sets.size());
  EXPECT_THAT(Members(sets[0]), ElementsAre("Two", "Three"));
}

TEST_F(VariableSetsOfAFile, FollowRenamedVariables) {
  Read(5, "s= two\n");
  m_source.GetVariable(1).SetName("Renamed");
  EXPECT_THAT(Members(VariableSets(m_source, kPlainSets).at(0)), ElementsAre("Renamed"));
}

TEST_F(VariableSetsOfAFile, NewerRecordAddsToTheSets) {
  Read(7, "$a=C 1 L two\n");
  Read(19, "$b=E 11 1 1 0  three\n");
  ASSERT_EQ(2u, VariableSets(m_source, kMRSets).size());
  Read(7, "$c=C 1 L two\n");
  EXPECT_EQ(1u, VariableSets(m_source, kMRSets).size());
}

TEST_F(VariableSetsOfAFile, OlderRecordsUseShortNamesAndTheNewerLongNames) {
  Read(5, "s= Long_name_one two\n");
  Read(7, "$a=C 1 L Long_name_one\n$d=D1 1 0  two\n");
  Read(19, "$b=E 01 1 1 0  Long_name_one\n$e=E 11 1 1 0  Three\n");
  EXPECT_EQ("$e=E 11 1 1 0  Three\n", WrittenRecord(m_source, {19}).Contents()) << "the other set is not enhanced";
  const WrittenRecord older(m_source, {14, 13, 7});
  EXPECT_EQ("$a=C 1 L long_nam\n$d=D1 1 0  two\n$b=D1 1 0  long_nam\n", older.Contents());
  EXPECT_EQ("s= long_nam two\n", WrittenRecord(m_source, {14, 13, 5}).Contents());
}

TEST_F(VariableSetsOfAFile, AreTheSameWithAndWithoutANameIndex) {
  const VariableSet set = SetOf("s", VariableSet::kPlain, {"three", "nobody", "TWO"});
  const VariableNameIndex index(m_source);
  for (const VariableNameIndex* one : {&index, static_cast<const VariableNameIndex*>(nullptr)}) {
    VariableSetImpl stored;
    ConvertToImpl(set, m_source, stored, one);
    VariableSet again;
    std::map<LocallyUniqueID, int> noColumns;
    ConvertToVarSet(stored, m_source, again, noColumns);
    EXPECT_EQ(SetOf("s", VariableSet::kPlain, {"Three", "Two"}), again);
    const int two = m_source.FindVarIndex("Two", 0);
    m_source.DeleteVariables(two, two);
    ConvertToVarSet(stored, m_source, again, noColumns);
    EXPECT_THAT(Members(again), ElementsAre("Three"));
    m_source.MakeVariable(0, nullptr).SetName("Two");
  }
}

TEST_F(VariableSetsOfAFile, WritingAnotherKindAmongPlainSetsAsserts) {
  VariableSetImpl set;
  set.type = VariableSet::kCategories;
  set.name = "$s";
  m_source.SetVariableSets({set});
  EXPECT_DEATH(WrittenRecord(m_source, {5}), "m_nUnits && m_unitSize");
}

TEST_F(VariableSetsOfAFile, SavingDropsSetsOfTheOtherKind) {
  SaveVariableSets({SetOf("s", VariableSet::kPlain, {"two"}), SetOf("$t", VariableSet::kCategories, {"two"})}, m_source,
                   kMRSets);
  EXPECT_EQ(1u, m_source.GetMRSets().size());
  EXPECT_TRUE(m_source.GetVariableSets().empty());
  EXPECT_EQ(0, WrittenRecord(m_source, {5}).record.NUnits());
}

// Many members are found by an index, which follows all changes.
TEST(VariableSet, IgnoresAMemberThatItHasAmongMany) {
  VariableSet set("s", VariableSet::kPlain);
  for (int round = 0; round < 2; ++round) {
    for (int i = 0; i < 100; ++i) {
      set.AddVariableName("Var" + std::to_string(i));
      set.AddVariableName("VAR" + std::to_string(i / 2));
    }
    set.AddVariableName("");
  }
  std::vector<std::string> names = set.GetVariableNames(VariableSet::kAsStored);
  ASSERT_EQ(100u, names.size());
  EXPECT_EQ("Var99", names[99]);
  std::string line = "s= var5 new NEW";
  line >> set;
  EXPECT_EQ(101u, set.GetVariableNames(VariableSet::kAsStored).size());
  VariableSet copy = set;
  copy.AddVariableName("new");
  EXPECT_TRUE(copy == set);

  std::vector<VariableSet> sets = {set};
  LowerCaseMembers(sets);
  sets[0].AddVariableName("VAR7");
  sets[0].AddVariableName("other");
  names = sets[0].GetVariableNames(VariableSet::kAsStored);
  ASSERT_EQ(102u, names.size());
  EXPECT_EQ("var7", names[7]);
  EXPECT_EQ("other", names[101]);

  MemorySource source;
  source.AddNumber("only");
  VariableSetImpl stored;
  stored.members.push_back(source.GetVariable(0).GetID());
  std::map<LocallyUniqueID, int> columns;
  ConvertToVarSet(stored, source, set, columns);
  for (int i = 0; i < 40; ++i) set.AddVariableName("Var" + std::to_string(i));
  EXPECT_EQ(41u, set.GetVariableNames(VariableSet::kAsStored).size());
}

}  // namespace
}  // namespace variableset_test
