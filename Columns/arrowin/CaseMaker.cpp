#include "Columns/arrowin/CaseMaker.h"

#include <string>
#include <string_view>
#include <utility>

#include "Columns/arrowin/ColumnValues.h"

namespace arrowin {

CaseMaker::CaseMaker(const QUAV_DataSource& dictionary, const std::vector<int>& targets, std::vector<std::string> names,
                     const dstext::FillRules& rules)
    : m_names(std::move(names)), m_case(static_cast<std::size_t>(dictionary.GetObsAreaSize()), kBlankCell) {
  for (const int target : targets)
    m_columns.push_back(
        {dstext::CellFiller(dictionary, target, rules), static_cast<std::size_t>(dictionary.ObsIndex(target))});
}

void CaseMaker::Begin(const ArrivedRows& rows) {
  m_rows = &rows;
  m_row = 0;
  for (Column& column : m_columns) column.textEnd = 0;
}

const OBS* CaseMaker::Next() {
  if (m_rows == nullptr || m_row == m_rows->rows) return nullptr;
  for (std::size_t k = 0; k < m_columns.size(); ++k) {
    if (m_columns[k].filler.IsNumber()) {
      m_case[m_columns[k].cell] = m_rows->columns[k].numbers[static_cast<std::size_t>(m_row)];
    } else {
      FillText(k);
    }
  }
  ++m_row;
  return m_case.data();
}

void CaseMaker::FillText(std::size_t k) {
  Column& column = m_columns[k];
  const ArrivedColumn& values = m_rows->columns[k];
  const std::string_view text(values.text.data() + column.textEnd, values.sizes[static_cast<std::size_t>(m_row)]);
  column.textEnd += text.size();
  if (const char* const trouble = column.filler.StoreText(text, m_case.data()))
    RefuseValue(m_names[k], m_rows->firstRow + m_row, std::string(text), trouble);
}

}  // namespace arrowin
