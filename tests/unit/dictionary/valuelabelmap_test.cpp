#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <iterator>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "datasrc/QUAV_ValueLabelMap.h"

namespace valuelabelmap_test {
namespace {

auto Asserts(const std::string& text) { return testing::HasSubstr("assertion failed: " + text + "\n"); }

ValueLabel Pair(double value, const std::string& label) { return {{NumberCell(value)}, label}; }

// Returns cells that hold the text, padded with blanks.
std::vector<OBS> TextCells(const std::string& text, std::size_t nCells) {
  std::vector<OBS> cells(nCells, kBlankCell);
  text.copy(CellText(cells.data()), nCells * sizeof(OBS));
  return cells;
}

bool operator==(const ValueLabel& a, const ValueLabel& b) { return a.value == b.value && a.label == b.label; }

std::vector<std::string> Labels(const QUAV_VLMapImpl& map) {
  std::vector<std::string> labels;
  for (const ValueLabel& pair : map.Pairs()) labels.push_back(pair.label);
  return labels;
}

// Returns the labels in the order in which GetNextPair returns them.
std::vector<std::string> Labels(QUAV_ValueLabelMap map) {
  std::vector<std::string> labels;
  const OBS* value;
  const char* label;
  map.Reset();
  while (map.GetNextPair(value, label)) labels.emplace_back(label);
  return labels;
}

// ---- Order ----

TEST(ValueLabel, IsOrderedCellByCellAsDoubles) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  struct Row {
    const char* name;
    std::vector<double> a, b;
    bool less, greater;
  };
  const Row rows[] = {
      {"less", {1}, {2}, true, false},
      {"equal", {1}, {1}, false, false},
      {"two zeros", {-0.0}, {0.0}, false, false},
      {"by the second cell", {1, 2}, {1, 3}, true, false},
      {"the first cell decides", {1, 9}, {2, 3}, true, false},
      {"a NaN is skipped", {nan, 2}, {1, 3}, true, false},
      {"NaN alone", {nan}, {1}, false, false},
      {"no cells", {}, {1}, false, false},
      {"shorter and a prefix", {1}, {1, 5}, false, false},
      {"shorter and less", {1}, {2, 0}, true, false},
  };
  const auto make = [](const std::vector<double>& numbers) {
    ValueLabel pair;
    for (const double number : numbers) pair.value.push_back(NumberCell(number));
    return pair;
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(row.less, make(row.a) < make(row.b));
    EXPECT_EQ(row.greater, make(row.b) < make(row.a));
  }
}

TEST(ValueLabelMap, OrdersStringsByTheDoublesTheyForm) {
  QUAV_ValueLabelMap map(8);
  map.AddPair(std::string("azzzzzza"), "ends with a");
  map.AddPair(std::string("zaaaaaab"), "ends with b");
  map.AddPair(std::string("b"), "ends with a blank");
  EXPECT_THAT(Labels(map), testing::ElementsAre("ends with a blank", "ends with a", "ends with b"));
}

// ---- Pairs ----

TEST(ValueLabelMap, SecondLabelOfAValueReplacesTheFirst) {
  QUAV_ValueLabelMap map(0);
  map.AddPair(1.0, "first");
  map.AddPair(1.0, "second");
  EXPECT_EQ(1, map.Size());
  EXPECT_STREQ("second", map.GetLabel(1.0));
}

TEST(ValueLabelMap, ReturnsNumbersInAscendingOrder) {
  QUAV_ValueLabelMap map(0);
  for (const double value : {3.0, -1.0, 2.0}) map.AddPair(value, std::to_string(static_cast<int>(value)));
  map.Reset();
  double value;
  const char* label;
  std::vector<double> values;
  while (map.GetNextPair(value, label)) {
    values.push_back(value);
    EXPECT_EQ(std::to_string(static_cast<int>(value)), label);
  }
  EXPECT_THAT(values, testing::ElementsAre(-1, 2, 3));
}

TEST(ValueLabelMap, KeepsBothZerosTheLaterOneFirst) {
  QUAV_ValueLabelMap map(0);
  map.AddPair(0.0, "plus");
  map.AddPair(-0.0, "minus");
  EXPECT_THAT(Labels(map), testing::ElementsAre("minus", "plus"));
  EXPECT_STREQ("minus", map.GetLabel(-0.0));
}

TEST(ValueLabelMap, EmptyLabelDiffersFromNoLabel) {
  QUAV_ValueLabelMap map(0);
  map.AddPair(1.0, "");
  EXPECT_STREQ("", map.GetLabel(1.0));
  EXPECT_EQ(nullptr, map.GetLabel(2.0));
}

TEST(ValueLabelMap, TextsAreTruncatedOrPaddedToTheField) {
  QUAV_ValueLabelMap map(8);
  map.AddPair(std::string("A"), "a");
  map.AddPair(std::string("ABCDEFGH"), "long");
  EXPECT_STREQ("a", map.GetLabel(std::string("A")));
  EXPECT_STREQ("a", map.GetLabel(std::string("A       ")));
  EXPECT_STREQ("long", map.GetLabel(std::string("ABCDEFGHIJ")));
  EXPECT_EQ(nullptr, map.GetLabel(std::string("B")));
}

TEST(ValueLabelMap, FieldIsAsWideAsTheCellsOfTheType) {
  QUAV_ValueLabelMap map(9);
  map.AddPair(std::string("ABCDEFGHIJ"), "ten bytes");
  EXPECT_STREQ("ten bytes", map.GetLabel(std::string("ABCDEFGHIJ")));
  EXPECT_EQ(nullptr, map.GetLabel(std::string("ABCDEFGHI")));
  EXPECT_STREQ("ten bytes", map.GetLabel(TextCells("ABCDEFGHIJ", 2).data()));
}

TEST(ValueLabelMap, CellsAreReadByType) {
  QUAV_ValueLabelMap map(12);
  const std::vector<OBS> cells = TextCells("abcdefghijkl", 2);
  map.AddPair(cells.data(), "twelve");
  EXPECT_STREQ("twelve", map.GetLabel(std::string("abcdefghijkl")));
}

TEST(ValueLabelMap, NumberIsOneCellInAMapOfLongStrings) {
  QUAV_ValueLabelMap map(20);
  map.AddPair(1.0, "one");
  EXPECT_STREQ("one", map.GetLabel(1.0));
  EXPECT_EQ(nullptr, map.GetLabel(2.0));
}

TEST(ValueLabelMap, AcceptsAPairFromTheSameMap) {
  QUAV_ValueLabelMap map(0);
  map.AddPair(1.0, "one");
  const OBS* value;
  const char* label;
  map.Reset();
  ASSERT_EQ(1, map.GetNextPair(value, label));
  map.AddPair(value, std::string("another one"));
  EXPECT_STREQ("another one", map.GetLabel(1.0));
}

TEST(ValueLabelMapDeathTest, AddingToANullMapAsserts) {
  QUAV_ValueLabelMap map{QUAV_VLImplPointer()};
  const OBS cell{};
  EXPECT_DEATH(map.AddPair(&cell, "a"), Asserts("fpImpl.IsValid()"));
  EXPECT_DEATH(map.AddPair(1.0, "a"), Asserts("fpImpl.IsValid()"));
  EXPECT_DEATH(map.AddPair(std::string("a"), "a"), Asserts("fpImpl.IsValid()"));
  EXPECT_DEATH(map.AddPairs({}), Asserts("fpImpl.IsValid()"));
  EXPECT_DEATH(map.Type(), Asserts("fpImpl.IsValid()"));
}

// ---- A null map ----

TEST(ValueLabelMap, NullMapIsEmpty) {
  QUAV_ValueLabelMap map{QUAV_VLImplPointer()};
  const OBS cell{};
  const OBS* value;
  const char* label;
  double number;
  std::string text;
  EXPECT_EQ(0, map.Size());
  EXPECT_EQ(nullptr, map.GetLabel(&cell));
  EXPECT_EQ(nullptr, map.GetLabel(1.0));
  EXPECT_EQ(nullptr, map.GetLabel(std::string("a")));
  EXPECT_EQ(0, map.GetNextPair(value, label));
  map.Reset();
  EXPECT_EQ(0, map.GetNextPair(number, label));
  EXPECT_EQ(0, map.GetNextPair(text, label));
}

// ---- Iteration ----

TEST(ValueLabelMapDeathTest, GetNextPairWithoutResetAsserts) {
  const QUAV_ValueLabelMap map(0);
  const OBS* value;
  const char* label;
  double number;
  std::string text;
  EXPECT_DEATH(map.GetNextPair(value, label), Asserts("fIter && \"Reset() missing\""));
  EXPECT_DEATH(map.GetNextPair(number, label), Asserts("fIter && \"Reset() missing\""));
  EXPECT_DEATH(map.GetNextPair(text, label), Asserts("fIter && \"Reset() missing\""));
}

TEST(ValueLabelMap, StaysAtTheEndUntilReset) {
  QUAV_ValueLabelMap map(0);
  map.AddPair(1.0, "one");
  double value;
  const char* label;
  map.Reset();
  EXPECT_EQ(1, map.GetNextPair(value, label));
  EXPECT_EQ(0, map.GetNextPair(value, label));
  EXPECT_EQ(0, map.GetNextPair(value, label));
  map.Reset();
  EXPECT_EQ(1, map.GetNextPair(value, label));
}

TEST(ValueLabelMap, CopiesContinueAtThePositionOfTheOriginal) {
  QUAV_ValueLabelMap map(0);
  for (const double value : {1.0, 2.0, 3.0}) map.AddPair(value, "");
  double value;
  const char* label;
  map.Reset();
  map.GetNextPair(value, label);

  QUAV_ValueLabelMap copy(map);
  QUAV_ValueLabelMap assigned(0);
  assigned.Reset();
  assigned = map;
  copy.GetNextPair(value, label);
  EXPECT_EQ(2.0, value);
  copy.GetNextPair(value, label);
  EXPECT_EQ(3.0, value);
  map.GetNextPair(value, label);
  EXPECT_EQ(2.0, value);
  assigned.GetNextPair(value, label);
  EXPECT_EQ(2.0, value);
}

TEST(ValueLabelMap, SelfAssignmentKeepsPairsAndPosition) {
  QUAV_ValueLabelMap map(0);
  map.AddPair(1.0, "one");
  map.Reset();
  const QUAV_ValueLabelMap& same = map;
  map = same;
  double value;
  const char* label;
  EXPECT_EQ(1, map.GetNextPair(value, label));
}

TEST(ValueLabelMapDeathTest, AssigningAMapWithoutIteratorRemovesTheIterator) {
  QUAV_ValueLabelMap map(0);
  map.Reset();
  map = QUAV_ValueLabelMap(0);
  double value;
  const char* label;
  EXPECT_DEATH(map.GetNextPair(value, label), Asserts("fIter && \"Reset() missing\""));
}

TEST(ValueLabelMap, IteratesTheNewBodyAfterCopyOnWrite) {
  auto original = std::make_unique<QUAV_ValueLabelMap>(0);
  original->AddPair(1.0, "one");
  QUAV_ValueLabelMap copy(*original);
  copy.Reset();
  copy.AddPair(2.0, "two");
  original.reset();
  double value;
  const char* label;
  copy.Reset();
  EXPECT_EQ(1, copy.GetNextPair(value, label));
  EXPECT_EQ(1, copy.GetNextPair(value, label));
  EXPECT_EQ(2.0, value);
  EXPECT_EQ(0, copy.GetNextPair(value, label));
}

TEST(ValueLabelMap, ReturnsStringsWithAllTheirBlanks) {
  QUAV_ValueLabelMap map(11);
  map.AddPair(std::string("abc"), "label");
  std::string value;
  const char* label;
  map.Reset();
  ASSERT_EQ(1, map.GetNextPair(value, label));
  EXPECT_EQ("abc        ", value);
  EXPECT_STREQ("label", label);
}

// ---- Type ----

TEST(ValueLabelMap, SettingTheTypeOfAnEmptyMapMakesANewBody) {
  QUAV_ValueLabelMap map(0);
  QUAV_ValueLabelMap other(map);
  map.Type(20);
  EXPECT_EQ(20, map.Type());
  EXPECT_EQ(0, other.Type());
}

TEST(ValueLabelMap, SettingTheTypeOfANullMapMakesABody) {
  QUAV_ValueLabelMap map{QUAV_VLImplPointer()};
  map.Type(20);
  EXPECT_EQ(20, map.Type());
}

TEST(ValueLabelMap, ValuesKeepTheirCellsWhenTheTypeChanges) {
  QUAV_ValueLabelMap map(0);
  const std::vector<OBS> cells = TextCells("abcdefgh", 1);
  map.AddPair(cells.data(), "label");
  QUAV_ValueLabelMap other(map);
  map.Type(255);
  EXPECT_EQ(255, map.Type());
  EXPECT_EQ(0, other.Type());

  std::string value;
  const char* label;
  map.Reset();
  ASSERT_EQ(1, map.GetNextPair(value, label));
  EXPECT_EQ("abcdefgh" + std::string(247, ' '), value);
  EXPECT_EQ(nullptr, map.GetLabel(std::string("abcdefgh")));  // the stored value has 1 cell, the key 32
  map.AddPair(std::string("abcdefgh"), "long");
  EXPECT_STREQ("long", map.GetLabel(std::string("abcdefgh")));
  EXPECT_EQ(2, map.Size());
}

TEST(ValueLabelMap, LongValuesAreTruncatedToAShorterType) {
  QUAV_ValueLabelMap map(16);
  map.AddPair(std::string("abcdefghijklmnop"), "label");
  map.Type(3);
  std::string value;
  const char* label;
  map.Reset();
  ASSERT_EQ(1, map.GetNextPair(value, label));
  EXPECT_EQ("abc", value);
}

// ---- Sharing and equality ----

TEST(ValueLabelMap, AddingAPairToACopyKeepsTheOriginal) {
  QUAV_ValueLabelMap map(0);
  map.AddPair(1.0, "one");
  QUAV_ValueLabelMap copy(map);
  EXPECT_TRUE(map == copy);
  copy.AddPair(2.0, "two");
  EXPECT_EQ(1, map.Size());
  EXPECT_EQ(2, copy.Size());
  EXPECT_FALSE(map == copy);
}

TEST(ValueLabelMap, EmptyMapsOfDifferentTypesAreEqual) { EXPECT_TRUE(QUAV_ValueLabelMap(0) == QUAV_ValueLabelMap(20)); }

TEST(ValueLabelMap, EqualityComparesBitsAndBytes) {
  const QUAV_ValueLabelMap null{QUAV_VLImplPointer()};
  QUAV_ValueLabelMap map(0), same(0), otherLabel(0), otherZero(0), longer(0);
  map.AddPair(0.0, std::string("a\0b", 3));
  same.AddPair(0.0, std::string("a\0b", 3));
  otherLabel.AddPair(0.0, std::string("a\0c", 3));
  otherZero.AddPair(-0.0, std::string("a\0b", 3));
  longer.AddPair(0.0, std::string("a\0b", 3));
  longer.AddPair(1.0, "");
  EXPECT_TRUE(map == same);
  EXPECT_FALSE(map == otherLabel);
  EXPECT_FALSE(map == otherZero);
  EXPECT_FALSE(map == longer);
  EXPECT_FALSE(map == null);
  EXPECT_FALSE(null == map);
  EXPECT_TRUE(null == null);
}

TEST(ValueLabelMap, GivesAccessToItsBody) {
  QUAV_ValueLabelMap map(0);
  map.AddPair(1.0, "one");
  const QUAV_VLImplPointer& body = map;
  EXPECT_TRUE(QUAV_ValueLabelMap(body) == map);
  static_cast<QUAV_VLImplPointer&>(map) = QUAV_VLImplPointer();
  EXPECT_EQ(0, map.Size());
}

// ---- Many pairs at once ----

// Draws values from a small set, so that duplicates occur. The set holds the numbers that make ordering difficult.
class PairMaker {
 public:
  PairMaker(unsigned int seed, std::size_t nCells, bool withNaN)
      : m_random(seed), m_nCells(nCells), m_withNaN(withNaN) {}

