#include "tools/csv/CsvWriter.h"

#include "Columns/text/NumberText.h"

namespace tool {

using namespace dstext;

namespace {

bool NeedsQuotes(std::string_view text) {
  if (text.empty()) return false;
  return text.front() == ' ' || text.back() == ' ' || text.find_first_of(",\"\r\n") != std::string_view::npos;
}

}  // namespace

void CsvWriter::Begin() {
  if (m_columns.empty()) return;
  const std::size_t lineStart = m_output.Text().size();
  bool isFirst = true;
  for (const Column& column : m_columns) {
    if (!isFirst) m_output.Text() += ',';
    AppendField(column.Name());
    isFirst = false;
  }
  EndLine(lineStart);
}

void CsvWriter::WriteCase(const OBS* cells) {
  std::string& out = m_output.Text();
  const std::size_t lineStart = out.size();
  bool isFirst = true;
  for (Column& column : m_columns) {
    if (!isFirst) out += ',';
    isFirst = false;
    const ShownValue value = column.Show(cells);
    if (value.kind == ShownValue::kNumber) AppendNumber(out, value.number);
    if (value.kind == ShownValue::kText) AppendField(value.text);
  }
  EndLine(lineStart);
}

void CsvWriter::AppendField(std::string_view text) {
  std::string& out = m_output.Text();
  if (!NeedsQuotes(text)) {
    out += text;
    return;
  }
  out += '"';
  for (const char c : text) {
    if (c == '"') out += '"';
    out += c;
  }
  out += '"';
}

void CsvWriter::EndLine(std::size_t lineStart) {
  std::string& out = m_output.Text();
  if (out.size() == lineStart) out += "\"\"";
  out += '\n';
  m_output.Settle();
}

}  // namespace tool
