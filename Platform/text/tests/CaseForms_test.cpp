#include <gtest/gtest.h>

#include <string>

#include "Platform/text/QUAVMB.h"
#include "Platform/text/tests/Restore.h"

namespace CaseForms_test {
namespace {

using std::string_literals::operator""s;

struct FormRow {
  const char* what;
  const char* codePage;
  std::string text;
  std::string upper;
  std::string lower;
};

const FormRow kForms[] = {
    {"nothing", "UTF-8", "", "", ""},
    {"a name", "UTF-8", "Var_1@x", "VAR_1@X", "var_1@x"},
    {"more than a word", "UTF-8", "a Name of many letters", "A NAME OF MANY LETTERS", "a name of many letters"},
    {"accents", "UTF-8", "\xC3\xA9\xC3\x89", "\xC3\x89\xC3\x89", "\xC3\xA9\xC3\xA9"},
    {"a sharp s, which grows in letters", "UTF-8",
     "stra\xC3\x9F"
     "e",
     "STRASSE",
     "stra\xC3\x9F"
     "e"},
    {"a letter that grows in bytes", "UTF-8", "\xCE\x90", "\xCE\x99\xCC\x88\xCC\x81", "\xCE\x90"},
    {"a letter that shrinks", "UTF-8", "\xC4\xB1", "I", "\xC4\xB1"},
    {"a dotted capital, by no language", "UTF-8", "\xC4\xB0i", "\xC4\xB0I", "i\xCC\x87i"},
    {"a sigma at the end of a word", "UTF-8", "\xCE\x9F\xCE\xA3 \xCE\xA3\xCE\x9F", "\xCE\x9F\xCE\xA3 \xCE\xA3\xCE\x9F",
     "\xCE\xBF\xCF\x82 \xCF\x83\xCE\xBF"},
    {"letters without case", "UTF-8", "\xE6\x97\xA5", "\xE6\x97\xA5", "\xE6\x97\xA5"},
    {"four bytes", "UTF-8", "\xF0\x90\x90\xA8", "\xF0\x90\x90\x80", "\xF0\x90\x90\xA8"},
    {"bytes that form nothing", "UTF-8", "a\xFF\xC3\xA9\x80z", "A\xFF\xC3\x89\x80Z", "a\xFF\xC3\xA9\x80z"},
    {"a beginning in the middle", "UTF-8", "\xE2\x82z", "\xE2\x82Z", "\xE2\x82z"},
    {"a beginning at the end", "UTF-8", "\xC3\xA9\xE2\x82", "\xC3\x89\xE2\x82", "\xC3\xA9\xE2\x82"},
    {"a surrogate", "UTF-8",
     "\xED\xA0\x80"
     "a",
     "\xED\xA0\x80"
     "A",
     "\xED\xA0\x80"
     "a"},
    {"zero bytes", "UTF-8", "a\0\xC3\xA9\0b"s, "A\0\xC3\x89\0B"s, "a\0\xC3\xA9\0b"s},
    {"one byte a letter", "windows-1252", "a\xE9\xFF", "A\xC9\x9F", "a\xE9\xFF"},
    {"no such capital in the code page", "ISO-8859-1", "\xFF\xDF", "\xFF\xDF", "\xFF\xDF"},
    {"a byte without a character", "ISO-8859-7", "a\xD2\xE1", "A\xD2\xC1", "a\xD2\xE1"},
    {"Turkish, by no language", "windows-1254", "i\xFD\xDD", "II\xDD", "i\xFDi"},
    {"EBCDIC", "IBM037", "\x81\xC2", "\xC1\xC2", "\x81\x82"},
    {"several bytes a letter", "Shift_JIS", "a\x83\xBF\x83\x61", "A\x83\x9F\x83\x61", "a\x83\xBF\x83\x61"},
};

TEST(CaseForms, MapsWholeTexts) {
  for (const FormRow& row : kForms) {
    SCOPED_TRACE(row.what);
    const RestoreEncoding restore(row.codePage);
    EXPECT_EQ(row.upper, QUAVMBstrupr_A(row.text));
    EXPECT_EQ(row.lower, QUAVMBstrlwr_A(row.text));
  }
}

struct Written {
  std::string text;
  int flag;
};

using Writer = int (*)(char*, int, const char*, int, int*);

// Writes the form to a destination of `size` bytes, with a mark after its end.
Written Write(Writer writer, const std::string& text, int size) {
  std::string dest(static_cast<std::size_t>(size) + 1, '#');
  int flag = -1;
  const int length = writer(dest.data(), size, text.data(), static_cast<int>(text.size()), &flag);
  EXPECT_EQ('#', dest.back());
  if (length < size) {
    EXPECT_EQ('\0', dest[static_cast<std::size_t>(length)]);
  }
  return {dest.substr(0, static_cast<std::size_t>(length)), flag};
}

TEST(CaseForms, WritesTheWholeFormWhenThereIsRoom) {
  for (const FormRow& row : kForms) {
    SCOPED_TRACE(row.what);
    const RestoreEncoding restore(row.codePage);
    const Written upper = Write(QUAVMBMvUpper_A, row.text, 128);
    const Written lower = Write(QUAVMBMvLower_A, row.text, 128);
    EXPECT_EQ(row.upper, upper.text);
    EXPECT_EQ(row.lower, lower.text);
    EXPECT_EQ(0, upper.flag);
    EXPECT_EQ(0, lower.flag);
  }
}

TEST(CaseForms, WritesAFormThatJustFits) {
  for (const FormRow& row : kForms) {
    SCOPED_TRACE(row.what);
    const RestoreEncoding restore(row.codePage);
    const Written upper = Write(QUAVMBMvUpper_A, row.text, static_cast<int>(row.upper.size()));
    EXPECT_EQ(row.upper, upper.text);
    EXPECT_EQ(0, upper.flag);
  }
}

TEST(CaseForms, TruncatesAtAWholeCharacter) {
  const RestoreEncoding restore("UTF-8");
  const struct {
    const char* what;
    const char* text;
    int size;
    const char* upper;
  } rows[] = {
      {"letters", "name", 3, "NAM"},
      {"no room", "name", 0, ""},
      {"inside a character", "na\xC3\xA9", 3, "NA"},
      {"after a character", "\xC3\xA9\xC3\xA9", 3, "\xC3\x89"},
      {"a form that grew, between its letters", "\xC3\x9F", 1, "S"},
      {"a form that grew, inside a letter", "\xCE\x90", 5, "\xCE\x99\xCC\x88"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    const Written upper = Write(QUAVMBMvUpper_A, row.text, row.size);
    EXPECT_EQ(row.upper, upper.text);
    EXPECT_EQ(1, upper.flag);
  }
}

TEST(CaseForms, DoesNotTruncateInsideACodePageCharacter) {
  const RestoreEncoding restore("Shift_JIS");
  const Written upper = Write(QUAVMBMvUpper_A, "a\x83\x61\x83\x61", 4);
  EXPECT_EQ("A\x83\x61", upper.text);
  EXPECT_EQ(1, upper.flag);
}

TEST(CaseForms, ReadsUpToTheTerminatorForALengthOfMinusOne) {
  const RestoreEncoding restore("UTF-8");
  char dest[8];
  EXPECT_EQ(3, QUAVMBMvUpper_A(dest, 8, "abc\0def", -1, nullptr));
  EXPECT_STREQ("ABC", dest);
  EXPECT_EQ(3, QUAVMBMvLower_A(dest, 8, "ABC\0DEF", -1, nullptr));
  EXPECT_STREQ("abc", dest);
}

TEST(CaseForms, WritesTheFormInPlace) {
  const RestoreEncoding restore("UTF-8");
  char ascii[16] = "long name";
  EXPECT_EQ(9, QUAVMBMvUpper_A(ascii, 16, ascii, -1, nullptr));
  EXPECT_STREQ("LONG NAME", ascii);
  char other[16] = "\xC3\x9Fx";
  EXPECT_EQ(3, QUAVMBMvUpper_A(other, 16, other, -1, nullptr));
  EXPECT_STREQ("SSX", other);
}

TEST(CaseForms, WritesNothingToADestinationOfNegativeSize) {
  const RestoreEncoding restore("UTF-8");
  char dest = '#';
  int flag = -1;
  EXPECT_EQ(0, QUAVMBMvUpper_A(&dest, -1, "a", 1, &flag));
  EXPECT_EQ('#', dest);
  EXPECT_EQ(1, flag);
  EXPECT_EQ(0, QUAVMBMvUpper_A(&dest, -1, "", 0, &flag));
  EXPECT_EQ(0, flag);
}

}  // namespace
}  // namespace CaseForms_test
