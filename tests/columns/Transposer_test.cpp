#include "Columns/batches/Transposer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <numeric>
#include <random>
#include <vector>

#include "Columns/batches/CellStrip.h"

namespace Transposer_test {
namespace {

constexpr OBS kUntouched{0xABABABABABABABAB};

constexpr std::uint8_t kUntouchedBits = 0xA5;

// Cells of which some are system-missing. The others all differ.
std::vector<OBS> Cells(std::size_t count) {
  std::vector<OBS> cells(count);
  for (std::size_t i = 0; i < count; ++i) cells[i].bits = i << 32 | ~i % 0xFFFF;
  for (std::size_t i = 0; i < count; i += 1 + i * i % 7) cells[i] = kSystemMissingCell;
  return cells;
}

// A column, and its target.
class Column {
 public:
  explicit Column(std::size_t rows) : m_cells(rows, kUntouched), m_present(rows / 8 + 1, kUntouchedBits) {}

  CellTarget Target(bool withPresence) { return {m_cells.data(), withPresence ? m_present.data() : nullptr}; }
  // Does what is expected of a mover, cell by cell.
  void Set(std::size_t row, OBS cell, bool withPresence) {
    m_cells[row] = cell;
    if (!withPresence) return;
    const unsigned before = row % 8 == 0 ? 0 : m_present[row / 8];
    m_present[row / 8] = static_cast<std::uint8_t>(before | (cell == kSystemMissingCell ? 0U : 1U) << row % 8);
  }
  bool operator==(const Column&) const = default;

 private:
  std::vector<OBS> m_cells;
  std::vector<std::uint8_t> m_present;
};

class EveryStripMover : public testing::TestWithParam<StripMover*> {};
INSTANTIATE_TEST_SUITE_P(Versions, EveryStripMover, testing::ValuesIn(StripMovers()));

TEST_P(EveryStripMover, MovesAnyNumberOfCasesToAnyRow) {
  constexpr int kMostCases = 35;
  constexpr int kMostRow = 9;
  std::mt19937 random(5);
  for (const std::size_t caseSize : {8u, 9u, 13u, 50u}) {
    for (int count = 0; count <= kMostCases; ++count) {
      const std::vector<OBS> cells = Cells(static_cast<std::size_t>(count) * caseSize + kStripWidth);
      for (int row = 0; row <= kMostRow; ++row) {
        std::vector<Column> moved(kStripWidth, Column(kMostRow + kMostCases + 10));
        std::vector<Column> expected = moved;
        std::array<CellTarget, kStripWidth> targets{};
        const unsigned wanted = count % 2 == 0 ? 0xFF : static_cast<unsigned>(random());
        const auto marked = static_cast<unsigned>(random());
        for (std::size_t c = 0; c < kStripWidth; ++c) {
          if ((wanted >> c & 1) == 0) continue;
          const bool isMarked = (marked >> c & 1) != 0;
          targets[c] = moved[c].Target(isMarked);
          for (std::size_t r = 0; r < static_cast<std::size_t>(count); ++r)
            expected[c].Set(static_cast<std::size_t>(row) + r, cells[r * caseSize + c], isMarked);
        }
        GetParam()(cells.data(), caseSize, row, count, targets.data());
        for (std::size_t c = 0; c < kStripWidth; ++c)
          ASSERT_TRUE(expected[c] == moved[c])
              << "case size " << caseSize << ", " << count << " cases, row " << row << ", cell " << c;
      }
    }
  }
}

// Moves the cells to columns one by one.
void ExpectMoved(const std::vector<std::size_t>& cells, std::size_t caseSize, int row, int count) {
  const std::vector<OBS> cases = Cells(static_cast<std::size_t>(count) * caseSize + Transposer::kCellsAfter);
  std::vector<Column> moved(cells.size(), Column(static_cast<std::size_t>(row + count + 8)));
  std::vector<Column> expected = moved;
  std::vector<CellTarget> targets;
  for (std::size_t k = 0; k < cells.size(); ++k) {
    targets.push_back(moved[k].Target(k % 3 != 0));
    for (std::size_t r = 0; r < static_cast<std::size_t>(count); ++r)
      expected[k].Set(static_cast<std::size_t>(row) + r, cases[r * caseSize + cells[k]], k % 3 != 0);
  }
  Transposer transposer(cells, caseSize);
  transposer.Aim(targets.data());
  transposer.Move(cases.data(), row, count);
  ASSERT_TRUE(expected == moved) << cells.size() << " cells of " << caseSize << ", " << count << " cases from " << row;
}

TEST(Transposer, MovesAllCellsOfACase) {
  for (std::size_t size = 1; size <= 40; ++size) {
    std::vector<std::size_t> cells(size);
    std::iota(cells.begin(), cells.end(), std::size_t{0});
    for (const int count : {0, 1, 7, 8, 9, 16, 23})
      for (const int row : {0, 3, 8}) ExpectMoved(cells, size, row, count);
  }
}

TEST(Transposer, MovesAnyCellsInAnyOrderAndAsOftenAsTheyAreChosen) {
  std::mt19937 random(11);
  for (int draw = 0; draw < 500; ++draw) {
    const std::size_t size = 1 + random() % 40;
    std::vector<std::size_t> cells(random() % 50);
    for (std::size_t& cell : cells) cell = random() % size;
    ExpectMoved(cells, size, static_cast<int>(random() % 10), static_cast<int>(random() % 40));
  }
}

}  // namespace
}  // namespace Transposer_test
