#include <gtest/gtest.h>

#include <set>
#include <string>

#include "Platform/text/QUAVMB.h"
#include "Platform/text/tests/KnownCodePages.h"

namespace CodePages_test {
namespace {

int NumberOf(const char* name) {
  int number = -1;
  return QUAVMBCpNameToNum_A(name, &number) != 0 ? number : -1;
}

TEST(CodePages, NumbersHaveTheirNames) {
  const struct {
    int number;
    const char* name;
  } rows[] = {
      {65001, "UTF-8"},     {1252, "windows-1252"}, {20127, "US-ASCII"}, {28591, "ISO-8859-1"}, {437, "IBM437"},
      {858, "IBM00858"},    {932, "Shift_JIS"},     {936, "GBK"},        {949, "windows-949"},  {950, "Big5"},
      {874, "windows-874"}, {20866, "KOI8-R"},      {51932, "EUC-JP"},   {51949, "EUC-KR"},     {54936, "GB18030"},
      {10000, "macintosh"}, {28605, "ISO-8859-15"}, {819, "ISO-8859-1"},
  };
  for (const auto& row : rows) EXPECT_EQ(row.name, NameOf(row.number));
}

TEST(CodePages, NumbersHaveDifferentNames) {
  std::set<std::string> names;
  for (const int number : kSingleByteNumbers) EXPECT_TRUE(names.insert(NameOf(number)).second) << number;
  for (const int number : kMultiByteNumbers) EXPECT_TRUE(names.insert(NameOf(number)).second) << number;
  EXPECT_EQ(0u, names.count(""));
}

TEST(CodePages, NumbersRoundTripThroughTheirNames) {
  for (const int number : kSingleByteNumbers) EXPECT_EQ(number, NumberOf(NameOf(number).c_str()));
  for (const int number : kMultiByteNumbers) EXPECT_EQ(number, NumberOf(NameOf(number).c_str()));
  EXPECT_EQ(65001, NumberOf("UTF-8"));
}

TEST(CodePages, NumbersDenoteTheSameCodePageAsInIcu) {
  for (const int number : kSingleByteNumbers) {
    // ICU has these numbers in some of its names; the other code pages have only names.
    for (const char* prefix : {"windows-", "ibm-"}) {
      const std::string alias = prefix + std::to_string(number);
      UErrorCode status = U_ZERO_ERROR;
      if (ucnv_countAliases(alias.c_str(), &status) == 0) continue;
      EXPECT_TRUE(QUAVMBqSameCodePage(alias.c_str(), NameOf(number).c_str())) << alias;
      break;
    }
  }
}

TEST(CodePages, EveryNameGivesTheNumber) {
  EXPECT_EQ(65001, NumberOf("utf8"));
  EXPECT_EQ(1252, NumberOf("CP1252"));
  EXPECT_EQ(28591, NumberOf("latin1"));
  EXPECT_EQ(932, NumberOf("windows-31j"));
}

TEST(CodePages, UnknownNumbersGiveAnEmptyName) {
  for (const int number : {-1, 0, 1, 2, 3, 4, 5, 1200, 1201, 50220, 65000, 99999}) {
    char name[kCodePageNameSize] = "before";
    EXPECT_EQ(0, QUAVMBCpNameFromNum_A(name, number)) << number;
    EXPECT_STREQ("", name) << number;
  }
}

TEST(CodePages, UnknownNamesLeaveTheNumberUnchanged) {
  for (const char* name : {"", "no such", "UTF-16", "IBM273"}) {
    int number = 42;
    EXPECT_EQ(0, QUAVMBCpNameToNum_A(name, &number)) << name;
    EXPECT_EQ(42, number) << name;
  }
}

TEST(CodePages, SameCodePageIsTrueForNamesOfOneEncoding) {
  const struct {
    const char* a;
    const char* b;
    bool same;
  } rows[] = {
      {"UTF8", "utf-8", true},
      {"UTF-8", "UTF-8", true},
      {"windows-1252", "cp1252", true},
      {"ISO-8859-1", "Latin1", true},
      {"ANSI_X3.4-1968", "US-ASCII", true},
      {"windows-1252", "ISO-8859-1", false},
      {"UTF-8", "US-ASCII", false},
      {"UTF-8", "", false},
      {"", "", true},
      {"mine", "MINE", true},
      {"mine", "mi-ne", false},
      {"mine", "yours", false},
      {"mine", "UTF-8", false},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(row.same, QUAVMBqSameCodePage(row.a, row.b)) << row.a << " and " << row.b;
    EXPECT_EQ(row.same, QUAVMBqSameCodePage(row.b, row.a)) << row.b << " and " << row.a;
  }
}

}  // namespace
}  // namespace CodePages_test
