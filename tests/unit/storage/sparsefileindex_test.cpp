#include "storage/sparsefileindex.h"

#include <gtest/gtest.h>

#include <utility>

namespace sparsefileindex_test {
namespace {

struct Place {
  long long row;
  long position;
  bool operator==(const Place&) const = default;
};

void PrintTo(const Place& place, std::ostream* out) { *out << "row " << place.row << " at " << place.position; }

Place Found(const QUAV_SparseFileIndex& index, long long row) {
  Place place{-7, -7};
  index.GetPos(row, place.row, place.position);
  return place;
}

// Rows 10, 20, 30, ... at positions 0, 4096, 8192, ...
QUAV_SparseFileIndex WithRowsByTens(long count) {
  QUAV_SparseFileIndex index(1);
  for (long i = 0; i < count; ++i) index.Add(10 * (i + 1), 4096 * i);
  return index;
}

TEST(SparseFileIndex, FindsTheStartWhenEmpty) {
  const QUAV_SparseFileIndex index(1);
  EXPECT_EQ(0u, index.Size());
  EXPECT_EQ((Place{0, 0}), Found(index, 0));
  EXPECT_EQ((Place{0, 0}), Found(index, 1000));
}

TEST(SparseFileIndex, FindsTheStartForARowBeforeTheFirstItem) { EXPECT_EQ((Place{0, 0}), Found(WithRowsByTens(5), 9)); }

TEST(SparseFileIndex, FindsTheGreatestRowNotAboveTheRequestedOne) {
  const auto index = WithRowsByTens(5);
  EXPECT_EQ((Place{10, 0}), Found(index, 10));
  EXPECT_EQ((Place{10, 0}), Found(index, 19));
  EXPECT_EQ((Place{20, 4096}), Found(index, 20));
  EXPECT_EQ((Place{40, 3 * 4096}), Found(index, 49));
  EXPECT_EQ((Place{50, 4 * 4096}), Found(index, 50));
  EXPECT_EQ((Place{50, 4 * 4096}), Found(index, 1'000'000));
}

TEST(SparseFileIndex, ResultDoesNotDependOnEarlierLookUps) {
  const auto index = WithRowsByTens(20);
  for (long long before = 0; before <= 210; ++before) {
    for (long long row = 0; row <= 210; ++row) {
      Found(index, before);
      const long long item = row < 10 ? -1 : std::min(row / 10 - 1, 19LL);
      const Place expected = item < 0 ? Place{0, 0} : Place{10 * (item + 1), static_cast<long>(4096 * item)};
      ASSERT_EQ(expected, Found(index, row)) << "after row " << before;
    }
  }
}

TEST(SparseFileIndex, FindsItemsAddedSinceTheLastLookUp) {
  auto index = WithRowsByTens(2);
  EXPECT_EQ((Place{20, 4096}), Found(index, 100));
  index.Add(30, 2 * 4096);
  EXPECT_EQ((Place{30, 2 * 4096}), Found(index, 100));
}

TEST(SparseFileIndex, KeepsAFirstItemAtPosition0) {
  QUAV_SparseFileIndex index(1);
  index.Add(0, 0);
  EXPECT_EQ(1u, index.Size());
}

TEST(SparseFileIndex, IgnoresAPositionNotAboveTheLast) {
  QUAV_SparseFileIndex index(1);
  index.Add(0, 0);
  index.Add(5, 5000);
  index.Add(6, 5000);
  index.Add(3, 4999);
  EXPECT_EQ(2u, index.Size());
  EXPECT_EQ((Place{5, 5000}), Found(index, 100));
}

TEST(SparseFileIndex, IgnoresAPositionBelowALastOneWithoutAnItem) {
  QUAV_SparseFileIndex index(1);
  index.Add(0, 0);
  index.Add(1, 4000);  // less than a step away: not an item, but the last position
  index.Add(2, 3999);
  index.Add(3, 4096);
  EXPECT_EQ(2u, index.Size());
  EXPECT_EQ((Place{3, 4096}), Found(index, 3));
}

TEST(SparseFileIndex, MakesNoItemWithinAStepOfTheLast) {
  QUAV_SparseFileIndex index(1);
  for (long position = 0; position < 4096; position += 8) index.Add(position / 8, position);
  EXPECT_EQ(1u, index.Size());
  index.Add(512, 4096);
  EXPECT_EQ(2u, index.Size());
}

struct StepOfFactor {
  unsigned long n;
  long step;
};

TEST(SparseFileIndex, FirstStepFollowsFromTheSizeFactor) {
  for (const auto [n, step] : {StepOfFactor{1, 4096}, StepOfFactor{2, 2048}, StepOfFactor{3, 1365},
                               StepOfFactor{255, 16}, StepOfFactor{256, 16}, StepOfFactor{4096, 16}}) {
    QUAV_SparseFileIndex index(n);
    index.Add(0, 0);
    index.Add(1, step - 1);
    EXPECT_EQ(1u, index.Size()) << "n " << n;
    index.Add(2, step);
    EXPECT_EQ(2u, index.Size()) << "n " << n;
  }
}

TEST(SparseFileIndex, WidensItsStepToALeap) {
  QUAV_SparseFileIndex index(1);
  index.Add(0, 0);
  index.Add(100, 1'000'000);  // the step is 1000000 from here on
  index.Add(101, 1'999'999);
  EXPECT_EQ(2u, index.Size());
  index.Add(102, 2'000'000);
  EXPECT_EQ(3u, index.Size());
}

TEST(SparseFileIndex, DividesALeapByTheSizeFactor) {
  QUAV_SparseFileIndex index(4);
  index.Add(0, 0);
  index.Add(100, 40'000);  // the step is 10000 from here on
  index.Add(101, 49'999);
  EXPECT_EQ(2u, index.Size());
  index.Add(102, 50'000);
  EXPECT_EQ(3u, index.Size());
}

TEST(SparseFileIndex, ThinsForTheFirstTimeAt256Items) {
  auto index = WithRowsByTens(255);
  EXPECT_EQ(255u, index.Size());
  index.Add(2560, 255 * 4096);
  EXPECT_EQ(128u, index.Size());
}

TEST(SparseFileIndex, KeepsEveryOtherItemWhenItThins) {
  const auto index = WithRowsByTens(256);
  for (long i = 0; i < 254; ++i) {
    const long kept = i / 2 * 2;
    ASSERT_EQ((Place{10 * (kept + 1), 4096 * kept}), Found(index, 10 * (i + 1))) << "item " << i;
  }
}

TEST(SparseFileIndex, DoublesItsStepWhenItThins) {
  auto index = WithRowsByTens(256);
  index.Add(2570, 127L * 8192 + 8191);
  EXPECT_EQ(128u, index.Size());
  index.Add(2580, 128L * 8192);
  EXPECT_EQ(129u, index.Size());
}

TEST(SparseFileIndex, DoublesItsLimitWithEveryThinning) {
  QUAV_SparseFileIndex index(1);
  std::size_t most = 0;
  for (long i = 0; i < 4 * 1024; ++i) {
    index.Add(i, 4096 * i);
    most = std::max(most, index.Size());
  }
  // The limits: 256 items at a step of 4096, 512 at 8192, 1024 at 16384. The largest size is one below the limit that
  // is not reached.
  EXPECT_EQ(1023u, most);
  EXPECT_EQ(512u, index.Size());
}

TEST(SparseFileIndex, TreatsASizeFactorOf0As1) {
  QUAV_SparseFileIndex index(0);
  index.Add(0, 0);
  index.Add(1, 4095);
  EXPECT_EQ(1u, index.Size());
}

TEST(SparseFileIndex, MovesWithItsItems) {
  auto index = WithRowsByTens(3);
  const QUAV_SparseFileIndex moved = std::move(index);
  EXPECT_EQ(3u, moved.Size());
  EXPECT_EQ((Place{30, 2 * 4096}), Found(moved, 30));
}

// ---- Edges ----

// Has a row every 100 position units, and an edge every 10,000.
QUAV_SparseFileIndex WithEdges(long rows) {
  QUAV_SparseFileIndex index(1);
  index.KeepEdges(10'000);
  for (long row = 0; row < rows; ++row) index.Add(row, 70 + row * 100);
  return index;
}

TEST(SparseFileIndex, FindsAPositionAfterTheLastEdgeBeforeTheRow) {
  const auto index = WithEdges(1'000'000);
  for (long long row = 0; row < 1'000'000; row += 997) {
    const Place place = Found(index, row);
    const long position = 70 + static_cast<long>(row) * 100;
    EXPECT_LE(place.row, row);
    EXPECT_EQ(70 + place.row * 100, place.row == 0 ? 70 : place.position);
    EXPECT_GE(place.position, row < 100 ? 0 : position / 10'000 * 10'000) << row;
  }
}

TEST(SparseFileIndex, DoesNotCountEdgesAsItems) {
  QUAV_SparseFileIndex plain(1);
  for (long row = 0; row < 100'000; ++row) plain.Add(row, 70 + row * 100);
  EXPECT_EQ(plain.Size(), WithEdges(100'000).Size());
}

TEST(SparseFileIndex, KeepsEdgesFromTheFirstCallOn) {
  QUAV_SparseFileIndex index(1);
  for (long row = 0; row < 50; ++row) index.Add(row, row * 1'000);
  index.KeepEdges(10'000);
  index.KeepEdges(7);
  for (long row = 50; row < 100; ++row) index.Add(row, row * 1'000);
  EXPECT_EQ((Place{50, 50'000}), Found(index, 50));
  EXPECT_EQ((Place{90, 90'000}), Found(index, 90));
}

// ---- Rows that others have found ----

TEST(SparseFileIndex, FindsAKnownRowAndThoseAfterIt) {
  QUAV_SparseFileIndex index(1);
  index.Know(1'000'000, 5'000'003);
  EXPECT_EQ((Place{0, 0}), Found(index, 999'999));
  EXPECT_EQ((Place{1'000'000, 5'000'003}), Found(index, 1'000'000));
  EXPECT_EQ((Place{1'000'000, 5'000'003}), Found(index, 2'000'000));
  // The items after it are as dense as usual: no leap has set the step.
  for (long row = 1'000'000; row < 1'010'000; ++row) index.Add(row, 5'000'003 + (row - 1'000'000) * 5);
  const Place later = Found(index, 1'009'000);
  EXPECT_GT(later.row, 1'008'000);
  EXPECT_EQ(5'000'003 + (later.row - 1'000'000) * 5, later.position);
}

TEST(SparseFileIndex, TakesNoKnownRowBeforeThoseItHas) {
  auto index = WithEdges(1000);
  const auto items = index.Size();
  index.Know(500, 50'070);
  index.Know(999, 99'970);
  EXPECT_EQ(items, index.Size());
  index.Know(1000, 99'971);
  EXPECT_EQ(items + 1, index.Size());
}

}  // namespace
}  // namespace sparsefileindex_test
