#include "tools/csv/CsvWriter.h"

#include <algorithm>

#include "Columns/text/NumberText.h"
#include "tools/messages/Report.h"
#include "tools/messages/ToolError.h"
#include "tools/text/TerminalText.h"

namespace tool {

using namespace dstext;

namespace {

constexpr std::string_view kNumberCharacters = "0123456789+-.e";

}  // namespace

CsvWriter::CsvWriter(std::vector<Column>& columns, const CsvDialect& dialect, Output& output)
    : m_columns(columns), m_dialect(dialect), m_special("\r\n"), m_output(output) {
  const auto isInNumbers = [](char c) { return kNumberCharacters.find(c) != kNumberCharacters.npos; };
  m_special += m_dialect.delimiter;
  if (m_dialect.quote) m_special += *m_dialect.quote;
  m_isPlain = m_dialect.decimal == '.' && m_dialect.missing.empty() && std::ranges::none_of(m_special, isInNumbers);
}

void CsvWriter::Begin() {
  if (m_columns.empty() || !m_dialect.hasHeader) return;
  const std::size_t lineStart = m_output.Text().size();
  bool isFirst = true;
  for (const Column& column : m_columns) {
    if (!isFirst) m_output.Text() += m_dialect.delimiter;
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
    if (!isFirst) out += m_dialect.delimiter;
    isFirst = false;
    AppendValue(column.Show(cells));
  }
  EndLine(lineStart);
}

void CsvWriter::End() {
  if (m_mistakable != 0)
    ReportWarning("values that are written like missing ones, as '" + ShortValue(m_dialect.missing.front()) +
                      "': " + std::to_string(m_mistakable),
                  m_output.Name());
}

void CsvWriter::AppendValue(const ShownValue& value) {
  switch (value.kind) {
    case ShownValue::kMissing:
      if (!m_dialect.missing.empty()) AppendField(m_dialect.missing.front());
      break;
    case ShownValue::kNumber:
      if (m_isPlain) [[likely]] {
        AppendNumber(m_output.Text(), value.number);
      } else {
        AppendMarkedNumber(value.number);
      }
      break;
    case ShownValue::kText:
      if (!m_dialect.missing.empty() && value.text == m_dialect.missing.front()) ++m_mistakable;
      AppendField(value.text);
      break;
  }
}

void CsvWriter::AppendMarkedNumber(double number) {
  m_number.clear();
  AppendNumber(m_number, number);
  std::ranges::replace(m_number, '.', m_dialect.decimal);
  if (!m_dialect.missing.empty() && m_number == m_dialect.missing.front()) ++m_mistakable;
  AppendField(m_number);
}

bool CsvWriter::NeedsQuotes(std::string_view text) const {
  if (text.empty()) return false;
  return text.front() == ' ' || text.back() == ' ' || text.starts_with(kByteOrderMark) ||
         text.find_first_of(m_special) != std::string_view::npos;
}

void CsvWriter::AppendField(std::string_view text) {
  std::string& out = m_output.Text();
  if (!NeedsQuotes(text)) {
    out += text;
    return;
  }
  if (!m_dialect.quote) {
    if (text.find_first_of(m_special) != text.npos)
      throw ToolError("the value '" + ShortValue(text) + "' needs quotes, which the file does not have",
                      m_output.Name());
    out += text;
    return;
  }
  const char quote = *m_dialect.quote;
  out += quote;
  for (const char c : text) {
    if (c == quote) out += quote;
    out += c;
  }
  out += quote;
}

void CsvWriter::EndLine(std::size_t lineStart) {
  std::string& out = m_output.Text();
  if (out.size() == lineStart) {
    if (!m_dialect.quote) throw ToolError("an empty value needs quotes, which the file does not have", m_output.Name());
    out.append(2, *m_dialect.quote);
  }
  out += '\n';
  m_output.Settle();
}

}  // namespace tool
