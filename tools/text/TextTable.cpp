#include "tools/text/TextTable.h"

#include <algorithm>

#include "tools/text/TerminalText.h"

namespace tool {

namespace {

constexpr std::size_t kGap = 2;  // blanks between two columns

void AppendField(std::string& out, const TextTable::Column& column, const std::string& field, bool isLast) {
  const std::string shown = column.alignment == TextTable::kLeft ? CutToWidth(field, column.width) : field;
  const std::size_t width = DisplayWidth(shown);
  const std::size_t fill = column.width > width ? column.width - width : 0;
  if (column.alignment == TextTable::kRight) out.append(fill, ' ');
  out += shown;
  if (isLast) return;
  out.append(column.alignment == TextTable::kLeft ? fill + kGap : kGap, ' ');
}

}  // namespace

TextTable::TextTable(std::vector<Column> columns) : m_columns(std::move(columns)) {
  for (Column& column : m_columns) {
    column.width = std::max<std::size_t>(column.width, 1);
    Fit(column, column.title);
  }
}

void TextTable::Fit(const Row& row) {
  for (std::size_t i = 0; i < row.size(); ++i) Fit(m_columns[i], row[i]);
}

void TextTable::Fit(Column& column, const std::string& field) const {
  const std::size_t width = DisplayWidth(field);
  column.width = std::max(column.width, column.alignment == kLeft ? std::min(width, kWidestText) : width);
}

void TextTable::Narrow(std::size_t width) {
  const auto least = [](const Column& column) {
    if (column.alignment == kRight) return column.width;
    return std::min(column.width, std::max(kLeastText, DisplayWidth(column.title)));
  };
  std::size_t taken = kGap * (m_columns.size() - 1);
  std::size_t needed = taken;
  for (const Column& column : m_columns) {
    taken += column.width;
    needed += least(column);
  }
  if (needed > width) return;
  for (; taken > width; --taken) {
    Column* widest = nullptr;
    for (Column& column : m_columns)
      if (column.width > least(column) && (widest == nullptr || column.width > widest->width)) widest = &column;
    --widest->width;
  }
}

void TextTable::AppendHead(std::string& out) const {
  Row titles;
  Row rules;
  for (const Column& column : m_columns) {
    titles.push_back(column.title);
    rules.emplace_back(column.width, '-');
  }
  AppendRow(out, titles);
  AppendRow(out, rules);
}

void TextTable::AppendRow(std::string& out, const Row& row) const {
  for (std::size_t i = 0; i < row.size(); ++i) AppendField(out, m_columns[i], row[i], i + 1 == row.size());
  // Empty fields at the end leave invisible blanks.
  while (!out.empty() && out.back() == ' ') out.pop_back();
  out += '\n';
}

}  // namespace tool
