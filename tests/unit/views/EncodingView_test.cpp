#include "views/EncodingView.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "tests/support/MemorySource.h"
#include "tests/support/Reading.h"

namespace EncodingView_test {
namespace {

using testing::ElementsAre;
using Copier = EncodingViewData::Copier;

constexpr EncodingDirection kSameWidth{QUAVMBU8ToCodePage, QUAVMB8toCodePage, [](int width) { return width; }};
constexpr EncodingDirection kThreeTimes{QUAVMBCodePageToU8, QUAVMBCodePageto8,
                                        [](int width) { return std::min(3 * width, MAX_STRING_TYPE); }};

std::vector<Copier> Plan(const std::vector<int>& types, const EncodingDirection& direction) {
  MemorySource source;
  for (const int type : types) source.MakeVariable(type, nullptr).SetName("V");
  EncodingViewData data("windows-1252");
  ConvertDictionary(source, data, direction, nullptr);
  return data._copiers;
}

TEST(EncodingPlan, NumbersAreOneCopier) { EXPECT_THAT(Plan({0, 0, 0}, kSameWidth), ElementsAre(Copier{0, 3, 0})); }

TEST(EncodingPlan, EmptyDictionaryHasNoCopier) { EXPECT_THAT(Plan({}, kSameWidth), ElementsAre()); }

TEST(EncodingPlan, StringBetweenNumbersMakesThreeCopiers) {
  EXPECT_THAT(Plan({0, 12, 0}, kSameWidth), ElementsAre(Copier{0, 1, 0}, Copier{1, 2, 12}, Copier{3, 1, 0}));
}

TEST(EncodingPlan, EachStringHasItsOwnCopier) {
  EXPECT_THAT(Plan({8, 9}, kSameWidth), ElementsAre(Copier{0, 1, 8}, Copier{1, 2, 9}));
}

TEST(EncodingPlan, StringThatGrowsWithinItsCellKeepsOneCell) {
  EXPECT_THAT(Plan({1}, kThreeTimes), ElementsAre(Copier{0, 1, 1}));
}

TEST(EncodingPlan, StringThatGrowsPastItsCellAdvancesTheSourceByItsOwnCells) {
  EXPECT_THAT(Plan({8, 0}, kThreeTimes), ElementsAre(Copier{0, 3, 8}, Copier{1, 1, 0}));
}

TEST(EncodingPlan, GrowthIsLimitedToTheWidestString) {
  EXPECT_THAT(Plan({11000}, kThreeTimes), ElementsAre(Copier{0, 4096, 11000}));
}

TEST(EncodingPlan, ContinuesAfterARunOfNumbers) {
  // Two strings with one cell each, then a run of three numbers from cell 2 on.
  EXPECT_EQ((Copier{5, 3, 8}), Plan({8, 8, 0, 0, 0, 8}, kThreeTimes).back());
}

// ---- Cases ----

// Returns the cells of a string of the view, made only by the conversion of its field.
std::vector<OBS> Converted(const EncodingDirection& direction, const char* encoding, const std::vector<OBS>& cells,
                           int width) {
  const QUAVMBConverterPtr converter(QUAVMBConverterNew_A(encoding));
  std::vector<OBS> field(CellCount(direction.viewWidth(width)), kBlankCell);
  std::string text(field.size() * sizeof(OBS), '\0');
  const int length = direction.convertField(converter.get(), text.data(), static_cast<int>(text.size()),
                                            CellText(cells.data()), width, nullptr);
  std::copy_n(text.data(), length, CellText(field.data()));
  return field;
}

// Returns text of the width with `other` in one place. The rest of its last cell holds bytes that are not part of it.
std::vector<OBS> TextWith(char other, int place, int width) {
  std::vector<OBS> cells(CellCount(width));
  char* const text = CellText(cells.data());
  for (int i = 0; i < width; ++i) text[i] = static_cast<char>(' ' + i % ('~' - ' ' + 1));
  std::fill(text + width, text + FieldSize(width), '\xFF');
  text[place] = other;
  return cells;
}

void ExpectConvertedFields(const EncodingDirection& direction, const char* encoding, int width) {
  MemorySource source;
  source.AddText("S", width);
  for (const char other : {'a', '\0', '\x1B', '\x7F', '\xE4'})
    for (int place = 0; place < width; ++place) source.AddCells(TextWith(other, place, width));
  MemorySource view(&source);
  EncodingViewData data(encoding);
  ConvertDictionary(view, data, direction, nullptr);
  EncodingViewIterator cases(view, data, direction, nullptr);
  for (const std::vector<OBS>& cells : AllCells(source)) {
    ASSERT_EQ(1, cases.Next());
    EXPECT_EQ(Converted(direction, encoding, cells, width), PresentCells(cases)) << encoding << ", width " << width;
  }
}

// Plain text is copied cell by cell; this must give the same bytes as a conversion.
TEST(EncodingViewIterator, ReturnsTheConvertedBytesForAnyWidth) {
  for (const char* encoding : {"windows-1252", "Shift_JIS", "IBM037"}) {
    for (int width = 1; width <= 26; ++width) {
      ExpectConvertedFields(kThreeTimes, encoding, width);
      ExpectConvertedFields(kSameWidth, encoding, width);
    }
  }
}

}  // namespace
}  // namespace EncodingView_test
