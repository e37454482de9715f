#include "tools/forms/TextCases.h"

#include <numeric>

#include "tools/csv/CsvWriter.h"
#include "tools/forms/TableWriter.h"
#include "tools/jsonlines/JsonLinesWriter.h"

namespace tool {

namespace {

std::unique_ptr<CaseWriter> MakeWriter(CaseForm form, const CsvDialect& dialect, std::vector<Column>& columns,
                                       Output& output) {
  if (form == CaseForm::table) return std::make_unique<TableWriter>(columns, output);
  if (form == CaseForm::jsonLines) return std::make_unique<JsonLinesWriter>(columns, JsonForm::lists, output);
  if (form == CaseForm::jsonObjects) return std::make_unique<JsonLinesWriter>(columns, JsonForm::objects, output);
  return std::make_unique<CsvWriter>(columns, dialect, output);
}

}  // namespace

TextCases::TextCases(const QUAV_DataSource& source, const std::vector<int>& indexes, const std::string& encoding,
                     CaseForm form, const CsvDialect& dialect, ShowOptions options, Output& output)
    : m_shownText(encoding) {
  options.readable = form == CaseForm::table;
  m_columns.reserve(indexes.size());
  for (const int index : indexes) m_columns.emplace_back(source, index, options, m_shownText);
  m_writer = MakeWriter(form, dialect, m_columns, output);
}

std::vector<int> AllColumns(const QUAV_DataSource& source) {
  std::vector<int> indexes(source.ColumnCount());
  std::iota(indexes.begin(), indexes.end(), 0);
  return indexes;
}

}  // namespace tool
