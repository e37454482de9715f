#include "EncodingView.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <vector>

#include "tests/support/MemorySource.h"

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

TEST(EncodingPlan, OfNumbersOnlyIsOneCopier) { EXPECT_THAT(Plan({0, 0, 0}, kSameWidth), ElementsAre(Copier{0, 3, 0})); }

TEST(EncodingPlan, OfAnEmptyDictionaryIsEmpty) { EXPECT_THAT(Plan({}, kSameWidth), ElementsAre()); }

TEST(EncodingPlan, OfANumberBetweenStringsIsThreeCopiers) {
  EXPECT_THAT(Plan({0, 12, 0}, kSameWidth), ElementsAre(Copier{0, 1, 0}, Copier{1, 2, 12}, Copier{3, 1, 0}));
}

TEST(EncodingPlan, GivesEachStringACopierOfItsOwn) {
  EXPECT_THAT(Plan({8, 9}, kSameWidth), ElementsAre(Copier{0, 1, 8}, Copier{1, 2, 9}));
}

TEST(EncodingPlan, OfAWidthThatGrowsInsideItsCellKeepsTheCell) {
  EXPECT_THAT(Plan({1}, kThreeTimes), ElementsAre(Copier{0, 1, 1}));
}

TEST(EncodingPlan, OfAWidthThatGrowsBeyondItsCellMovesTheSourceBySourceCells) {
  EXPECT_THAT(Plan({8, 0}, kThreeTimes), ElementsAre(Copier{0, 3, 8}, Copier{1, 1, 0}));
}

TEST(EncodingPlan, OfAWidthThatCannotGrowSoFarEndsAtTheWidest) {
  EXPECT_THAT(Plan({11000}, kThreeTimes), ElementsAre(Copier{0, 4096, 11000}));
}

TEST(EncodingPlan, GoesOnBehindARunOfNumbers) {
  // Two strings of a cell each, then a run of three numbers from cell 2 on.
  EXPECT_EQ((Copier{5, 3, 8}), Plan({8, 8, 0, 0, 0, 8}, kThreeTimes).back());
}

}  // namespace
