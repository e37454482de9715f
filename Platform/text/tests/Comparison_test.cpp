#include <gtest/gtest.h>

#include <random>
#include <string>

#include "Platform/text/QUAVMB.h"
#include "Platform/text/tests/Restore.h"

namespace Comparison_test {
namespace {

using std::string_literals::operator""s;

int Sign(int number) { return (number > 0) - (number < 0); }

bool Equal(const std::string& a, const std::string& b) {
  return QUAVMBqstricmp_A(a.data(), static_cast<int>(a.size()), b.data(), static_cast<int>(b.size()), 0) != 0;
}

const struct {
  const char* what;
  const char* codePage;
  const char* a;
  const char* b;
  int order;
} kRows[] = {
    {"both empty", "UTF-8", "", "", 0},
    {"one empty", "UTF-8", "", "a", -1},
    {"the same", "UTF-8", "and", "and", 0},
    {"case", "UTF-8", "AnD", "aNd", 0},
    {"letters", "UTF-8", "a", "B", -1},
    {"a beginning", "UTF-8", "ab", "ABC", -1},
    {"a beginning before an accent", "UTF-8", "ab", "AB\xC3\xA9", -1},
    {"upper-case forms decide about signs between the cases", "UTF-8", "a", "_", -1},
    {"blanks count", "UTF-8", "a", "a ", -1},
    {"accents", "UTF-8", "\xC3\xA9t\xC3\xA9", "\xC3\x89T\xC3\x89", 0},
    {"an accent and none", "UTF-8", "e", "\xC3\xA9", -1},
    {"a sharp s and two", "UTF-8",
     "stra\xC3\x9F"
     "e",
     "STRASSE", 0},
    {"a ligature and two letters", "UTF-8", "\xEF\xAC\x81n", "FIN", 0},
    {"two sigmas", "UTF-8", "\xCF\x82", "\xCF\x83", 0},
    {"ASCII against a letter that becomes it", "UTF-8", "i", "\xC4\xB1", 0},
    {"bytes that form nothing", "UTF-8", "a\xFF", "A\xFF", 0},
    {"different such bytes", "UTF-8", "\xFE", "\xFF", -1},
    {"bytes are unsigned", "UTF-8", "z", "\xFF", -1},
    {"one byte a letter", "windows-1252", "\xE9", "\xC9", 0},
    {"the same bytes are no letters elsewhere", "windows-1251", "\xA4", "\xA5", -1},
    {"EBCDIC", "IBM037", "\x81", "\xC1", 0},
    {"EBCDIC has no letters where ASCII has them", "IBM037", "A", "a", -1},
    {"later bytes that look like letters", "Shift_JIS", "\x83\x41", "\x83\x61", -1},
    {"letters of several bytes", "Shift_JIS", "\x82\x81", "\x82\x60", 0},
};

TEST(Comparison, OrdersByTheUpperCaseForms) {
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.what);
    const RestoreEncoding restore(row.codePage);
    EXPECT_EQ(row.order, Sign(QUAVMBstricmp_A(row.a, row.b)));
    EXPECT_EQ(-row.order, Sign(QUAVMBstricmp_A(row.b, row.a)));
  }
}

TEST(Comparison, EqualityAgreesWithTheOrder) {
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.what);
    const RestoreEncoding restore(row.codePage);
    EXPECT_EQ(row.order == 0, Equal(row.a, row.b));
    EXPECT_EQ(row.order == 0, QUAVMBqstricmp_A(row.b, -1, row.a, -1, 0) != 0);
  }
}

TEST(Comparison, ComparesOnlyTheGivenLengths) {
  const RestoreEncoding restore("UTF-8");
  EXPECT_NE(0, QUAVMBqstricmp_A("NAMEx", 4, "namey", 4, 0));
  EXPECT_EQ(0, QUAVMBqstricmp_A("NAMEx", 5, "name", -1, 0));
  EXPECT_NE(0, QUAVMBqstricmp_A("NAMEx", 4, "name", -1, 0));
  EXPECT_NE(0, QUAVMBqstricmp_A("a", 0, "b", 0, 0));
}

TEST(Comparison, TreatsZeroBytesAsText) {
  const RestoreEncoding restore("UTF-8");
  EXPECT_TRUE(Equal("a\0B"s, "A\0b"s));
  EXPECT_FALSE(Equal("a\0b"s, "a\0c"s));
  EXPECT_FALSE(Equal("a\0"s, "a"s));
}

TEST(Comparison, AgreesWithTheFormsOnRandomTexts) {
  constexpr unsigned kSeed = 99;
  std::mt19937 random(kSeed);
  const std::string pieces[] = {"variable_", "VARIABLE_", "variablex", "a",    "A",    "b", "s",           "S",
                                "\xC3\x9F",  "\xC3\xA9",  "\xC3\x89",  "\xFF", "\xE2", "_", "\xEF\xAC\x81"};
  for (const char* codePage : {"UTF-8", "windows-1252", "Shift_JIS", "IBM037"}) {
    const RestoreEncoding restore(codePage);
    for (int round = 0; round < 20000; ++round) {
      std::string a;
      std::string b;
      for (auto n = random() % 4; n > 0; --n) a += pieces[random() % std::size(pieces)];
      for (auto n = random() % 4; n > 0; --n) b += pieces[random() % std::size(pieces)];
      const int byForms = QUAVMBstrupr_A(a).compare(QUAVMBstrupr_A(b));
      ASSERT_EQ(Sign(byForms), Sign(QUAVMBstricmp_A(a.c_str(), b.c_str())))
          << codePage << ' ' << testing::PrintToString(a) << ' ' << testing::PrintToString(b) << ", seed " << kSeed;
    }
  }
}

}  // namespace
}  // namespace Comparison_test
