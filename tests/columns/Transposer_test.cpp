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

// Cells that all differ.
std::vector<OBS> Cells(std::size_t count) {
  std::vector<OBS> cells(count);
  for (std::size_t i = 0; i < count; ++i) cells[i].bits = i << 32 | ~i % 0xFFFF;
  return cells;
}

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
        std::array<std::array<OBS, kMostRow + kMostCases + 10>, kStripWidth> columns;
        std::array<OBS*, kStripWidth> targets;
        const unsigned wanted = count % 2 == 0 ? 0xFF : static_cast<unsigned>(random());
        for (std::size_t c = 0; c < kStripWidth; ++c) {
          columns[c].fill(kUntouched);
          targets[c] = (wanted >> c & 1) != 0 ? columns[c].data() : nullptr;
        }
        GetParam()(cells.data(), caseSize, row, count, targets.data());
        for (std::size_t c = 0; c < kStripWidth; ++c) {
          for (std::size_t k = 0; k < columns[c].size(); ++k) {
            const int r = static_cast<int>(k) - row;
            const bool isMoved = targets[c] != nullptr && 0 <= r && r < count;
            ASSERT_EQ(isMoved ? cells[static_cast<std::size_t>(r) * caseSize + c].bits : kUntouched.bits,
                      columns[c][k].bits)
                << "case size " << caseSize << ", " << count << " cases, row " << row << ", cell " << c;
          }
        }
      }
    }
  }
}

// Moves the cells to columns one by one.
void ExpectMoved(const std::vector<std::size_t>& cells, std::size_t caseSize, int row, int count) {
  const std::vector<OBS> cases = Cells(static_cast<std::size_t>(count) * caseSize + Transposer::kCellsAfter);
  std::vector<std::vector<OBS>> columns(cells.size(), std::vector<OBS>(static_cast<std::size_t>(row + count + 8)));
  std::vector<OBS*> targets;
  for (std::vector<OBS>& column : columns) targets.push_back(column.data());
  std::vector<std::vector<OBS>> expected = columns;
  for (std::size_t k = 0; k < cells.size(); ++k)
    for (int r = 0; r < count; ++r)
      expected[k][static_cast<std::size_t>(row + r)] = cases[static_cast<std::size_t>(r) * caseSize + cells[k]];
  Transposer(cells, caseSize).Move(cases.data(), row, count, targets.data());
  ASSERT_EQ(expected, columns) << cells.size() << " cells of " << caseSize << ", " << count << " cases from " << row;
}

TEST(Transposer, MovesAllCellsOfACase) {
  for (std::size_t size = 1; size <= 40; ++size) {
    std::vector<std::size_t> cells(size);
    std::iota(cells.begin(), cells.end(), std::size_t{0});
    for (const int count : {0, 1, 7, 8, 9, 16, 23}) ExpectMoved(cells, size, 3, count);
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
