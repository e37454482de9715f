#include "tools/forms/CaseFormatter.h"

#include "tools/csv/CsvWriter.h"
#include "tools/jsonlines/JsonLinesWriter.h"

namespace tool {

CaseFormatter::CaseFormatter(const ShownForm& shown) : m_shownText(shown.encoding) {
  ShowOptions options = shown.options;
  options.readable = shown.form == CaseForm::table;
  m_columns.reserve(shown.columns.size());
  for (const int column : shown.columns) m_columns.emplace_back(shown.source, column, options, m_shownText);
  m_replacedNames = m_shownText.ReplacedTexts();
  if (IsCsv(shown.form)) m_text = std::make_unique<CsvWriter>(m_columns, shown.dialect, shown.file);
  if (shown.form == CaseForm::jsonLines) m_text = std::make_unique<JsonLinesWriter>(m_columns, JsonForm::lists);
  if (shown.form == CaseForm::jsonObjects) m_text = std::make_unique<JsonLinesWriter>(m_columns, JsonForm::objects);
}

}  // namespace tool
