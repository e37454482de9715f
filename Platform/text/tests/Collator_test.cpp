#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "Platform/text/QUAVMB.h"
#include "Platform/text/tests/Restore.h"

namespace Collator_test {
namespace {

using std::string_literals::operator""s;

constexpr char kSmallOUmlaut[] = "\xC3\xB6";

int Sign(int number) { return (number > 0) - (number < 0); }

// Sets the three variables that name the locale of collation, and restores them.
class CollationLocale {
 public:
  CollationLocale(const char* all, const char* collate, const char* lang)
      : m_all("LC_ALL", all), m_collate("LC_COLLATE", collate), m_lang("LANG", lang) {}

 private:
  RestoreVariable m_all;
  RestoreVariable m_collate;
  RestoreVariable m_lang;
};

int Compare(const QUAVMBCollator& collator, const std::string& a, const std::string& b) {
  return Sign(collator.Compare(a.data(), static_cast<int>(a.size()), b.data(), static_cast<int>(b.size())));
}

// Swedish sorts the letter after z; German and the root sort it next to o.
bool SortsAsSwedish() {
  QUAVMBCollator collator;
  collator.Init();
  return Compare(collator, kSmallOUmlaut, "z") > 0;
}

TEST(Collator, OrdersTextByTheRootCollation) {
  const RestoreEncoding restore("UTF-8");
  const CollationLocale locale("C", nullptr, nullptr);
  const struct {
    const char* what;
    std::string a;
    std::string b;
    int order;
  } rows[] = {
      {"both empty", "", "", 0},
      {"the same", "word", "word", 0},
      {"one empty", "", "a", -1},
      {"letters before case", "a", "B", -1},
      {"small letters first, all else equal", "a", "A", -1},
      {"accents beside their letters", "\xC3\xA9", "f", -1},
      {"accents after none", "e", "\xC3\xA9", -1},
      {"blanks count", "a", "a ", -1},
      {"a blank comes before letters", "a b", "ab", -1},
      {"equal to the collation, not in bytes", "\xC3\xA9", "e\xCC\x81", 1},
      {"zero bytes are nothing to the collation", "ab", "a\0b"s, 1},
      {"different bytes that form nothing", "\xFE", "\xFF", -1},
  };
  QUAVMBCollator collator;
  collator.Init();
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    EXPECT_EQ(row.order, Compare(collator, row.a, row.b));
    EXPECT_EQ(-row.order, Compare(collator, row.b, row.a));
  }
}

TEST(Collator, UsesTheLocaleOfTheEnvironment) {
  const RestoreEncoding restore("UTF-8");
  const struct {
    const char* what;
    const char* all;
    const char* collate;
    const char* lang;
    bool swedish;
  } rows[] = {
      {"nothing named", nullptr, nullptr, nullptr, false},
      {"empty names", "", "", "", false},
      {"the language", nullptr, nullptr, "sv_SE.UTF-8", true},
      {"the language, in a code page", nullptr, nullptr, "sv_SE.ISO8859-1", true},
      {"the language, with a variant", nullptr, nullptr, "sv_SE@euro", true},
      {"collation before language", nullptr, "sv_SE.UTF-8", "de_DE.UTF-8", true},
      {"collation before language, the other way", nullptr, "de_DE.UTF-8", "sv_SE.UTF-8", false},
      {"all before collation", "sv_SE.UTF-8", "de_DE.UTF-8", nullptr, true},
      {"an empty one does not count", "", "", "sv_SE", true},
      {"C", "C", "sv_SE", "sv_SE", false},
      {"C with a character set", "C.UTF-8", "sv_SE", "sv_SE", false},
      {"POSIX", nullptr, "POSIX", "sv_SE", false},
      {"unknown", "xx_XX.UTF-8", nullptr, nullptr, false},
  };
  for (const auto& row : rows) {
    const CollationLocale locale(row.all, row.collate, row.lang);
    EXPECT_EQ(row.swedish, SortsAsSwedish()) << row.what;
  }
}

TEST(Collator, NextInitTakesTheNewLocale) {
  const RestoreEncoding restore("UTF-8");
  QUAVMBCollator collator;
  const CollationLocale root("C", nullptr, nullptr);
  collator.Init();
  const CollationLocale swedish("sv_SE", nullptr, nullptr);
  EXPECT_GT(0, Compare(collator, kSmallOUmlaut, "z"));
  collator.Init();
  EXPECT_LT(0, Compare(collator, kSmallOUmlaut, "z"));
}

TEST(Collator, FirstCompareMakesTheCollation) {
  const RestoreEncoding restore("UTF-8");
  const CollationLocale locale("sv_SE", nullptr, nullptr);
  const QUAVMBCollator collator;
  EXPECT_LT(0, Compare(collator, kSmallOUmlaut, "z"));
}

TEST(Collator, ReadsThePresentEncoding) {
  const CollationLocale locale("sv_SE", nullptr, nullptr);
  QUAVMBCollator collator;
  collator.Init();
  const struct {
    const char* codePage;
    const char* smallOUmlaut;
    const char* z;
  } rows[] = {
      {"UTF-8", kSmallOUmlaut, "z"}, {"windows-1252", "\xF6", "z"},   {"IBM850", "\x94", "z"},
      {"IBM037", "\xCC", "\xA9"},    {"EUC-JP", "\x8F\xAB\xD3", "z"},
  };
  for (const auto& row : rows) {
    const RestoreEncoding restore(row.codePage);
    EXPECT_LT(0, Compare(collator, row.smallOUmlaut, row.z)) << row.codePage;
  }
}

TEST(Collator, ReadsUpToTheTerminatorForALengthOfMinusOne) {
  const RestoreEncoding restore("UTF-8");
  const QUAVMBCollator collator;
  EXPECT_EQ(0, collator.Compare("ab", -1, "abc", 2));
  EXPECT_GT(0, collator.Compare("ab", -1, "abc", -1));
}

TEST(Collator, ServesSeveralThreadsAfterInit) {
  const RestoreEncoding restore("UTF-8");
  QUAVMBCollator collator;
  collator.Init();
  std::vector<int> wrong(4);
  std::vector<std::thread> threads;
  for (int& count : wrong) {
    threads.emplace_back([&collator, &count] {
      for (int i = 0; i < 2000; ++i) {
        if (Compare(collator, "na\xC3\xAFve", "naive") <= 0) ++count;
        if (QUAVMBstrncoll_A("abc", "abd", 3) >= 0) ++count;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(std::vector<int>(4), wrong);
}

TEST(Strncoll, ComparesTheGivenNumberOfBytes) {
  const RestoreEncoding restore("UTF-8");
  EXPECT_EQ(0, QUAVMBstrncoll_A("abX", "abY", 2));
  EXPECT_GT(0, QUAVMBstrncoll_A("abX", "abY", 3));
  EXPECT_EQ(0, QUAVMBstrncoll_A("a", "b", 0));
}

TEST(Strncoll, DiffersFromAByteComparison) {
  const RestoreEncoding restore("UTF-8");
  EXPECT_GT(0, QUAVMBstrncoll_A("a", "B", 1));
  EXPECT_GT(0, QUAVMBstrncoll_A("\xC3\xA9", "fa", 2));
}

TEST(Strncoll, BytesDecideBetweenTextsThatCollateEqual) {
  const RestoreEncoding restore("UTF-8");
  EXPECT_GT(0, QUAVMBstrncoll_A("a\0b", "ab\0", 3));
  EXPECT_LT(0, QUAVMBstrncoll_A("ab\0", "a\0b", 3));
}

}  // namespace
}  // namespace Collator_test
