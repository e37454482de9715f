#include "datasrc/QUAV_DSObs.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <numeric>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "tests/support/RowName.h"

namespace dsobs_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

QUAV_DSObs LayoutOf(const std::vector<int>& types) {
  QUAV_DSObs layout;
  for (int type : types) layout.AddVariable(type);
  return layout;
}

// Returns the first cell of each of `count` variables, then the total.
std::vector<int> FirstCells(const QUAV_DSObs& layout, int count) {
  std::vector<int> cells;
  for (int i = 0; i <= count; ++i) cells.push_back(layout.GetObsIndex(i));
  return cells;
}

// ---- The cells of a variable ----

struct CellCountRow {
  const char* name;
  int type;
  unsigned int cells;
};

void PrintTo(const CellCountRow& row, std::ostream* out) { *out << row.name; }

class DSObsCellCount : public testing::TestWithParam<CellCountRow> {};

TEST_P(DSObsCellCount, DependsOnTheType) {
  QUAV_DSObs layout;
  layout.AddVariable(GetParam().type);
  EXPECT_EQ(layout.TotalCells(), GetParam().cells);
  EXPECT_EQ(layout.LastCells(), GetParam().cells);
}

INSTANTIATE_TEST_SUITE_P(DSObs, DSObsCellCount,
                         testing::Values(CellCountRow{"Numeric", 0, 1}, CellCountRow{"Width1", 1, 1},
                                         CellCountRow{"Width8", 8, 1}, CellCountRow{"Width9", 9, 2},
                                         CellCountRow{"Width16", 16, 2}, CellCountRow{"Width17", 17, 3},
                                         CellCountRow{"Width255", 255, 32}, CellCountRow{"Width32767", 32767, 4096}),
                         kRowName);

// ---- Look-up ----

TEST(DSObs, IsEmptyByDefault) {
  const QUAV_DSObs layout;
  EXPECT_EQ(layout.TotalCells(), 0u);
  EXPECT_EQ(layout.LastCells(), 0u);
}

TEST(DSObs, VariableZeroOfAnEmptyLayoutYieldsZero) { EXPECT_EQ(QUAV_DSObs().GetObsIndex(0), 0); }

TEST(DSObs, VariableMinusOneYieldsMinusOne) {
  EXPECT_EQ(QUAV_DSObs().GetObsIndex(-1), -1);
  EXPECT_EQ(LayoutOf({0, 9}).GetObsIndex(-1), -1);
}

TEST(DSObs, OnePastTheLastVariableYieldsTheTotal) { EXPECT_EQ(LayoutOf({0, 9}).GetObsIndex(2), 3); }

TEST(DSObs, VariablesHaveNoGapsBetweenThem) {
  EXPECT_THAT(FirstCells(LayoutOf({0, 20, 8, 0}), 4), ElementsAre(0, 1, 4, 5, 6));
}

TEST(DSObsDeathTest, VariableBelowMinusOneAsserts) {
  EXPECT_DEATH(QUAV_DSObs().GetObsIndex(-2), HasSubstr("assertion failed: var_index >= -1\n"));
}

TEST(DSObsDeathTest, VariableTwoPastTheLastAsserts) {
  EXPECT_DEATH(LayoutOf({0}).GetObsIndex(2), HasSubstr("assertion failed: var_index <= lth\n"));
}

// ---- Insertion ----

TEST(DSObs, InsertingAtTheStartMovesAllOthers) {
  QUAV_DSObs layout = LayoutOf({0, 9});
  layout.InsertVariable(0, 17);
  EXPECT_THAT(FirstCells(layout, 3), ElementsAre(0, 3, 4, 6));
  EXPECT_EQ(layout.LastCells(), 2u);
}

TEST(DSObs, InsertingInTheMiddleMovesOnlyLaterVariables) {
  QUAV_DSObs layout = LayoutOf({0, 9});
  layout.InsertVariable(1, 17);
  EXPECT_THAT(FirstCells(layout, 3), ElementsAre(0, 1, 4, 6));
  EXPECT_EQ(layout.LastCells(), 2u);
}

TEST(DSObs, InsertingAtTheEndChangesLastCells) {
  QUAV_DSObs layout = LayoutOf({0, 9});
  layout.InsertVariable(2, 17);
  EXPECT_THAT(FirstCells(layout, 3), ElementsAre(0, 1, 3, 6));
  EXPECT_EQ(layout.LastCells(), 3u);
}

TEST(DSObs, InsertingPastTheEndInsertsAtTheEnd) {
  QUAV_DSObs layout = LayoutOf({0, 9});
  layout.InsertVariable(4000000000u, 17);
  EXPECT_THAT(FirstCells(layout, 3), ElementsAre(0, 1, 3, 6));
}

// ---- Change of type ----

TEST(DSObs, WideningFrom8To9MovesAllLaterVariablesByOne) {
  QUAV_DSObs layout = LayoutOf({8, 0, 0});
  layout.SetVariable(0, 8, 9);
  EXPECT_THAT(FirstCells(layout, 3), ElementsAre(0, 2, 3, 4));
  EXPECT_EQ(layout.LastCells(), 1u);
}

TEST(DSObs, WideningFrom1To8MovesNothing) {
  QUAV_DSObs layout = LayoutOf({1, 0, 0});
  layout.SetVariable(0, 1, 8);
  EXPECT_THAT(FirstCells(layout, 3), ElementsAre(0, 1, 2, 3));
}

