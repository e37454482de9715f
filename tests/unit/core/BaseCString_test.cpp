#include "datasrc/BaseCString.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "Platform/text/QUAVMB.h"
#include "tests/support/RowName.h"

namespace BaseCString_test {
namespace {

std::string Text(const BaseCString& string) { return static_cast<const char*>(string); }

// ---- Construction ----

TEST(BaseCString, IsEmptyByDefault) {
  EXPECT_EQ(BaseCString().GetLength(), 0);
  EXPECT_STREQ(BaseCString(), "");
}

TEST(BaseCString, NullTextMakesAnEmptyString) {
  EXPECT_EQ(BaseCString(static_cast<const char*>(nullptr)).GetLength(), 0);
  EXPECT_EQ(BaseCString(nullptr, 5).GetLength(), 0);
}

TEST(BaseCString, ConstructsFromText) {
  EXPECT_EQ(Text(BaseCString("abc")), "abc");
  EXPECT_EQ(Text(BaseCString(std::string("abc"))), "abc");
  EXPECT_EQ(BaseCString("abc").GetLength(), 3);
}

TEST(BaseCString, ConstructsFromALeadingPartOfText) {
  EXPECT_EQ(Text(BaseCString("abcdef", 2)), "ab");
  EXPECT_EQ(Text(BaseCString("abcdef", 0)), "");
  EXPECT_EQ(Text(BaseCString("abcdef", -1)), "");
}

// ---- Parts ----

struct PartRow {
  const char* name;
  BaseCString part;
  const char* text;
};

void PrintTo(const PartRow& row, std::ostream* out) { *out << row.name; }

class BaseCStringPart : public testing::TestWithParam<PartRow> {};

TEST_P(BaseCStringPart, IsLimitedToTheString) { EXPECT_EQ(Text(GetParam().part), GetParam().text); }

const BaseCString kAbcde("abcde");

INSTANTIATE_TEST_SUITE_P(
    BaseCString, BaseCStringPart,
    testing::Values(PartRow{"Left2", kAbcde.Left(2), "ab"}, PartRow{"Left0", kAbcde.Left(0), ""},
                    PartRow{"LeftOfAllBytes", kAbcde.Left(5), "abcde"},
                    PartRow{"LeftOfTooMany", kAbcde.Left(9), "abcde"}, PartRow{"LeftNegative", kAbcde.Left(-1), ""},
                    PartRow{"Right2", kAbcde.Right(2), "de"}, PartRow{"Right0", kAbcde.Right(0), ""},
                    PartRow{"RightOfTooMany", kAbcde.Right(9), "abcde"}, PartRow{"RightNegative", kAbcde.Right(-1), ""},
                    PartRow{"Mid2", kAbcde.Mid(2), "cde"}, PartRow{"Mid0", kAbcde.Mid(0), "abcde"},
                    PartRow{"MidAtTheEnd", kAbcde.Mid(5), ""}, PartRow{"MidPastTheEnd", kAbcde.Mid(9), ""},
                    PartRow{"MidNegativeStart", kAbcde.Mid(-1), "abcde"}, PartRow{"MidOf2", kAbcde.Mid(1, 2), "bc"},
                    PartRow{"MidOfTooMany", kAbcde.Mid(3, 9), "de"}, PartRow{"MidOf0", kAbcde.Mid(3, 0), ""},
                    PartRow{"MidNegativeCount", kAbcde.Mid(3, -1), ""},
                    PartRow{"SpanExcluding", kAbcde.SpanExcluding("xdc"), "ab"},
                    PartRow{"SpanExcludingAbsentCharacters", kAbcde.SpanExcluding("xyz"), "abcde"},
                    PartRow{"SpanExcludingFirstCharacter", kAbcde.SpanExcluding("a"), ""},
                    PartRow{"SpanExcludingEmptySet", kAbcde.SpanExcluding(""), "abcde"}),
    kRowName);

// ---- Search ----

struct FindRow {
  const char* name;
  int place;
  int expected;
};

void PrintTo(const FindRow& row, std::ostream* out) { *out << row.name; }

class BaseCStringFind : public testing::TestWithParam<FindRow> {};

TEST_P(BaseCStringFind, ReturnsThePositionOrMinus1) { EXPECT_EQ(GetParam().place, GetParam().expected); }

const BaseCString kAbcabc("abcabc");

INSTANTIATE_TEST_SUITE_P(
    BaseCString, BaseCStringFind,
    testing::Values(FindRow{"Text", kAbcabc.Find("bc"), 1}, FindRow{"TextAfterStart", kAbcabc.Find("bc", 2), 4},
                    FindRow{"TextAtStart", kAbcabc.Find("bc", 4), 4}, FindRow{"AbsentText", kAbcabc.Find("x"), -1},
                    FindRow{"TextLongerThanTheRest", kAbcabc.Find("bc", 5), -1},
                    FindRow{"TextWithNegativeStart", kAbcabc.Find("a", -3), 0},
                    FindRow{"TextWithStartPastTheEnd", kAbcabc.Find("a", 9), -1},
                    FindRow{"EmptyText", kAbcabc.Find("", 2), 2}, FindRow{"Character", kAbcabc.Find('c'), 2},
                    FindRow{"CharacterAfterStart", kAbcabc.Find('c', 3), 5},
                    FindRow{"AbsentCharacter", kAbcabc.Find('x'), -1},
                    FindRow{"CharacterWithStartPastTheEnd", kAbcabc.Find('a', 9), -1},
                    FindRow{"LastCharacter", kAbcabc.ReverseFind('a'), 3},
                    FindRow{"AbsentLastCharacter", kAbcabc.ReverseFind('x'), -1},
                    FindRow{"LastCharacterOfEmptyString", BaseCString().ReverseFind('a'), -1}),
    kRowName);

// ---- Changes ----

TEST(BaseCString, MakeUpperUsesTheCurrentEncoding) {
  const int before = qUTF8mode();
  SetUTF8mode(1);
  BaseCString string("ab\xC3\xA4 1");
  string.MakeUpper();
  SetUTF8mode(before);
  EXPECT_EQ(Text(string), "AB\xC3\x84 1");
}

TEST(BaseCString, TrimRightRemovesTrailingWhiteSpace) {
  BaseCString string(" a b \t\r\n\v\f ");
  string.TrimRight();
  EXPECT_EQ(Text(string), " a b");
}

TEST(BaseCString, TrimRightOfOnlyWhiteSpaceGivesAnEmptyString) {
  BaseCString string(" \t ");
  string.TrimRight();
  EXPECT_EQ(Text(string), "");
}

TEST(BaseCString, AppendsTextAndCharacters) {
  BaseCString string("a");
  string += "bc";
  string += 'd';
  string += BaseCString("e");
  EXPECT_EQ(Text(string), "abcde");
}

TEST(BaseCString, AppendsItself) {
  BaseCString string("ab");
  string += string;
  EXPECT_EQ(Text(string), "abab");
}

TEST(BaseCString, ConcatenatesWithText) {
  const BaseCString a("a");
  EXPECT_EQ(Text(a + BaseCString("b")), "ab");
  EXPECT_EQ(Text(a + "b"), "ab");
  EXPECT_EQ(Text("b" + a), "ba");
  EXPECT_EQ(Text(a + static_cast<const char*>(nullptr)), "a");
}

// ---- Comparison ----

TEST(BaseCString, CompareOrdersByUnsignedBytes) {
  EXPECT_EQ(BaseCString("abc").Compare("abc"), 0);
  EXPECT_LT(BaseCString("abc").Compare("abd"), 0);
  EXPECT_GT(BaseCString("abc").Compare("ab"), 0);
  EXPECT_LT(BaseCString("B").Compare("a"), 0);
  EXPECT_GT(BaseCString("\xE4").Compare("z"), 0);
  EXPECT_EQ(BaseCString().Compare(nullptr), 0);
}

TEST(BaseCString, CompareNoCaseIgnoresCase) {
  EXPECT_EQ(BaseCString("aBc").CompareNoCase("AbC"), 0);
  EXPECT_LT(BaseCString("abc").CompareNoCase("ABD"), 0);
  EXPECT_GT(BaseCString("b").CompareNoCase("A"), 0);
}

TEST(BaseCString, CollateOrdersLettersBeforeCase) {
  EXPECT_EQ(BaseCString("abc").Collate("abc"), 0);
  EXPECT_LT(BaseCString("abc").Collate("abd"), 0);
  EXPECT_GT(BaseCString("abd").Collate("abc"), 0);
  EXPECT_LT(BaseCString("ab").Collate("abc"), 0);
  EXPECT_LT(BaseCString("a").Collate("B"), 0) << "a collation compares letters before their case";
}

struct OperatorRow {
  const char* name;
  const char* a;
  const char* b;
  int order;
};

void PrintTo(const OperatorRow& row, std::ostream* out) { *out << row.name; }

class BaseCStringOperators : public testing::TestWithParam<OperatorRow> {};

TEST_P(BaseCStringOperators, OrderByBytes) {
  const auto& [name, a, b, order] = GetParam();
  const BaseCString left(a);
  const BaseCString right(b);
  EXPECT_EQ(left == right, order == 0);
  EXPECT_EQ(left != right, order != 0);
  EXPECT_EQ(left < right, order < 0);
  EXPECT_EQ(left > right, order > 0);
  EXPECT_EQ(left <= right, order <= 0);
  EXPECT_EQ(left >= right, order >= 0);
  EXPECT_EQ(left == b, order == 0);
  EXPECT_EQ(left != b, order != 0);
  EXPECT_EQ(left < b, order < 0);
  EXPECT_EQ(a < right, order < 0);
}

INSTANTIATE_TEST_SUITE_P(BaseCString, BaseCStringOperators,
                         testing::Values(OperatorRow{"Equal", "abc", "abc", 0}, OperatorRow{"Less", "abc", "abd", -1},
                                         OperatorRow{"Greater", "b", "abd", 1}, OperatorRow{"Shorter", "ab", "abc", -1},
                                         OperatorRow{"Longer", "abc", "ab", 1}, OperatorRow{"BothEmpty", "", "", 0},
                                         OperatorRow{"CaseCounts", "A", "a", -1}),
                         kRowName);

}  // namespace
}  // namespace BaseCString_test
