#include "tools/diff/CaseDiff.h"

#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "Columns/text/JsonText.h"
#include "Columns/text/NumberText.h"
#include "Columns/text/ShownText.h"
#include "datasrc/ColumnReader.h"
#include "tools/messages/Progress.h"
#include "tools/text/TerminalText.h"

namespace tool {

using namespace dstext;

namespace {

constexpr int kMostRows = 16'384;
constexpr int kLeastRows = 64;
constexpr int kCellsAtOnce = 1 << 20;

bool AreEqual(double a, double b) {
  return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b) || (std::isnan(a) && std::isnan(b));
}

std::string Shown(const BatchColumn& column, long long row) {
  std::string text;
  if (column.kind != BatchColumn::Kind::number) {
    AppendJsonString(text, ShortValue(column.Text(row)));
    return text;
  }
  if (!column.HasValue(row)) return "system-missing";
  const double number = column.numbers[row];
  text = NonFiniteName(number);
  if (text.empty()) AppendNumber(text, number);
  return text;
}

class CaseDiff {
 public:
  CaseDiff(const QUAV_DataSource& first, const QUAV_DataSource& second, const std::vector<std::pair<int, int>>& columns,
           const CaseDiffOptions& options, Differences& differences)
      : m_first(first), m_options(options), m_differences(differences), m_progress(STDERR_FILENO, first.RowCount()) {
    std::vector<int> inFirst;
    std::vector<int> inSecond;
    for (const auto& [a, b] : columns) {
      if ((first.GetVariable(a).GetType() == 0) != (second.GetVariable(b).GetType() == 0)) continue;
      inFirst.push_back(a);
      inSecond.push_back(b);
    }
    const int rows = std::clamp(kCellsAtOnce / std::max(static_cast<int>(inFirst.size()), 1), kLeastRows, kMostRows);
    // Without a variable that both have, the cases are only counted.
    m_readers[0].emplace(first, Options(inFirst, first, rows));
    m_readers[1].emplace(second, Options(inSecond, second, rows));
    m_columns = std::move(inFirst);
  }

  void Compare() {
    while (true) {
      const auto a = m_readers[0]->Next();
      const auto b = m_readers[1]->Next();
      if (a) m_rows[0] = a->firstRow + a->rows;
      if (b) m_rows[1] = b->firstRow + b->rows;
      if (!a && !b) break;
      if (a && b) CompareBatches(*a, *b);
      m_progress.Jump(std::max(m_rows[0], m_rows[1]));
    }
    if (m_values != 0)
      m_differences.Add("cases", std::to_string(m_values) +
                                     (m_values == 1 ? " value differs in " : " values differ in ") +
                                     std::to_string(m_cases) + (m_cases == 1 ? " case" : " cases"));
    if (m_rows[0] != m_rows[1])
      m_differences.Add("number of cases", std::to_string(m_rows[0]), std::to_string(m_rows[1]));
  }

 private:
  struct Place {
    long long row;  // of the batch
    std::size_t column;
    auto operator<=>(const Place&) const = default;
  };

  ColumnReaderOptions Options(const std::vector<int>& columns, const QUAV_DataSource& data, int rows) const {
    ColumnReaderOptions options{.columns = columns, .rowsPerBatch = rows, .threads = m_options.threads};
    if (columns.empty() && data.ColumnCount() != 0) options.columns = std::vector<int>{0};
    return options;
  }

  void CompareBatches(const ColumnBatch& a, const ColumnBatch& b) {
    const long long rows = std::min(a.rows, b.rows);
    m_isDifferent.assign(static_cast<std::size_t>(rows), 0);
    std::vector<Place> places;
    for (std::size_t k = 0; k < m_columns.size(); ++k) CompareColumns(a.columns[k], b.columns[k], k, rows, places);
    m_cases += std::ranges::count(m_isDifferent, 1);
    std::ranges::sort(places);
    for (const Place& place : places) {
      if (m_told == m_options.most) break;
      Tell(a, b, place);
    }
  }

  void CompareColumns(const BatchColumn& a, const BatchColumn& b, std::size_t column, long long rows,
                      std::vector<Place>& places) {
    long long kept = m_told;  // no more than these can be told
    const auto note = [&](long long row) {
      ++m_values;
      m_isDifferent[static_cast<std::size_t>(row)] = 1;
      if (kept++ < m_options.most) places.push_back({row, column});
    };
    if (a.kind == BatchColumn::Kind::number) {
      for (long long row = 0; row < rows; ++row)
        if (!AreEqual(a.numbers[row], b.numbers[row])) note(row);
    } else {
      for (long long row = 0; row < rows; ++row)
        if (a.Text(row) != b.Text(row)) note(row);
    }
  }

  void Tell(const ColumnBatch& a, const ColumnBatch& b, const Place& place) {
    const std::string name = OneLine(ShownText("").Valid(m_first.GetVariable(m_columns[place.column]).GetName()));
    m_differences.Add("case " + std::to_string(a.firstRow + place.row) + ", " + name,
                      Shown(a.columns[place.column], place.row), Shown(b.columns[place.column], place.row));
    ++m_told;
  }

  const QUAV_DataSource& m_first;
  CaseDiffOptions m_options;
  Differences& m_differences;
  Progress m_progress;
  std::optional<ColumnReader> m_readers[2];
  std::vector<int> m_columns;  // of the first source
  long long m_rows[2] = {0, 0};
  std::vector<char> m_isDifferent;  // for each row of the present batches
  long long m_values = 0;
  long long m_cases = 0;
  long long m_told = 0;
};

}  // namespace

void CompareCases(const QUAV_DataSource& first, const QUAV_DataSource& second,
                  const std::vector<std::pair<int, int>>& columns, const CaseDiffOptions& options,
                  Differences& differences) {
  CaseDiff(first, second, columns, options, differences).Compare();
}

}  // namespace tool