TEST(DSObs, NarrowingMovesLaterVariablesBack) {
  QUAV_DSObs layout = LayoutOf({0, 255, 0});
  layout.SetVariable(1, 255, 0);
  EXPECT_THAT(FirstCells(layout, 3), ElementsAre(0, 1, 2, 3));
}

TEST(DSObs, NewTypeOfTheLastVariableChangesLastCells) {
  QUAV_DSObs layout = LayoutOf({0, 8});
  layout.SetVariable(1, 8, 24);
  EXPECT_THAT(FirstCells(layout, 2), ElementsAre(0, 1, 4));
  EXPECT_EQ(layout.LastCells(), 3u);
}

// ---- Deletion ----

TEST(DSObs, DeletingTheLastVariableChangesLastCells) {
  QUAV_DSObs layout = LayoutOf({0, 20, 9});
  layout.DeleteVariables(2, 2);
  EXPECT_THAT(FirstCells(layout, 2), ElementsAre(0, 1, 4));
  EXPECT_EQ(layout.LastCells(), 3u);
}

TEST(DSObs, DeletingAllVariablesLeavesAnEmptyLayout) {
  QUAV_DSObs layout = LayoutOf({0, 20, 9});
  layout.DeleteVariables(0, 2);
  EXPECT_EQ(layout.TotalCells(), 0u);
  EXPECT_EQ(layout.LastCells(), 0u);
  EXPECT_EQ(layout.GetObsIndex(0), 0);
}

TEST(DSObs, DeletingInTheMiddleMovesLaterVariablesDown) {
  QUAV_DSObs layout = LayoutOf({0, 20, 9, 0, 16});
  layout.DeleteVariables(1, 2);
  EXPECT_THAT(FirstCells(layout, 3), ElementsAre(0, 1, 2, 4));
  EXPECT_EQ(layout.LastCells(), 2u);
}

TEST(DSObs, DeletingAnEmptyRangeChangesNothing) {
  QUAV_DSObs layout = LayoutOf({0, 20, 9});
  layout.DeleteVariables(2, 1);
  layout.DeleteVariables(3, 2);
  EXPECT_THAT(FirstCells(layout, 3), ElementsAre(0, 1, 4, 6));
  EXPECT_EQ(layout.LastCells(), 2u);
}

TEST(DSObsDeathTest, DeletingPastTheEndAsserts) {
  QUAV_DSObs layout = LayoutOf({0, 0, 0});
  EXPECT_DEATH(layout.DeleteVariables(0, 3), HasSubstr("assertion failed: finish < columnCount\n"));
}

TEST(DSObsDeathTest, DeletingFromAnEmptyLayoutAsserts) {
  QUAV_DSObs layout;
  EXPECT_DEATH(layout.DeleteVariables(0, 0), HasSubstr("assertion failed: finish < columnCount\n"));
}

TEST(DSObsDeathTest, DeletingAReversedRangeAsserts) {
  QUAV_DSObs layout = LayoutOf({0, 0, 0});
  EXPECT_DEATH(layout.DeleteVariables(2, 0), HasSubstr("assertion failed: start <= finish + 1\n"));
}

// ---- Any sequence of changes ----

// The expected layout, computed from the types alone.
class Model {
 public:
  std::vector<int> types;

  std::vector<int> FirstCells() const {
    std::vector<int> cells{0};
    for (int type : types) cells.push_back(cells.back() + Cells(type));
    return cells;
  }
  unsigned int LastCells() const { return types.empty() ? 0 : static_cast<unsigned int>(Cells(types.back())); }

 private:
  static int Cells(int type) { return type <= 8 ? 1 : (type + 7) / 8; }
};

class DSObsRandomChanges : public testing::TestWithParam<unsigned int> {};

TEST_P(DSObsRandomChanges, AgreeWithTheModel) {
  std::mt19937 random(GetParam());
  const auto below = [&random](std::size_t end) {
    return std::uniform_int_distribution<unsigned int>(0, static_cast<unsigned int>(end) - 1)(random);
  };
  const auto anyType = [&] { return static_cast<int>(below(2) == 0 ? below(30) : below(MAX_STRING_TYPE + 1)); };

  QUAV_DSObs layout;
  Model model;
  for (int step = 0; step < 400; ++step) {
    const unsigned int kind = model.types.empty() ? 0 : below(8);
    if (kind < 4) {
      const unsigned int index = below(model.types.size() + 1);
      const int type = anyType();
      layout.InsertVariable(index, type);
      model.types.insert(model.types.begin() + index, type);
    } else if (kind < 6) {
      const unsigned int index = below(model.types.size());
      const int type = anyType();
      layout.SetVariable(index, model.types[index], type);
      model.types[index] = type;
    } else {
      const unsigned int start = below(model.types.size());
      const unsigned int finish = start + below(std::min<std::size_t>(model.types.size() - start, 4));
      layout.DeleteVariables(start, finish);
      model.types.erase(model.types.begin() + start, model.types.begin() + finish + 1);
    }
    ASSERT_EQ(FirstCells(layout, static_cast<int>(model.types.size())), model.FirstCells())
        << "seed " << GetParam() << ", step " << step;
    ASSERT_EQ(layout.TotalCells(), static_cast<unsigned int>(model.FirstCells().back()))
        << "seed " << GetParam() << ", step " << step;
    ASSERT_EQ(layout.LastCells(), model.LastCells()) << "seed " << GetParam() << ", step " << step;
  }
}

INSTANTIATE_TEST_SUITE_P(DSObs, DSObsRandomChanges, testing::Range(1u, 21u));

}  // namespace
}  // namespace dsobs_test
