#include "tools/forms/TableWriter.h"

#include <algorithm>

#include "Columns/text/NumberText.h"
#include "tools/text/TerminalText.h"

namespace tool {

using namespace dstext;

namespace {

constexpr std::size_t kCasesToMeasure = 1000;
constexpr std::size_t kFieldsToMeasure = 200'000;  // limits the memory for tables with many columns

std::vector<TextTable::Column> TableColumns(const std::vector<Column>& columns) {
  std::vector<TextTable::Column> result;
  for (const Column& column : columns) {
    result.push_back({OneLine(column.Name()), column.IsNumber() ? TextTable::kRight : TextTable::kLeft});
  }
  return result;
}

}  // namespace

TableWriter::TableWriter(std::vector<Column>& columns, Output& output)
    : m_columns(columns),
      m_output(output),
      m_table(TableColumns(columns)),
      m_mostHeld(
          std::clamp<std::size_t>(kFieldsToMeasure / std::max<std::size_t>(columns.size(), 1), 1, kCasesToMeasure)) {}

void TableWriter::WriteCase(const OBS* cells) {
  TextTable::Row row = RowOf(cells);
  if (!m_isHolding) {
    WriteRow(row);
    return;
  }
  m_table.Fit(row);
  m_held.push_back(std::move(row));
  if (m_held.size() == m_mostHeld) WriteHeldCases();
}

void TableWriter::End() {
  if (m_isHolding) WriteHeldCases();
}

TextTable::Row TableWriter::RowOf(const OBS* cells) {
  TextTable::Row row;
  row.reserve(m_columns.size());
  for (Column& column : m_columns) {
    const ShownValue value = column.Show(cells);
    std::string field;
    if (value.kind == ShownValue::kNumber) AppendNumber(field, value.number);
    if (value.kind == ShownValue::kText) field = CutToWidth(OneLine(value.text), TextTable::kWidestText);
    row.push_back(std::move(field));
  }
  return row;
}

void TableWriter::WriteHeldCases() {
  m_isHolding = false;
  if (const std::size_t width = m_output.Width(); width != 0 && !m_columns.empty()) m_table.Narrow(width);
  if (!m_columns.empty()) m_table.AppendHead(m_output.Text());
  for (const TextTable::Row& row : m_held) WriteRow(row);
  m_held.clear();
}

void TableWriter::WriteRow(const TextTable::Row& row) {
  m_table.AppendRow(m_output.Text(), row);
  m_output.Settle();
}

}  // namespace tool
