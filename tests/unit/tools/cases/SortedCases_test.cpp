#include "tools/cases/SortedCases.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "datasrc/SystemFileDataSource.h"

namespace SortedCases_test {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

struct Row {
  double number;
  std::string text;
  int place;  // in the input

  bool operator==(const Row& other) const {
    return NumberCell(number) == NumberCell(other.number) && text == other.text && place == other.place;
  }
};

const double kMissing = CellNumber(kSystemMissingCell);

class Rows final : public tool::CaseReader {
 public:
  explicit Rows(const std::vector<Row>& rows) : m_rows(rows) {}
  bool Next() override {
    if (m_next == m_rows.size()) return false;
    const Row& row = m_rows[m_next++];
    m_cells[0] = NumberCell(row.number);
    std::fill_n(m_cells.begin() + 1, 2, kBlankCell);
    row.text.copy(CellText(&m_cells[1]), 10);
    m_cells[3] = NumberCell(row.place);
    return true;
  }
  const OBS* Cells() const override { return m_cells.data(); }

 private:
  const std::vector<Row>& m_rows;
  std::size_t m_next = 0;
  std::vector<OBS> m_cells = std::vector<OBS>(4);
};

Row RowOf(const OBS* cells) {
  std::string text(CellText(cells + 1), 10);
  text.resize(text.find_last_not_of(' ') + 1);
  return {CellNumber(cells[0]), text, static_cast<int>(CellNumber(cells[3]))};
}

class SortedCases : public testing::Test {
 protected:
  SortedCases() {
    for (const int type : {0, 10, 0}) m_dictionary.MakeVariable(QUAV_Variable(type), nullptr);
  }

  std::vector<Row> Sorted(const std::vector<Row>& rows, const std::vector<tool::SortColumn>& columns,
                          std::size_t memory) {
    tool::SortedCases sorted(std::make_unique<Rows>(rows), m_dictionary, columns, memory);
    EXPECT_EQ(static_cast<long long>(rows.size()), sorted.Count());
    std::vector<Row> result;
    while (sorted.Next()) result.push_back(RowOf(sorted.Cells()));
    if (!result.empty()) {
      EXPECT_EQ(result.front(), RowOf(sorted.FirstCase().data()));
      EXPECT_EQ(result.back(), RowOf(sorted.LastCase().data()));
    }
    return result;
  }

  SystemFileDataSource m_dictionary;
};

constexpr std::size_t kMuch = 1'000'000;

TEST_F(SortedCases, OrdersAllKindsOfNumbers) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const std::vector<double> ordered{kMissing, -kInfinity, -1e300, -1,    -5e-324,   -0.0,
                                    0.0,      5e-324,     1,      1e300, kInfinity, nan};
  std::vector<Row> rows;
  for (const double number : ordered) rows.push_back({number, "", 0});
  std::vector<Row> mixed = rows;
  std::reverse(mixed.begin(), mixed.end());
  std::swap(mixed[5], mixed[6]);  // both zeros are equal: they keep their order
  EXPECT_EQ(rows, Sorted(mixed, {{0}}, kMuch));
  std::swap(rows[5], rows[6]);
  std::reverse(rows.begin(), rows.end());
  EXPECT_EQ(rows, Sorted(mixed, {{0, true}}, kMuch));
}

TEST_F(SortedCases, OrdersTextsByTheirBytes) {
  const std::vector<Row> rows{{0, "b", 0}, {0, "", 1}, {0, "ab", 2}, {0, "a", 3}, {0, "\u00E4", 4}};
  const std::vector<Row> wanted{{0, "", 1}, {0, "a", 3}, {0, "ab", 2}, {0, "b", 0}, {0, "\u00E4", 4}};
  EXPECT_EQ(wanted, Sorted(rows, {{1}}, kMuch));
  EXPECT_EQ(std::vector<Row>(wanted.rbegin(), wanted.rend()), Sorted(rows, {{1, true}}, kMuch));
}

TEST_F(SortedCases, AcceptsNoCases) { EXPECT_TRUE(Sorted({}, {{0}}, 1).empty()); }

// With little memory there are runs in temp files, and with very little memory so many that they are merged again and again.
TEST_F(SortedCases, OfRandomRowsAreAStableSort) {
  const unsigned seed = std::random_device()();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  std::vector<Row> rows(3000);
  for (std::size_t i = 0; i < rows.size(); ++i)
    rows[i] = {static_cast<double>(random() % 50) - 25, std::string(1, static_cast<char>('a' + random() % 5)),
               static_cast<int>(i)};
  std::vector<Row> wanted = rows;
  std::ranges::sort(wanted, [](const Row& a, const Row& b) {
    return a.text != b.text ? a.text > b.text : a.number != b.number ? a.number < b.number : a.place < b.place;
  });
  for (const std::size_t memory : {std::size_t{2'000}, std::size_t{20'000}, kMuch})
    EXPECT_EQ(wanted, Sorted(rows, {{1, true}, {0}}, memory)) << memory;
}

}  // namespace
}  // namespace SortedCases_test
