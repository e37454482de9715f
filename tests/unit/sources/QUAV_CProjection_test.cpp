#include "datasrc/QUAV_CProjection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/MemorySource.h"
#include "tests/support/Reading.h"

namespace QUAV_CProjection_test {
namespace {

using testing::ElementsAre;

constexpr int kLong = 600;  // bytes

class CProjection : public testing::Test {
 protected:
  CProjection() {
    source.AddNumber("A");
    source.AddText("B", 12);
    source.AddNumber("C");
    source.AddText("D", kLong);
    source.AddCase({1.0, "one", 10.0, std::string(kLong, 'x')});
    source.AddCase({2.0, "two", 20.0, std::string(kLong, 'y')});
  }

  QUAV_CProjection Project(const std::vector<unsigned int>& columns) const {
    return {source, columns.data(), static_cast<unsigned int>(columns.size())};
  }

  MemorySource source;
};

std::vector<std::string> Names(const QUAV_DataSource& projection) {
  std::vector<std::string> names;
  for (int column = 0; column < static_cast<int>(projection.ColumnCount()); ++column)
    names.emplace_back(projection.GetVariable(column).GetName());
  return names;
}

TEST_F(CProjection, HasTheListedVariablesInListOrder) {
  const QUAV_CProjection projection = Project({3, 0});
  EXPECT_THAT(Names(projection), ElementsAre("D", "A"));
  EXPECT_EQ(kLong / 8 + 1u, projection.GetObsAreaSize());
  EXPECT_EQ(source.GetVariable(3).GetID(), std::as_const(projection).GetVariable(0).GetID());
}

TEST_F(CProjection, ReturnsTheCellsOfItsVariables) {
  const QUAV_CProjection projection = Project({2, 1});
  EXPECT_THAT(AllCells(projection), ElementsAre(CellsOf(FileCase{10.0, std::string("one         ")}),
                                                CellsOf(FileCase{20.0, std::string("two         ")})));
}

TEST_F(CProjection, ReturnsVeryLongStringsWhole) {
  const QUAV_CProjection projection = Project({3, 2});
  EXPECT_THAT(AllCells(projection), ElementsAre(CellsOf(FileCase{std::string(kLong, 'x'), 10.0}),
                                                CellsOf(FileCase{std::string(kLong, 'y'), 20.0})));
}

TEST_F(CProjection, VariableListedTwiceFillsOnlyItsLastPlace) {
  const QUAV_CProjection projection = Project({0, 2, 0});
  EXPECT_THAT(Names(projection), ElementsAre("A", "C", "A"));
  const auto cells = AllCells(projection);
  ASSERT_EQ(2u, cells.size());
  EXPECT_THAT(cells[1], ElementsAre(kSystemMissingCell, NumberCell(20.0), NumberCell(2.0)));
}

TEST_F(CProjection, ProjectionOfNoVariablesHasCasesWithoutCells) {
  const QUAV_CProjection projection = Project({});
  EXPECT_EQ(0u, projection.ColumnCount());
  EXPECT_EQ(0u, projection.GetObsAreaSize());
  const std::unique_ptr<QUAV_InputCaseIterator> cases(projection.MakeIterator(nullptr));
  EXPECT_EQ(1, cases->Next());
}

TEST_F(CProjection, HasItsParentAndTheParentsRowCount) {
  const QUAV_CProjection projection = Project({0});
  EXPECT_EQ(&source, projection.GetParentSource());
  EXPECT_EQ(2, projection.RowCount());
}

TEST_F(CProjection, RowCountIsUnknownWithoutAParent) {
  QUAV_CProjection projection = Project({0});
  projection.SetParentSource(nullptr);
  EXPECT_EQ(-1, projection.RowCount());
}

TEST_F(CProjection, HasNoCasesWithoutAParent) {
  QUAV_CProjection projection = Project({0});
  projection.SetParentSource(nullptr);
  const std::unique_ptr<QUAV_InputCaseIterator> cases(projection.MakeIterator(nullptr));
  EXPECT_EQ(0, cases->IsSeekOK());
  EXPECT_EQ(0, cases->Seek(1));
  EXPECT_EQ(0, cases->Tell());
  EXPECT_EQ(0, cases->Next());
  cases->SetErrorMonitor(nullptr);
}

TEST_F(CProjection, KeepsWeightFilterAndSplitOfItsVariables) {
  source.SetWeightVar(2);
  source.SetFilterVar(0);
  source.SetSplit(1, std::array{1}.data(), true);
  const QUAV_CProjection projection = Project({2, 1, 0});
  EXPECT_EQ(0, projection.GetWeightVarIndex());
  EXPECT_EQ(2, projection.GetFilterVarIndex());
  ASSERT_EQ(1u, projection.GetNSplitVars());
  EXPECT_EQ(1, projection.GetSplitVarIndex(0));
}

TEST_F(CProjection, LosesTheSplitOnlyWithoutASplitVariable) {
  source.SetSplit(1, std::array{1}.data(), true);
  EXPECT_EQ(1u, Project({1}).GetNSplitVars());
  EXPECT_EQ(0u, Project({0}).GetNSplitVars());
}

TEST_F(CProjection, HasNoWeightWithoutTheWeightVariable) {
  source.SetWeightVar(2);
  EXPECT_EQ(-1, Project({0}).GetWeightVarIndex());
}

TEST_F(CProjection, DoesNotChangeItsSource) {
  Project({3});
  EXPECT_THAT(Names(source), ElementsAre("A", "B", "C", "D"));
}

TEST(CProjectionByTargets, KeepsTheDictionaryAndMovesOneCellPerColumn) {
  MemorySource source;
  for (const char* name : {"A", "B", "C"}) source.AddNumber(name);
  source.AddCase({1.0, 2.0, 3.0});
  QUAV_CProjection projection(source, std::array{1, -1, 0}.data());
  EXPECT_THAT(Names(projection), ElementsAre("A", "B", "C"));
  projection.DeleteVariables(2, 2);
  EXPECT_THAT(AllCells(projection), ElementsAre(ElementsAre(NumberCell(3.0), NumberCell(1.0))));
}

// ---- Iterators ----

TEST_F(CProjection, PassesItsErrorMonitorToTheIteratorOfItsParent) {
  const QUAV_CProjection projection = Project({0});
  const std::unique_ptr<QUAV_InputCaseIterator> cases(projection.MakeIterator(nullptr));
  ASSERT_NE(nullptr, cases->GetParent());
  EXPECT_EQ(&source, cases->GetParent()->GetDataSource());
  ErrorMonitor monitor;
  cases->SetErrorMonitor(&monitor);
  EXPECT_EQ(&monitor, cases->GetParent()->GetErrorMonitor());
}

TEST_F(CProjection, SeekAndTellMatchTheParent) {
  const QUAV_CProjection projection = Project({0});
  const std::unique_ptr<QUAV_InputCaseIterator> cases(projection.MakeIterator(nullptr));
  EXPECT_EQ(1, cases->IsSeekOK());
  EXPECT_EQ(1, cases->Seek(1));
  EXPECT_EQ(1, cases->Tell());
  ASSERT_EQ(1, cases->Next());
  EXPECT_EQ(2.0, cases->GetNumericValue(0));
  EXPECT_EQ(2, cases->Tell());
  EXPECT_EQ(0, cases->Seek(3));
}

TEST_F(CProjection, KeepsTheBufferAtTheEndOfTheData) {
  const QUAV_CProjection projection = Project({0});
  OBS cell{};
  const std::unique_ptr<QUAV_InputCaseIterator> cases(projection.MakeIterator(&cell));
  while (cases->Next()) {
  }
  EXPECT_EQ(NumberCell(2.0), cell);
}

TEST_F(CProjection, CanBeProjectedAgain) {
  const QUAV_CProjection first = Project({3, 2, 0});
  const QUAV_CProjection second(first, std::array{2u, 1u}.data(), 2);
  EXPECT_THAT(Names(second), ElementsAre("A", "C"));
  EXPECT_THAT(AllCells(second), ElementsAre(CellsOf(FileCase{1.0, 10.0}), CellsOf(FileCase{2.0, 20.0})));
}

}  // namespace
}  // namespace QUAV_CProjection_test
