#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/time.h>

#include <csignal>
#include <string>
#include <vector>

#include "datasrc/DatasourceAttributes.h"
#include "tests/support/RowName.h"

namespace AttributeText_test {
namespace {

using namespace std::string_literals;

using Entries = std::vector<std::pair<std::string, std::vector<std::string>>>;

Entries EntriesOf(const DatasourceAttributes& attributes) {
  Entries entries;
  for (unsigned long k = 0; k < attributes.Size(); ++k) entries.emplace_back(attributes.Name(k), attributes.Values(k));
  return entries;
}

DatasourceAttributes Of(const Entries& entries) {
  DatasourceAttributes attributes;
  for (const auto& [name, values] : entries) attributes.Define(name, values);
  return attributes;
}

// ---- Writing ----

TEST(AttributeText, NoAttributesMakeAnEmptyText) {
  EXPECT_EQ("", DatasourceAttributes().MakeString());
  DatasourceAttributes changed;
  changed.Change();
  EXPECT_EQ("", changed.MakeString());
}

TEST(AttributeText, MakeStringConcatenatesAttributes) {
  EXPECT_EQ("a('1'\n'2'\n)$b(''\n)", Of({{"a", {"1", "2"}}, {"$b", {""}}}).MakeString());
}

TEST(AttributeText, MakeStringOmitsAnAttributeWithoutValues) {
  const DatasourceAttributes attributes = Of({{"a", {}}, {"b", {"x"}}});
  EXPECT_EQ(2u, attributes.Size());
  EXPECT_EQ("b('x'\n)", attributes.MakeString());
}

TEST(AttributeTextDeathTest, MakeStringNeverReturnsForAValueWithALineFeed) {
  const DatasourceAttributes attributes = Of({{"a", {"one\ntwo"}}});
  const auto form = [&attributes] {
    const itimerval soon{{0, 0}, {0, 200'000}};
    setitimer(ITIMER_REAL, &soon, nullptr);
    attributes.MakeString();
  };
  EXPECT_EXIT(form(), testing::KilledBySignal(SIGALRM), "");
}

TEST(AttributeText, MakeStringEscapesNothing) {
  EXPECT_EQ("a('it's (not)'\n)", Of({{"a", {"it's (not)"}}}).MakeString());
}

// ---- Parsing ----

struct Text {
  const char* name;
  std::string text;
  Entries entries;
  unsigned long consumed;
};

class WellFormedAttributeText : public testing::TestWithParam<Text> {};
INSTANTIATE_TEST_SUITE_P(
    Texts, WellFormedAttributeText,
    testing::Values(Text{"Empty", "", {}, 0}, Text{"OnlyTheEndMark", "/x", {}, 0},
                    Text{"QuoteInAValue", "name('it's'\n)", {{"name", {"it's"}}}, 13},
                    Text{"TwoValues", "name('a'\n'b'\n)", {{"name", {"a", "b"}}}, 14},
                    Text{"NoValues", "name()", {}, 6}, Text{"EmptyValue", "n(''\n)", {{"n", {""}}}, 6},
                    Text{"OneValue", "name('a'\n)", {{"name", {"a"}}}, 10},
                    Text{"SkippedBadName", "1bad('x'\n)good('y'\n)", {{"good", {"y"}}}, 20},
                    Text{"UpToTheEndMark", "A('x'\n)/B:...", {{"A", {"x"}}}, 7},
                    Text{"LastOfOneName", "a('1'\n)b('2'\n)A('3'\n)", {{"A", {"3"}}, {"b", {"2"}}}, 21},
                    Text{"SystemName", "$x('1'\n)", {{"$x", {"1"}}}, 8}, Text{"SkippedScratchName", "#x('1'\n)", {}, 8},
                    Text{"ParenthesesInAValue", "a('x)(y'\n)", {{"a", {"x)(y"}}}, 10}),
    kRowName);

TEST_P(WellFormedAttributeText, IsParsedToItsEnd) {
  DatasourceAttributes attributes = Of({{"old", {"value"}}});
  unsigned long consumed = 99;
  EXPECT_TRUE(DatasourceAttributes::Parse(GetParam().text, attributes, &consumed));
  EXPECT_EQ(GetParam().entries, EntriesOf(attributes));
  EXPECT_EQ(GetParam().consumed, consumed);
  EXPECT_TRUE(DatasourceAttributes::Parse(GetParam().text, attributes, nullptr));
}

class MalformedAttributeText : public testing::TestWithParam<Text> {};
INSTANTIATE_TEST_SUITE_P(Texts, MalformedAttributeText,
                         testing::Values(Text{"NoName", "(x'\n)", {}, 0}, Text{"NoParenthesis", "name", {}, 0},
                                         Text{"EndsAfterTheParenthesis", "name(", {}, 0},
                                         Text{"EndsAfterAValue", "name('a'\n", {}, 9},
                                         Text{"OneQuoteOnly", "n('\n)", {}, 4},
                                         Text{"NoOpeningQuote", "n(a'\n)", {}, 5},
                                         Text{"NoClosingQuote", "n('a\n)", {}, 5}, Text{"NoLineFeed", "n('a')", {}, 2},
                                         Text{"ErrorInTheSecondAttribute", "a('x'\n)b('y\n)", {}, 12},
                                         Text{"TextAfterTheLastAttribute", "a('x'\n)b", {}, 7}),
                         kRowName);

TEST_P(MalformedAttributeText, ChangesNothingAndReportsThePosition) {
  DatasourceAttributes attributes = Of({{"old", {"value"}}});
  unsigned long consumed = 99;
  EXPECT_FALSE(DatasourceAttributes::Parse(GetParam().text, attributes, &consumed));
  EXPECT_EQ((Entries{{"old", {"value"}}}), EntriesOf(attributes));
  EXPECT_EQ(GetParam().consumed, consumed);
}

TEST(AttributeText, ParsingOnlyEmptyAttributesLeavesNoList) {
  DatasourceAttributes attributes = Of({{"old", {"value"}}});
  EXPECT_TRUE(DatasourceAttributes::Parse("name()", attributes, nullptr));
  EXPECT_EQ(DatasourceAttributes(), attributes);
}

TEST(AttributeText, ParsesManyAttributesInLinearTime) {
  std::string text;
  for (int i = 0; i < 100'000; ++i) text += "a" + std::to_string(i) + "('x'\n)";
  DatasourceAttributes attributes;
  EXPECT_TRUE(DatasourceAttributes::Parse(text, attributes, nullptr));
  EXPECT_EQ(100'000u, attributes.Size());
}

TEST(AttributeText, ParsesOrRejectsATextTruncatedAnywhere) {
  const std::string text = "a('1'\n'2'\n)$b('x'\n)";
  for (std::size_t size = 0; size <= text.size(); ++size) {
    DatasourceAttributes attributes;
    unsigned long consumed = 0;
    const bool whole = DatasourceAttributes::Parse(text.substr(0, size), attributes, &consumed);
    EXPECT_EQ(size == 0 || size == 11 || size == text.size(), whole) << size;
    EXPECT_LE(consumed, size);
  }
}

// ---- Names ----

TEST(ValidateAttrName, RecognisesRegisteredVariableAttributes) {
  for (const char* name :
       {"$CreationDate", "$ExtendedVariableLabel", "$ModificationDate", "$VD.SRuleRef", "$VD.RuleOutcomeVar",
        "$TR.Formula", "$TR.Timestamp", "$ODBC.Name", "$ODBC.Table", "$ODBC.Schema", "$ODBC.Catalog", "$ODBC.Size",
        "$ODBC.Type", "$Py.Function", "$@Role", "$@MeasurementLevel"})
    EXPECT_EQ(2, DatasourceAttributes::ValidateVarAttrName(name)) << name;
}

TEST(ValidateAttrName, RecognisesRegisteredFileAttributes) {
  for (const char* name :
       {"$CreationDate", "$ExtendedFileLabel", "$ModificationDate", "$VD.SRule", "$VD.CRule", "$TR.Formula",
        "$TR.Timestamp", "$de.displayedattributes", "$@Orthant.MDDFile", "$VariableView", "$VariableView2"})
    EXPECT_EQ(2, DatasourceAttributes::ValidateFileAttrName(name)) << name;
}

TEST(ValidateAttrName, ReturnsTheKindOfAName) {
  EXPECT_EQ(1, DatasourceAttributes::ValidateFileAttrName("mine"));
  EXPECT_EQ(1, DatasourceAttributes::ValidateVarAttrName("mine"));
  EXPECT_EQ(2, DatasourceAttributes::ValidateFileAttrName("$variableview2"));
  EXPECT_EQ(2, DatasourceAttributes::ValidateVarAttrName("$@role"));
  EXPECT_EQ(3, DatasourceAttributes::ValidateFileAttrName("$@Role"));
  EXPECT_EQ(3, DatasourceAttributes::ValidateVarAttrName("$VariableView"));
  EXPECT_EQ(3, DatasourceAttributes::ValidateVarAttrName("$@ExtendRole")) << "deliberately not registered";
  for (const std::string& name : {std::string(), "#x"s, "1x"s, "a b"s, "AND"s, "x."s, "x_"s, std::string(65, 'x')}) {
    EXPECT_EQ(0, DatasourceAttributes::ValidateFileAttrName(name)) << name;
    EXPECT_EQ(0, DatasourceAttributes::ValidateVarAttrName(name)) << name;
  }
}

}  // namespace
}  // namespace AttributeText_test
