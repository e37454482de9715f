#include "datasrc/ObsProjector.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <limits>
#include <numeric>
#include <random>
#include <vector>

#include "tests/support/MemorySource.h"

namespace ObsProjector_test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Segment = ObsProjector::Segment;

ObsProjector FromTargets(const std::vector<int>& targetIndex) {
  ObsProjector projector;
  projector.FromTargetIndexes(targetIndex.size(), targetIndex.data());
  return projector;
}

ObsProjector FromSources(const std::vector<int>& sourceIndex) {
  ObsProjector projector;
  projector.FromSourceIndexes(sourceIndex.size(), sourceIndex.data());
  return projector;
}

// Returns cells whose bits are consecutive numbers from `first` on.
std::vector<OBS> NumberedCells(std::size_t count, std::uint64_t first = 0) {
  std::vector<OBS> cells(count);
  for (std::size_t i = 0; i < count; ++i) cells[i].bits = first + i;
  return cells;
}

constexpr OBS kUntouched{99};

std::vector<OBS> Copied(const ObsProjector& projector, const std::vector<OBS>& from, std::size_t size) {
  std::vector<OBS> to(size, kUntouched);
  projector.Copy(from.data(), to.data());
  return to;
}

// ---- Segments ----

TEST(ObsProjectorSegments, UnmovedCellsAreOneSegment) {
  EXPECT_THAT(FromTargets({0, 1, 2, 3}).Segments(), ElementsAre(Segment{0, 32, 0}));
}

TEST(ObsProjectorSegments, SwappedHalvesAreTwoSegments) {
  EXPECT_THAT(FromTargets({2, 3, 0, 1}).Segments(), ElementsAre(Segment{16, 16, 0}, Segment{0, 16, 0}));
}

TEST(ObsProjectorSegments, DroppedFirstCellMakesAnEmptyFirstSegment) {
  const ObsProjector projector = FromTargets({-1, 0, -1, 1});
  const auto segments = projector.Segments();
  ASSERT_EQ(3u, segments.size());
  EXPECT_EQ(0u, segments[0].length);
  EXPECT_EQ(8u, segments[0].skip);
  EXPECT_EQ((Segment{0, 8, 8}), segments[1]);
  EXPECT_EQ((Segment{8, 8, 0}), segments[2]);
}

TEST(ObsProjectorSegments, DroppedCellsAfterARunAreItsSkip) {
  EXPECT_THAT(FromTargets({0, -1, -1}).Segments(), ElementsAre(Segment{0, 8, 16}));
}

TEST(ObsProjectorSegments, EmptyListHasNone) {
  EXPECT_THAT(FromTargets({}).Segments(), IsEmpty());
  EXPECT_THAT(FromSources({}).Segments(), IsEmpty());
  EXPECT_THAT(ObsProjector().Segments(), IsEmpty());
}

TEST(ObsProjectorSegments, SecondListReplacesTheFirst) {
  ObsProjector projector = FromTargets({2, 3, 0, 1});
  projector.FromTargetIndexes(1, std::array{0}.data());
  EXPECT_THAT(projector.Segments(), ElementsAre(Segment{0, 8, 0}));
  projector.FromTargetIndexes(0, nullptr);
  EXPECT_THAT(projector.Segments(), IsEmpty());
}

TEST(ObsProjectorSegments, SourceIndexesGiveTheSegmentsOfTheInverseList) {
  EXPECT_THAT(FromSources({1, 3}).Segments(),
              ElementsAre(testing::Field(&Segment::skip, 8), Segment{0, 8, 8}, Segment{8, 8, 0}));
}

TEST(ObsProjectorSegments, SourceIndexesEndAfterTheLastWantedCell) {
  EXPECT_THAT(FromSources({0}).Segments(), ElementsAre(Segment{0, 8, 0}));
}

TEST(ObsProjectorSegments, SourceIndexesWithoutACellHaveNone) {
  EXPECT_THAT(FromSources({-1, -1}).Segments(), IsEmpty());
}

// A list of all cells up to this one would take 8 GB.
TEST(ObsProjectorSegments, SourceCellMayBeTheGreatestNumber) {
  constexpr int kMost = std::numeric_limits<int>::max();
  const std::uint64_t before = std::uint64_t{kMost - 1} * 8;
  EXPECT_THAT(FromSources({kMost, kMost - 1}).Segments(),
              ElementsAre(Segment{0, 0, before}, Segment{8, 8, 0}, Segment{0, 8, 0}));
}

TEST(ObsProjectorSegments, TargetCellMayBeTheGreatestNumber) {
  constexpr int kMost = std::numeric_limits<int>::max();
  const std::uint64_t offset = std::uint64_t{kMost} * 8;
  EXPECT_THAT(FromTargets({kMost, 0}).Segments(), ElementsAre(Segment{offset, 8, 0}, Segment{0, 8, 0}));
}

TEST(ObsProjectorSegments, RepeatedSourceCellGoesToItsLastTarget) {
  EXPECT_THAT(FromSources({0, 0, 0}).Segments(), ElementsAre(Segment{16, 8, 0}));
}

