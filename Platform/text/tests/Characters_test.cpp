#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "Platform/text/QUAVMB.h"
#include "Platform/text/tests/Restore.h"

namespace Characters_test {
namespace {

using std::string_literals::operator""s;

constexpr char kTwoBytes[] = "\xC3\xA9";
constexpr char kThreeBytes[] = "\xE2\x82\xAC";
constexpr char kFourBytes[] = "\xF0\x9F\x98\x80";

struct LengthRow {
  const char* what;
  const char* text;
  int avail;
  int length;
};

void ExpectLengths(const std::vector<LengthRow>& rows) {
  for (const LengthRow& row : rows) EXPECT_EQ(row.length, QUAVMBmblen_A(row.text, row.avail)) << row.what;
}

TEST(Mblen, MeasuresUtf8) {
  const RestoreEncoding restore("UTF-8");
  ExpectLengths({
      {"a letter", "a", 1, 1},
      {"a control character", "\x1F", 1, 1},
      {"a terminator", "", 1, 0},
      {"nothing to look at", "a", 0, 0},
      {"two bytes", kTwoBytes, 2, 2},
      {"two bytes and more", kTwoBytes, 4, 2},
      {"two bytes cut", kTwoBytes, 1, -1},
      {"three bytes", kThreeBytes, 3, 3},
      {"three bytes cut at two", kThreeBytes, 2, -1},
      {"three bytes cut at one", kThreeBytes, 1, -1},
      {"four bytes", kFourBytes, 4, 4},
      {"four bytes cut at three", kFourBytes, 3, -1},
      {"four bytes cut at one", kFourBytes, 1, -1},
      {"the first of two bytes", "\xC2\x80", 4, 2},
      {"the first of three bytes", "\xE0\xA0\x80", 4, 3},
      {"the first of four bytes", "\xF0\x90\x80\x80", 4, 4},
      {"the last character", "\xF4\x8F\xBF\xBF", 4, 4},
      {"after the last character", "\xF4\x90\x80\x80", 4, -1},
      {"the last before the surrogates", "\xED\x9F\xBF", 4, 3},
      {"the first surrogate", "\xED\xA0\x80", 4, -1},
      {"the last surrogate", "\xED\xBF\xBF", 4, -1},
      {"the first after the surrogates", "\xEE\x80\x80", 4, 3},
      {"two bytes for a letter", "\xC1\x81", 4, -1},
      {"three bytes for what two can", "\xE0\x9F\xBF", 4, -1},
      {"four bytes for what three can", "\xF0\x8F\xBF\xBF", 4, -1},
      {"five bytes", "\xF8\x88\x80\x80\x80", 5, -1},
      {"a trail byte", "\x80", 1, -1},
      {"no trail byte after it", "\xC3z", 2, -1},
      {"a byte that is never used", "\xFF", 1, -1},
      {"up to the terminator", kThreeBytes, -1, 3},
      {"up to the terminator, cut there", "\xE2\x82", -1, -1},
      {"up to the terminator at once", "", -1, 0},
  });
}

TEST(Mblen, MeasuresASingleByteCodePage) {
  const RestoreEncoding restore("ISO-8859-7");
  ExpectLengths({
      {"a letter", "a", 1, 1},
      {"a Greek letter", "\xE1", 1, 1},
      {"a byte without a character", "\xD2", 1, -1},
      {"a terminator", "", 1, 0},
      {"nothing to look at", "\xE1", 0, 0},
  });
}

TEST(Mblen, MeasuresPlainAscii) {
  const RestoreEncoding restore("US-ASCII");
  ExpectLengths({{"the last character", "\x7F", 1, 1}, {"after it", "\x80", 1, -1}});
}

TEST(Mblen, MeasuresEbcdic) {
  const RestoreEncoding restore("IBM037");
  ExpectLengths({{"a letter", "\xC1", 1, 1}, {"a blank", "\x40", 1, 1}, {"a terminator", "", 1, 0}});
}

TEST(Mblen, MeasuresMultiByteCodePages) {
  const struct {
    const char* codePage;
    LengthRow row;
  } rows[] = {
      {"Shift_JIS", {"a letter", "a", 1, 1}},
      {"Shift_JIS", {"a control character", "\x1A", 1, 1}},
      {"Shift_JIS", {"half-width katakana", "\xB1", 1, 1}},
      {"Shift_JIS", {"a later byte that is a letter", "\x83\x41", 2, 2}},
      {"Shift_JIS", {"cut", "\x83\x41", 1, -1}},
      {"Shift_JIS", {"a later byte that cannot be one", "\x83\x20", 2, -1}},
      {"Shift_JIS", {"a byte that begins nothing", "\xFF", 2, -1}},
      {"GBK", {"two bytes", "\x81\x40", 2, 2}},
      {"GBK", {"the euro sign", "\x80", 1, 1}},
      {"windows-949", {"two bytes", "\x81\x41", 4, 2}},
      {"Big5", {"two bytes", "\xA4\x40", 4, 2}},
      {"EUC-JP", {"two bytes", "\xC6\xFC", 4, 2}},
      {"EUC-JP", {"three bytes", "\x8F\xB0\xA1", 4, 3}},
      {"EUC-JP", {"three bytes cut", "\x8F\xB0\xA1", 2, -1}},
      {"GB18030", {"two bytes", "\x81\x40", 4, 2}},
      {"GB18030", {"four bytes", "\x81\x30\x81\x30", 4, 4}},
      {"GB18030", {"four bytes cut at three", "\x81\x30\x81\x30", 3, -1}},
      {"GB18030", {"four bytes cut at one", "\x81\x30\x81\x30", 1, -1}},
      {"GB18030", {"a terminator", "", 4, 0}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.codePage);
    const RestoreEncoding restore(row.codePage);
    ExpectLengths({row.row});
  }
}

struct CutRow {
  const char* what;
  std::string text;
  int size;
  int whole;
};

void ExpectCuts(const std::vector<CutRow>& rows) {
  for (const CutRow& row : rows)
    EXPECT_EQ(row.whole, QUAVMBWholeCharacters_A(row.text.data(), static_cast<int>(row.text.size()), row.size))
        << row.what;
}

TEST(WholeCharacters, CutsUtf8BetweenCharacters) {
  const RestoreEncoding restore("UTF-8");
  ExpectCuts({
      {"nothing", "", 5, 0},
      {"no room", "abc", 0, 0},
      {"less than no room", "abc", -1, 0},
      {"all fits", "abc", 3, 3},
      {"more than fits", "abc", 2, 2},
      {"two bytes at 0", kTwoBytes, 0, 0},
      {"two bytes at 1", kTwoBytes, 1, 0},
      {"two bytes at 2", kTwoBytes, 2, 2},
      {"three bytes at 1", kThreeBytes, 1, 0},
      {"three bytes at 2", kThreeBytes, 2, 0},
      {"three bytes at 3", kThreeBytes, 3, 3},
      {"four bytes at 1", kFourBytes, 1, 0},
      {"four bytes at 2", kFourBytes, 2, 0},
      {"four bytes at 3", kFourBytes, 3, 0},
      {"four bytes at 4", kFourBytes, 4, 4},
      {"after a character", "\xC3\xA9z", 2, 2},
      {"inside the second", "z\xE2\x82\xAC", 3, 1},
      {"trail bytes that follow nothing", "\x80\x80\x80\x80\x80", 3, 3},
      {"bytes that form nothing", "\xFF\xFE\xFF", 2, 2},
      {"a first byte before a letter", "\xE2z", 1, 1},
      {"a trail byte too many", "\xC3\xA9\xA9\xA9", 3, 3},
      {"a text that ends inside a character", "a\xE2\x82", 8, 1},
      {"zero bytes", "a\0b\0c"s, 4, 4},
  });
}

TEST(WholeCharacters, CutsASingleByteCodePageAnywhere) {
  const RestoreEncoding restore("windows-1252");
  ExpectCuts({{"all", "\xE9\xE9", 2, 2}, {"a part", "\xE9\xE9", 1, 1}, {"no character", "\xC3\xA9", 1, 1}});
}

TEST(WholeCharacters, CutsAMultiByteCodePageBetweenCharacters) {
  const RestoreEncoding restore("Shift_JIS");
  ExpectCuts({
      {"letters", "abc", 2, 2},
      {"inside the second", "\x83\x41\x83\x41", 3, 2},
      {"after the second", "\x83\x41\x83\x41", 4, 4},
      {"a later byte that is a letter", "a\x83\x41", 2, 1},
      {"the same bytes one further", "\xB1\x83\x41", 3, 3},
      {"a text that ends inside a character", "ab\x83", 8, 2},
      {"bytes that form nothing", "\xFF\xFF", 1, 1},
  });
}

TEST(WholeCharacters, ReadsUpToTheTerminatorForALengthOfMinusOne) {
  const RestoreEncoding restore("UTF-8");
  EXPECT_EQ(3, QUAVMBWholeCharacters_A("abc", -1, 10));
  EXPECT_EQ(1, QUAVMBWholeCharacters_A("a\xE2\x82\xAC", -1, 3));
}

TEST(StringTruncate, CutsBetweenCharactersAndReturnsTheLength) {
  const RestoreEncoding restore("UTF-8");
  const struct {
    const char* what;
    const char* text;
    int size;
    const char* left;
  } rows[] = {
      {"all fits", "name", 4, "name"},
      {"room to spare", "name", 64, "name"},
      {"letters", "name", 2, "na"},
      {"inside a character", "na\xC3\xA9", 3, "na"},
      {"after a character", "\xC3\xA9s", 2, kTwoBytes},
      {"to nothing", "name", 0, ""},
      {"to less than nothing", "name", -3, ""},
      {"an empty text", "", 5, ""},
      {"no whole character fits", kFourBytes, 3, ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    std::string text = row.text;
    EXPECT_EQ(static_cast<int>(std::string(row.left).size()), QUAVMBStringTruncate_A(text.data(), row.size));
    EXPECT_STREQ(row.left, text.c_str());
  }
}

TEST(Strrchr, FindsTheLastPlaceOfAnAsciiCharacter) {
  const struct {
    const char* what;
    const char* codePage;
    const char* text;
    int character;
    int place;  // -1: no place
  } rows[] = {
      {"one", "UTF-8", "a.b", '.', 1},
      {"the last of several", "UTF-8", "a.b.c", '.', 3},
      {"none", "UTF-8", "abc", '.', -1},
      {"an empty text", "UTF-8", "", '.', -1},
      {"after a character", "UTF-8", "\xC3\xA9.", '.', 2},
      {"before a character", "UTF-8", ".\xC3\xA9", '.', 0},
      {"after bytes that form nothing", "UTF-8", "\xE2.", '.', 1},
      {"no ASCII character", "UTF-8", kTwoBytes, 0xA9, -1},
      {"no ASCII character, as a char", "UTF-8", kTwoBytes, static_cast<char>(0xA9), -1},
      {"one byte a character", "windows-1252", "\xE9_\xE9", '_', 1},
      {"the later byte of a character", "Shift_JIS", "\x83\x5F", '_', -1},
      {"before such a byte", "Shift_JIS", "_\x83\x5F", '_', 0},
      {"after such a byte", "Shift_JIS", "\x83\x5F_", '_', 2},
      {"after a byte that begins nothing", "Shift_JIS", "\xFF_", '_', 1},
      {"plain text", "Shift_JIS", "a_b_c", '_', 3},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    const RestoreEncoding restore(row.codePage);
    EXPECT_EQ(row.place < 0 ? nullptr : row.text + row.place, QUAVMBstrrchr_A(row.text, row.character));
  }
}

// Random text that knows where its characters end.
class RandomText {
 public:
  RandomText(const char* codePage, std::mt19937& random) {
    QUAVMBConverter* converter = QUAVMBConverterNew_A(codePage);
    const int characters = static_cast<int>(random() % 20);
    for (int i = 0; i < characters; ++i) {
      static const std::string pool[] = {"a",
                                         "Z",
                                         ".",
                                         "\xC3\xA9",
                                         "\xCE\xB1",
                                         "\xD0\x96",
                                         "\xE6\x97\xA5",
                                         "\xE3\x82\xA2",
                                         "\xEF\xBC\xA1",
                                         "\xF0\x9F\x98\x80"};
      std::string character;
      if (QUAVMBU8ToCodePage(converter, character, pool[random() % std::size(pool)]) != 0) continue;
      m_ends.push_back(m_ends.back() + character.size());
      m_text += character;
    }
    QUAVMBConverterDelete_A(converter);
  }

  const std::string& Text() const { return m_text; }
  // The end of the last character that fits in `size` bytes.
  int WholeWithin(std::size_t size) const {
    std::size_t whole = 0;
    for (const std::size_t end : m_ends) {
      if (end <= size) whole = end;
    }
    return static_cast<int>(whole);
  }

 private:
  std::string m_text;
  std::vector<std::size_t> m_ends{0};
};

TEST(WholeCharacters, NeverCutsRandomTextsInsideACharacter) {
  constexpr unsigned kSeed = 4711;
  std::mt19937 random(kSeed);
  for (const char* codePage : {"UTF-8", "windows-1252", "windows-1251", "Shift_JIS", "GBK", "windows-949", "Big5",
                               "EUC-JP", "EUC-KR", "GB18030"}) {
    const RestoreEncoding restore(codePage);
    for (int round = 0; round < 2000; ++round) {
      SCOPED_TRACE(testing::Message() << codePage << ", seed " << kSeed << ", round " << round);
      const RandomText randomText(codePage, random);
      const std::string& text = randomText.Text();
      const int length = static_cast<int>(text.size());
      const int size = static_cast<int>(random() % 48);
      const int whole = randomText.WholeWithin(static_cast<std::size_t>(size));

      ASSERT_EQ(whole, QUAVMBWholeCharacters_A(text.data(), length, size)) << testing::PrintToString(text);

      std::string truncated = text;
      ASSERT_EQ(whole, QUAVMBStringTruncate_A(truncated.data(), size)) << testing::PrintToString(text);
      ASSERT_EQ(text.substr(0, static_cast<std::size_t>(whole)), truncated.c_str());

      std::string field(static_cast<std::size_t>(size), '#');
      ASSERT_EQ(whole, QUAVMBCopyToFixed_A(field.data(), size, text.data(), length)) << testing::PrintToString(text);
      ASSERT_EQ(
          text.substr(0, static_cast<std::size_t>(whole)) + std::string(static_cast<std::size_t>(size - whole), ' '),
          field);
    }
  }
}

}  // namespace
}  // namespace Characters_test
