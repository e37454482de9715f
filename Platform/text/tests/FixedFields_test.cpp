#include <gtest/gtest.h>

#include <string>

#include "Platform/text/QUAVMB.h"
#include "Platform/text/tests/Restore.h"

namespace FixedFields_test {
namespace {

using std::string_literals::operator""s;

TEST(CopyToFixed, FillsTheFieldWithTextAndBlanks) {
  const struct {
    const char* what;
    const char* codePage;
    std::string text;
    int size;
    std::string field;
    int copied;
  } rows[] = {
      {"nothing", "UTF-8", "", 4, "    ", 0},
      {"a short text", "UTF-8", "ab", 4, "ab  ", 2},
      {"a text that fills the field", "UTF-8", "abcd", 4, "abcd", 4},
      {"a longer text", "UTF-8", "abcdef", 4, "abcd", 4},
      {"a character that fits", "UTF-8", "ab\xC3\xA9", 4, "ab\xC3\xA9", 4},
      {"a character across the end", "UTF-8", "abc\xC3\xA9", 4, "abc ", 3},
      {"four bytes across the end by one", "UTF-8", "a\xF0\x9F\x98\x80", 4, "a   ", 1},
      {"a text that its caller cut inside a character", "UTF-8", "ab\xE2\x82", 8, "ab      ", 2},
      {"bytes that form nothing", "UTF-8", "\xFF\x80z", 8, "\xFF\x80z     ", 3},
      {"bytes that form nothing, cut", "UTF-8", "\xFF\xFF\xFF", 2, "\xFF\xFF", 2},
      {"zero bytes", "UTF-8", "a\0b"s, 5, "a\0b  "s, 3},
      {"one byte a character", "windows-1252", "\xE9\xE9\xE9", 2, "\xE9\xE9", 2},
      {"a later byte that is a letter", "Shift_JIS", "a\x83\x41", 2, "a ", 1},
      {"all of such a character", "Shift_JIS", "a\x83\x41", 4, "a\x83\x41 ", 3},
      {"plain text in such a code page", "Shift_JIS", "plain text", 5, "plain", 5},
      {"such a text cut inside a character", "Shift_JIS", "a\x83", 4, "a   ", 1},
      {"four bytes in GB18030", "GB18030", "\x81\x30\x81\x30\x81\x30\x81\x30", 7, "\x81\x30\x81\x30   ", 4},
      {"EBCDIC, whose fields have the same blanks", "IBM037", "\xC1", 3, "\xC1  ", 1},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    const RestoreEncoding restore(row.codePage);
    std::string field(row.field.size() + 1, '#');
    EXPECT_EQ(row.copied,
              QUAVMBCopyToFixed_A(field.data(), row.size, row.text.data(), static_cast<int>(row.text.size())));
    EXPECT_EQ(row.field + "#", field);
  }
}

TEST(CopyToFixed, ReadsUpToTheTerminatorForALengthOfMinusOne) {
  const RestoreEncoding restore("UTF-8");
  char field[] = "####";
  EXPECT_EQ(2, QUAVMBCopyToFixed_A(field, 4, "ab\0cd", -1));
  EXPECT_STREQ("ab  ", field);
}

TEST(CopyToFixed, IgnoresAFieldWithoutBytes) {
  const RestoreEncoding restore("UTF-8");
  char field[] = "####";
  EXPECT_EQ(0, QUAVMBCopyToFixed_A(field, 0, "ab", 2));
  EXPECT_EQ(0, QUAVMBCopyToFixed_A(field, -4, "ab", 2));
  EXPECT_STREQ("####", field);
}

TEST(CopyToFixed, CopiesATextThatOverlapsTheField) {
  const RestoreEncoding restore("UTF-8");
  const struct {
    const char* what;
    std::size_t from;
    std::size_t to;
    const char* after;
  } rows[] = {
      {"in place", 0, 0, "abcd    "},
      {"moved up", 0, 2, "ababcd  "},
      {"moved down", 2, 0, "cdef  gh"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    std::string bytes = "abcdefgh";
    const int size = row.from == 0 ? static_cast<int>(bytes.size() - row.to) : 6;
    EXPECT_EQ(4, QUAVMBCopyToFixed_A(bytes.data() + row.to, size, bytes.data() + row.from, 4));
    EXPECT_EQ(row.after, bytes);
  }
}

}  // namespace
}  // namespace FixedFields_test