TEST(ObsProjectorSegments, LongStringIsOneSegment) {
  MemorySource source;
  source.AddNumber("A");
  source.AddText("B", 100);
  source.AddNumber("C");
  ObsProjector projector;
  projector.FromSourceIndexes(1, std::array{1u}.data(), source);
  ASSERT_EQ(2u, projector.Segments().size());
  EXPECT_EQ(0u, projector.Segments()[0].length);
  EXPECT_EQ((Segment{0, 104, 0}), projector.Segments()[1]);
}

TEST(ObsProjectorSegments, VariableIndexesCoverAllCellsOfEachVariable) {
  MemorySource source;
  source.AddText("A", 9);
  source.AddNumber("B");
  source.AddText("C", 8);
  ObsProjector projector;
  projector.FromSourceIndexes(2, std::array{2u, 0u}.data(), source);
  EXPECT_THAT(projector.Segments(), ElementsAre(Segment{8, 16, 8}, Segment{0, 8, 0}));
}

// ---- Copies ----

TEST(ObsProjectorCopy, MovesEachCellToItsTarget) {
  const auto cells = NumberedCells(4);
  EXPECT_THAT(Copied(FromTargets({2, 3, 0, 1}), cells, 4), ElementsAre(cells[2], cells[3], cells[0], cells[1]));
}

TEST(ObsProjectorCopy, SkipsDroppedCells) {
  const auto cells = NumberedCells(4);
  EXPECT_THAT(Copied(FromTargets({-1, 0, -1, 1}), cells, 2), ElementsAre(cells[1], cells[3]));
}

TEST(ObsProjectorCopy, KeepsTargetCellsWithoutASource) {
  const auto cells = NumberedCells(2);
  EXPECT_THAT(Copied(FromSources({1, -1, 0}), cells, 3), ElementsAre(cells[1], kUntouched, cells[0]));
}

TEST(ObsProjectorCopy, CopiesARepeatedSourceCellToItsLastTargetOnly) {
  const auto cells = NumberedCells(1);
  EXPECT_THAT(Copied(FromSources({0, 0}), cells, 2), ElementsAre(kUntouched, cells[0]));
}

TEST(ObsProjectorCopy, EmptyProjectorCopiesNothing) {
  EXPECT_THAT(Copied(ObsProjector(), NumberedCells(1), 1), ElementsAre(kUntouched));
}

TEST(ObsProjectorInverseCopy, KeepsSourceCellsThatWereDropped) {
  const auto projected = NumberedCells(2);
  std::vector<OBS> source(4, kUntouched);
  FromTargets({-1, 0, -1, 1}).InverseCopy(projected.data(), source.data());
  EXPECT_THAT(source, ElementsAre(kUntouched, projected[0], kUntouched, projected[1]));
}

TEST(ObsProjectorInverseCopy, InvertsCopyForAnyPermutation) {
  std::mt19937 random(20);
  for (std::size_t size = 1; size <= 40; ++size) {
    std::vector<int> targetIndex(size);
    std::iota(targetIndex.begin(), targetIndex.end(), 0);
    std::shuffle(targetIndex.begin(), targetIndex.end(), random);
    const ObsProjector projector = FromTargets(targetIndex);
    const auto cells = NumberedCells(size, 1000);
    const auto projected = Copied(projector, cells, size);
    for (std::size_t i = 0; i < size; ++i) EXPECT_EQ(cells[i], projected[static_cast<std::size_t>(targetIndex[i])]);
    std::vector<OBS> back(size, kUntouched);
    projector.InverseCopy(projected.data(), back.data());
    EXPECT_EQ(cells, back);
  }
}

// ---- Mistakes of the caller ----

TEST(ObsProjectorDeathTest, NullListAsserts) {
  ObsProjector projector;
  MemorySource source;
  EXPECT_DEATH(projector.FromTargetIndexes(1, nullptr), "length==0 \\|\\| targetIndex");
  EXPECT_DEATH(projector.FromSourceIndexes(1, nullptr), "length==0 \\|\\| sourceIndex");
  EXPECT_DEATH(projector.FromSourceIndexes(1, nullptr, source), "length==0 \\|\\| sourceIndex");
}

TEST(ObsProjectorDeathTest, TargetBelowMinusOneAsserts) {
  EXPECT_DEATH(FromTargets({0, -2}), "targetIndex\\[i\\] >= -1");
  EXPECT_DEATH(FromTargets({std::numeric_limits<int>::min()}), "targetIndex\\[i\\] >= -1");
}

TEST(ObsProjectorDeathTest, NullCaseAsserts) {
  OBS cell{};
  const ObsProjector projector;
  EXPECT_DEATH(projector.Copy(nullptr, &cell), "from && to");
  EXPECT_DEATH(projector.Copy(&cell, nullptr), "from && to");
  EXPECT_DEATH(projector.InverseCopy(nullptr, &cell), "from && to");
  EXPECT_DEATH(projector.InverseCopy(&cell, nullptr), "from && to");
}

}  // namespace
}  // namespace ObsProjector_test
