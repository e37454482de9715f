#include "datasrc/SortIndexInfo.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "Platform/text/QUAVMB.h"
#include "tests/support/MemorySource.h"
#include "tests/support/Reading.h"
#include "tests/support/WrittenRecord.h"

namespace SortIndexInfo_test {
namespace {

constexpr int kSubtype = 23;
const std::string kGroup = "\x1D";
const std::string kUnit = "\x1F";

using Pair = SortIndexInfo::SortIndexKeyRowPair;

std::string NumberKey(const std::string& text) { return std::string(41 - text.size(), '0') + text; }

SortIndexInfo InfoOf(const std::vector<FileSort::SortKey>& keys, const std::vector<Pair>& index) {
  SortIndexInfo info;
  info.SetIndexKeys(keys);
  info.SetIndex(index);
  return info;
}

std::string WrittenText(const SortIndexInfo& info) {
  SystemFileDataSource source;
  source.SetSortIndexInfo(info);
  return WrittenRecord(source, {kSubtype}).Contents();
}

SortIndexInfo ReadText(const std::string& text) {
  SystemFileDataSource source;
  SystemFileExtensionRecord record;
  record.Fill(text);
  SystemFileOptions options;
  SystemFileExtensionHandler::Read(kSubtype, source, options, record);
  return source.GetSortIndexInfo();
}

// ---- The record ----

TEST(SortKeyRecord, HoldsKeysAndPairs) {
  const SortIndexInfo info = InfoOf({{3, -1, 0}, {4, 2, 8}}, {{"abc", 1}, {"def", 12345678901}});
  const std::string text = "3:-1:0!4:2:8!" + kGroup + "abc" + kUnit + "1" + kGroup + "def" + kUnit + "12345678901";
  EXPECT_EQ(text, WrittenText(info));
  const SortIndexInfo read = ReadText(text);
  EXPECT_EQ(info.GetIndexKeys(), read.GetIndexKeys());
  EXPECT_EQ(info.GetIndex(), read.GetIndex());
}

TEST(SortKeyRecord, IsNotWrittenWithoutKeys) { EXPECT_EQ("", WrittenText(InfoOf({}, {{"abc", 1}}))); }

TEST(SortKeyRecord, IsWrittenUpToTheFirstWhiteSpace) {
  EXPECT_EQ("0:0:8!" + kGroup + "a", WrittenText(InfoOf({{0, 0, 8}}, {{"a b", 1}, {"c", 2}})));
}

TEST(SortKeyRecord, RecordWithOnlyKeysIsReadAsOnePair) {
  const std::string text = WrittenText(InfoOf({{0, 1, 8}}, {}));
  EXPECT_EQ("0:1:8!", text);
  const SortIndexInfo read = ReadText(text);
  EXPECT_TRUE(read.GetIndexKeys().empty());
  ASSERT_EQ(1u, read.GetIndex().size());
  EXPECT_EQ("0:1:8!", read.GetIndex()[0].GetKeyValue());
}

TEST(SortKeyRecord, RecordOfOneByteIsIgnored) { EXPECT_TRUE(ReadText("x").GetIndex().empty()); }

TEST(SortKeyRecord, ReadsItemsWithoutNumbersAsKeys) {
  const SortIndexInfo read = ReadText("x!1:2!" + kGroup + "k");
  const std::vector<FileSort::SortKey> keys{{0, 0, 0}, {1, 2, 0}};
  EXPECT_EQ(keys, read.GetIndexKeys());
  EXPECT_EQ((std::vector<Pair>{{"k", 0}}), read.GetIndex());
}

TEST(SortKeyRecord, ReadsATextTruncatedAnywhere) {
  const std::string text = "3:-1:0!4:2:8!" + kGroup + "a!c" + kUnit + "1" + kGroup + "def" + kUnit + "12";
  for (std::size_t size = 1; size <= text.size(); ++size) ReadText(text.substr(0, size));
  EXPECT_EQ(2u, ReadText(text).GetIndexKeys().size());
}

TEST(SortKeyRecord, RejectsAnotherUnitSize) {
  EXPECT_THAT(FaultOf(SystemFileBuilder().Header().Number("A").Extension(kSubtype, 2, 1, "ab").End().Bytes()),
              IsFault(1204, "rec.UnitSize() == sizeof(char)"));
}

TEST(SortKeyRecord, RejectsANegativeLength) {
  EXPECT_THAT(FaultOfNegativeLength(kSubtype), IsFault(1204, "rec.NUnits() >= 0"));
}

TEST(SortKeyRecord, WritesCellsAndLengthsUnsigned) {
  EXPECT_EQ("4294967295:-2:4294967293!" + kGroup + "a" + kUnit + "-1",
            WrittenText(InfoOf({{-1, -2, -3}}, {{"a", -1}})));
}

TEST(SortKeyRecord, ExportsItsDelimiters) {
  EXPECT_EQ(0x1D, groupDelimiterChar);
  EXPECT_EQ(0x1F, unitDelimiterChar);
}

// ---- Keys of cases ----

TEST(SortIndexInfo, KeepsTheValuesSet) {
  SortIndexInfo info;
  EXPECT_EQ(0, info.GetRequestedIndexSize());
  EXPECT_TRUE(info.GetIndexKeys().empty() && info.GetIndex().empty());
  EXPECT_EQ(nullptr, info.GetDataSource());
  const MemorySource source;
  info.SetRequestedIndexSize(77);
  info.SetDataSource(&source);
  EXPECT_EQ(77, info.GetRequestedIndexSize());
  EXPECT_EQ(&source, info.GetDataSource());
  Pair pair;
  EXPECT_EQ(Pair("", 0), pair);
  pair.SetKeyValue("k");
  pair.SetRowIndex(9);
  EXPECT_EQ(Pair("k", 9), pair);
}

TEST(SortIndexInfo, LRTrimRemovesOnlyBlanks) {
  EXPECT_EQ("a b", SortIndexInfo::LRTrim("  a b "));
  EXPECT_EQ("\ta", SortIndexInfo::LRTrim("\ta"));
  EXPECT_EQ("", SortIndexInfo::LRTrim("   "));
  EXPECT_EQ("", SortIndexInfo::LRTrim(""));
}

TEST(SortIndexInfo, KeyHasStringBytesAnd41CharactersPerNumber) {
  MemorySource source;
  source.AddNumber("N");
  source.AddText("S", 5);
  source.AddCase({-1.5, "ab"});
  source.AddCase({QUAV_DataSource::SystemMissing(), ""});
  const SortIndexInfo info = InfoOf({{1, 0, 5}, {0, 0, 0}}, {});
  std::unique_ptr<QUAV_InputCaseIterator> cases(source.MakeIterator(nullptr));
  cases->Next();
  EXPECT_EQ("ab   -" + NumberKey("1.5000000000000000").substr(1), info.BuildKeyValues(cases.get()));
  EXPECT_EQ(info.BuildKeyValues(cases.get()), info.BuildKeyValuesFromCase(cases.get()));
  cases->Next();
  EXPECT_EQ(5u + 41u, info.BuildKeyValues(cases.get()).size()) << "a longer number is truncated";
}

// ---- Searches ----

TEST(SortIndexInfo, FindsNothingInAnEmptyIndex) {
  std::string key = "x";
  EXPECT_EQ(-1, SortIndexInfo().FindRecordFromKeyValues(key));
}

TEST(SortIndexInfo, FindsAKeyOfTheIndexWithoutReadingCases) {
  const SortIndexInfo info = InfoOf({{0, 0, 1}}, {{"a", 10}, {"b", 20}, {"c", 30}});
  for (const auto& [key, row] : {std::pair<std::string, int>{"a", 10}, {"b", 20}, {"c", 30}}) {
    std::string sought = key;
    EXPECT_EQ(row, info.FindRecordFromKeyValues(sought));
  }
}

TEST(SortIndexInfo, ComparesTheFirst75BytesWithoutKeys) {
  const std::string head(75, 'k');
  const SortIndexInfo info = InfoOf({}, {{"a", 1}, {head + "x", 2}, {"z", 3}});
  std::string key = head + "y";
  EXPECT_EQ(2, info.FindRecordFromKeyValues(key));
}

TEST(SortIndexInfo, FindsOnlyThePairInAnIndexOfOne) {
  const SortIndexInfo info = InfoOf({{0, 0, 1}}, {{"b", 7}});
  for (const auto& [key, row] : {std::pair<std::string, int>{"a", -1}, {"b", 7}, {"c", -1}}) {
    std::string sought = key;
    EXPECT_EQ(row, info.FindRecordFromKeyValues(sought));
  }
}

TEST(SortIndexInfoDeathTest, SearchingCasesWithoutADataSourceAsserts) {
  const SortIndexInfo info = InfoOf({{0, 0, 1}}, {{"a", 1}, {"c", 9}});
  std::string key = "b";
  EXPECT_DEATH(info.FindRecordFromKeyValues(key), "fDataSource != __null");
}

TEST(SortIndexInfo, TooShortKeyThrows) {
  const SortIndexInfo info = InfoOf({{0, 0, 2}, {1, 0, 2}}, {{"a", 1}, {"c", 2}});
  std::string key = "a";
  EXPECT_THROW(info.FindRecordFromKeyValues(key), std::out_of_range);
}

// Keys that a damaged file may contain.
class SortIndexInfoBadKey : public testing::TestWithParam<FileSort::SortKey> {};
INSTANTIATE_TEST_SUITE_P(Cells, SortIndexInfoBadKey,
                         testing::Values(FileSort::SortKey{-1, 0, 0}, FileSort::SortKey{2, 0, 0},
                                         FileSort::SortKey{0x7FFFFFFF, 0, 8}, FileSort::SortKey{0, 0, 17},
                                         FileSort::SortKey{1, 0, 9}, FileSort::SortKey{0, 0, -1}));

TEST_P(SortIndexInfoBadKey, Throws) {
  MemorySource source;
  source.AddNumber("A");
  source.AddNumber("B");
  source.AddCase({1.0, 2.0});
  SortIndexInfo info = InfoOf({GetParam()}, {{"a", 1}, {"c", 2}});
  info.SetDataSource(&source);
  std::string key = "b";
  EXPECT_THROW(info.FindRecordFromKeyValues(key), std::out_of_range);
}

TEST_P(SortIndexInfoBadKey, ThrowsForTheValueOfACase) {
  MemorySource source;
  source.AddNumber("A");
  source.AddNumber("B");
  source.AddCase({1.0, 2.0});
  const SortIndexInfo info = InfoOf({GetParam()}, {});
  const std::unique_ptr<QUAV_InputCaseIterator> cases(source.MakeIterator(nullptr));
  EXPECT_THROW(info.BuildKeyValues(cases.get()), std::out_of_range);
  EXPECT_THROW(info.BuildKeyValuesFromCase(cases.get()), std::out_of_range);
  std::string key(50, 'b');
  EXPECT_THROW(info.BinaryKeyValueSearch(cases.get(), 0, 1, key, QUAVMBCollator()), std::out_of_range);
}

// The iterator may be over another source than that of the info.
TEST(SortIndexInfo, ChecksItsKeysAgainstTheCasesThatItReads) {
  MemorySource wide;
  wide.AddText("S", 16);
  for (int row = 0; row < 2; ++row) wide.AddCase({"b"});
  MemorySource narrow;
  narrow.AddText("S", 8);
  narrow.AddCase({"b"});
  SortIndexInfo info = InfoOf({{0, 0, 16}}, {{std::string(16, 'a'), 1}, {std::string(16, 'c'), 2}});
  info.SetDataSource(&wide);
  const std::unique_ptr<QUAV_InputCaseIterator> cases(narrow.MakeIterator(nullptr));
  std::string key(16, 'b');
  bool flag = false;
  EXPECT_THROW(info.FindRecordFromKeyValues(key, flag, cases.get()), std::out_of_range);
}

TEST(SortIndexInfo, SearchesFromRow0ForANegativeRow) {
  MemorySource source;
  source.AddText("S", 1);
  for (const char* text : {"a", "b", "c"}) source.AddCase({text});
  const SortIndexInfo info = InfoOf({{0, 0, 1}}, {});
  const std::unique_ptr<QUAV_InputCaseIterator> cases(source.MakeIterator(nullptr));
  std::string key = "b";
  constexpr long long kLeast = std::numeric_limits<long long>::min();
  EXPECT_EQ(2, info.BinaryKeyValueSearch(cases.get(), kLeast, 3, key, QUAVMBCollator()));
  EXPECT_EQ(-1, info.BinaryKeyValueSearch(cases.get(), kLeast, kLeast, key, QUAVMBCollator()));
}

// Sets LC_ALL for its life.
class ScopedLocale {
 public:
  explicit ScopedLocale(const char* name) {
    if (const char* before = std::getenv("LC_ALL")) m_before = before;
    setenv("LC_ALL", name, 1);
  }
  ~ScopedLocale() {
    if (m_before)
      setenv("LC_ALL", m_before->c_str(), 1);
    else
      unsetenv("LC_ALL");
    SortIndexInfo();  // the collation of the environment as it was
  }