  std::vector<ValueLabel> Make(int count) {
    std::vector<ValueLabel> pairs;
    for (int i = 0; i < count; ++i) pairs.push_back(One());
    return pairs;
  }

 private:
  ValueLabel One() {
    ValueLabel pair;
    for (std::size_t i = 0; i < m_nCells; ++i) pair.value.push_back(NumberCell(Number()));
    pair.label = std::to_string(++m_made);
    return pair;
  }

  double Number() {
    const std::vector<double> numbers = {
        0.0, -0.0, 1.0, -1.0, 2.0, std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()};
    return numbers[m_random() % (numbers.size() - (m_withNaN ? 0 : 1))];
  }

  std::mt19937 m_random;
  std::size_t m_nCells;
  bool m_withNaN;
  int m_made = 0;
};

void ExpectSameAsOneByOne(const std::vector<ValueLabel>& present, const std::vector<ValueLabel>& added) {
  QUAV_VLMapImpl oneByOne(0);
  for (const ValueLabel& pair : present) oneByOne.Add(pair);
  QUAV_VLMapImpl atOnce(oneByOne);
  for (const ValueLabel& pair : added) oneByOne.Add(pair);
  atOnce.AddAll(added);
  EXPECT_EQ(Labels(oneByOne), Labels(atOnce));
  EXPECT_TRUE(std::ranges::equal(oneByOne.Pairs(), atOnce.Pairs(), operator==));
}

TEST(ValueLabelMap, AddingPairsTogetherEqualsAddingThemOneByOne) {
  for (unsigned int seed = 0; seed < 500; ++seed) {
    for (const std::size_t nCells : {1u, 2u, 3u}) {
      for (const bool withNaN : {false, true}) {
        SCOPED_TRACE(testing::Message() << "seed " << seed << ", cells " << nCells << ", NaN " << withNaN);
        PairMaker maker(seed, nCells, withNaN);
        ExpectSameAsOneByOne(maker.Make(static_cast<int>(seed % 7)), maker.Make(static_cast<int>(seed % 23)));
      }
    }
  }
}

TEST(ValueLabelMap, AddingPairsTogetherHandlesANaNAlreadyInTheMap) {
  for (unsigned int seed = 0; seed < 500; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    ExpectSameAsOneByOne(PairMaker(seed, 2, true).Make(8), PairMaker(seed, 2, false).Make(12));
  }
}

TEST(ValueLabelMap, AddingPairsTogetherHandlesValuesOfSeveralLengths) {
  for (unsigned int seed = 0; seed < 500; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    std::vector<ValueLabel> added = PairMaker(seed, 1, false).Make(10);
    std::ranges::copy(PairMaker(seed, 2, false).Make(10), std::back_inserter(added));
    std::ranges::shuffle(added, std::mt19937(seed));
    ExpectSameAsOneByOne(PairMaker(seed + 1, 1, false).Make(5), added);
    ExpectSameAsOneByOne(PairMaker(seed + 1, 3, false).Make(5), PairMaker(seed, 2, false).Make(10));
  }
}

TEST(ValueLabelMap, AddingPairsTogetherToACopyKeepsTheOriginal) {
  QUAV_ValueLabelMap map(0);
  map.AddPair(1.0, "one");
  QUAV_ValueLabelMap copy(map);
  copy.AddPairs({Pair(3.0, "three"), Pair(2.0, "two"), Pair(1.0, "another one")});
  EXPECT_THAT(Labels(copy), testing::ElementsAre("another one", "two", "three"));
  EXPECT_THAT(Labels(map), testing::ElementsAre("one"));
}

TEST(ValueLabelMap, AddingPairsInDescendingOrderIsNotQuadratic) {
  constexpr int kCount = 200'000;
  std::vector<ValueLabel> pairs;
  for (int i = kCount; i > 0; --i) pairs.push_back(Pair(i, "label"));
  QUAV_ValueLabelMap map(0);
  const auto start = std::chrono::steady_clock::now();
  map.AddPairs(std::move(pairs));
  const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
  RecordProperty("seconds", std::to_string(taken.count()));
  EXPECT_EQ(kCount, map.Size());
  EXPECT_STREQ("label", map.GetLabel(1.0));
  EXPECT_LT(taken.count(), 5.0);  // a quadratic algorithm takes minutes
}

TEST(ValueLabelMapDeathTest, TypeOfNoVariableAsserts) {
  QUAV_ValueLabelMap map(0);
  for (const int type : {32768, 65541, -2, -9}) {
    EXPECT_DEATH(QUAV_ValueLabelMap{type}, "-1 <= type && type <= MAX_STRING_TYPE") << type;
    EXPECT_DEATH(map.Type(type), "-1 <= type && type <= MAX_STRING_TYPE") << type;
  }
  map.AddPair(1.0, "one");
  EXPECT_DEATH(map.Type(-9), "-1 <= type && type <= MAX_STRING_TYPE");
}

// ---- Short values of very long strings ----

constexpr int kVeryLong = 1000;  // 125 cells

std::vector<OBS> CellsOfText(std::string text) {
  text.resize(kVeryLong, ' ');
  std::vector<OBS> cells(kVeryLong / sizeof(OBS));
  text.copy(CellText(cells.data()), text.size());
  return cells;
}

TEST(VeryLongValues, AreStoredWithoutTheirManyBlanks) {
  QUAV_ValueLabelMap map(kVeryLong);
  map.AddPair(std::string("abcdefghij"), "text");
  const QUAV_VLImplPointer& body = map;
  EXPECT_EQ(2u, body->Pairs()[0].value.size());
  EXPECT_EQ(125u, body->Pairs()[0].CellCount());
}

TEST(VeryLongValues, AreOneValueAsTextAndAsCells) {
  for (const std::string& text :
       {std::string(), std::string("a"), std::string("abcdefgh"), std::string(743, 'x'), std::string(744, 'x'),
        std::string(745, 'x'), std::string(kVeryLong, 'x'), "a" + std::string(900, ' ') + "b", std::string("\0", 1)}) {
    SCOPED_TRACE(text.size());
    QUAV_ValueLabelMap map(kVeryLong);
    map.AddPair(text, "first");
    map.AddPair(CellsOfText(text).data(), "second");
    map.AddPairs({{CellsOfText(text), "third"}});
    EXPECT_EQ(1, map.Size());
    EXPECT_STREQ("third", map.GetLabel(text));
    EXPECT_STREQ("third", map.GetLabel(CellsOfText(text).data()));
  }
}

TEST(VeryLongValues, AreDeliveredWithAllTheirCells) {
  QUAV_ValueLabelMap map(kVeryLong);
  map.AddPair(std::string("a"), "a");
  map.AddPair(std::string("b"), "b");
  const OBS* first = nullptr;
  const OBS* second = nullptr;
  const char* label = nullptr;
  map.Reset();
  map.GetNextPair(first, label);
  map.GetNextPair(second, label);
  const std::vector<OBS> a = CellsOfText("a");
  const std::vector<OBS> b = CellsOfText("b");
  EXPECT_TRUE(std::equal(a.begin(), a.end(), first)) << "the first pointer still holds";
  EXPECT_TRUE(std::equal(b.begin(), b.end(), second));
}

TEST(VeryLongValues, AreOrderedAsTheirWholeCells) {
  std::vector<ValueLabel> whole;
  QUAV_ValueLabelMap map(kVeryLong);
  for (const std::string& text :
       {std::string("b"), std::string("a"), std::string(900, 'a'), "a" + std::string(400, '!'), std::string(),
        "a       " + std::string(8, '\1'), "b" + std::string(800, '~')}) {
    whole.push_back({CellsOfText(text), text});
    map.AddPair(text, text);
  }
  std::ranges::sort(whole, [](const ValueLabel& a, const ValueLabel& b) {
    return std::ranges::lexicographical_compare(a.value, b.value, {}, CellNumber, CellNumber);
  });
  const OBS* value = nullptr;
  const char* label = nullptr;
  map.Reset();
  for (const ValueLabel& pair : whole) {
    ASSERT_EQ(1, map.GetNextPair(value, label));
    EXPECT_EQ(pair.label, label);
  }
}

}  // namespace
}  // namespace valuelabelmap_test