 private:
  std::optional<std::string> m_before;
};

// In Swedish, o with two dots is after z; in German it is before p.
TEST(SortIndexInfo, SearchesInTheLocaleOfTheLastNewInfo) {
  const std::string umlaut = "\xC3\xB6";
  SetUTF8mode(1);
  MemorySource empty;
  SortIndexInfo swedish = InfoOf({{0, 0, 2}}, {{"z ", 1}, {umlaut, 2}});
  swedish.SetDataSource(&empty);
  empty.AddText("S", 2);
  std::string key = umlaut;
  for (const auto& [locale, row] : {std::pair{"sv_SE.UTF-8", 2}, {"de_DE.UTF-8", -1}, {"sv_SE.UTF-8", 2}}) {
    const ScopedLocale scoped(locale);
    EXPECT_EQ(SortIndexInfo(swedish).FindRecordFromKeyValues(key), row) << locale << ", a copy";
    const SortIndexInfo another;
    EXPECT_EQ(swedish.FindRecordFromKeyValues(key), row) << locale;
  }
  SetUTF8mode(0);
}

TEST(SortIndexInfo, IgnoresImpossibleRows) {
  constexpr long long kLeast = std::numeric_limits<long long>::min();
  constexpr long long kMost = std::numeric_limits<long long>::max();
  MemorySource source;
  source.AddText("S", 1);
  for (const char* text : {"a", "b", "c"}) source.AddCase({text});
  for (const auto& rows : {std::pair{kLeast, kMost}, {kMost, kMost}, {kLeast, kLeast}, {kMost, kLeast}, {-2LL, 2LL}}) {
    SortIndexInfo info = InfoOf({{0, 0, 1}}, {{"0", 1}, {"1", rows.first}, {"z", rows.second}});
    info.SetDataSource(&source);
    for (const char* text : {"b", "x"}) {
      std::string key = text;
      const long long row = info.FindRecordFromKeyValues(key);
      EXPECT_TRUE(row == -1 || key == "b") << row;
    }
  }
}

// Rows count from 1.
TEST(SortIndexInfo, FindsEachKeyOfARandomSortedTable) {
  for (unsigned seed = 0; seed < 40; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 engine(seed);
    const auto between = [&engine](int least, int most) {
      return std::uniform_int_distribution<int>(least, most)(engine);
    };
    MemorySource source;
    source.AddNumber("N");
    const int rows = between(2, 200);
    std::vector<int> numbers;
    for (int i = 0; i < rows; ++i) numbers.push_back(between(0, 300));
    std::ranges::sort(numbers);
    numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
    if (numbers.size() < 2) continue;
    for (const int number : numbers) source.AddCase({static_cast<double>(number)});
    const auto keyOf = [](int number) { return NumberKey(std::to_string(number) + ".0000000000000000"); };
    std::vector<Pair> index;
    const auto count = static_cast<int>(numbers.size());
    for (int i = 0; i < count; i += between(1, 20))
      index.emplace_back(keyOf(numbers[static_cast<std::size_t>(i)]), i + 1);
    SortIndexInfo info = InfoOf({{0, 0, 0}}, index);
    info.SetDataSource(&source);
    if (index.size() < 2) continue;
    for (int number = 0; number <= 301; ++number) {
      const auto found = std::ranges::find(numbers, number);
      const long long expected = found == numbers.end() ? -1 : found - numbers.begin() + 1;
      std::string key = keyOf(number);
      bool flag = true;
      const std::unique_ptr<QUAV_InputCaseIterator> cases(source.MakeIterator(nullptr));
      EXPECT_EQ(expected, info.FindRecordFromKeyValues(key, flag, cases.get())) << number;
      EXPECT_EQ(expected, info.FindRecordFromKeyValues(key)) << number;
      EXPECT_TRUE(flag);
    }
  }
}

}  // namespace
}  // namespace SortIndexInfo_test
