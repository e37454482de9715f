#include "tools/csv/CsvWriter.h"

#include <algorithm>

#include "Columns/text/NumberText.h"
#include "tools/messages/ToolError.h"
#include "tools/text/TerminalText.h"

namespace tool {

using namespace dstext;

namespace {

constexpr std::string_view kNumberCharacters = "0123456789+-.e";

}  // namespace

CsvWriter::CsvWriter(std::vector<Column>& columns, const CsvDialect& dialect, const std::string& file)
    : m_columns(columns), m_dialect(dialect), m_special("\r\n"), m_file(file) {
  const auto isInNumbers = [](char c) { return kNumberCharacters.find(c) != kNumberCharacters.npos; };
  m_special += m_dialect.delimiter;
  if (m_dialect.quote) m_special += *m_dialect.quote;
  m_isPlain = m_dialect.decimal == '.' && m_dialect.missing.empty() && std::ranges::none_of(m_special, isInNumbers);
}

void CsvWriter::AppendNames(std::string& out) {
  if (m_columns.empty() || !m_dialect.hasHeader) return;
  const std::size_t lineStart = out.size();
  bool isFirst = true;
  for (const Column& column : m_columns) {
    if (!isFirst) out += m_dialect.delimiter;
    AppendField(out, column.Name());
    isFirst = false;
  }
  EndLine(out, lineStart);
}

void CsvWriter::AppendCase(std::string& out, const OBS* cells) {
  const std::size_t lineStart = out.size();
  bool isFirst = true;
  for (Column& column : m_columns) {
    if (!isFirst) out += m_dialect.delimiter;
    isFirst = false;
    AppendValue(out, column.Show(cells));
  }
  EndLine(out, lineStart);
}

void CsvWriter::AddLosses(Losses& losses) const {
  if (m_mistakable != 0)
    losses.Add("values that are written like missing ones, as '" + ShortValue(m_dialect.missing.front()) + "'",
               m_mistakable);
}

void CsvWriter::AppendValue(std::string& out, const ShownValue& value) {
  switch (value.kind) {
    case ShownValue::kMissing:
      if (!m_dialect.missing.empty()) AppendField(out, m_dialect.missing.front());
      break;
    case ShownValue::kNumber:
      if (m_isPlain) [[likely]] {
        AppendNumber(out, value.number);
      } else {
        AppendMarkedNumber(out, value.number);
      }
      break;
    case ShownValue::kText:
      if (!m_dialect.missing.empty() && value.text == m_dialect.missing.front()) ++m_mistakable;
      AppendField(out, value.text);
      break;
  }
}

void CsvWriter::AppendMarkedNumber(std::string& out, double number) {
  m_number.clear();
  AppendNumber(m_number, number);
  std::ranges::replace(m_number, '.', m_dialect.decimal);
  if (!m_dialect.missing.empty() && m_number == m_dialect.missing.front()) ++m_mistakable;
  AppendField(out, m_number);
}

bool CsvWriter::NeedsQuotes(std::string_view text) const {
  if (text.empty()) return false;
  return text.front() == ' ' || text.back() == ' ' || text.starts_with(kByteOrderMark) ||
         text.find_first_of(m_special) != std::string_view::npos;
}

void CsvWriter::AppendField(std::string& out, std::string_view text) const {
  if (!NeedsQuotes(text)) {
    out += text;
    return;
  }
  if (!m_dialect.quote) {
    if (text.find_first_of(m_special) != text.npos)
      throw ToolError("the value '" + ShortValue(text) + "' needs quotes, which the file does not have", m_file);
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

void CsvWriter::EndLine(std::string& out, std::size_t lineStart) const {
  if (out.size() == lineStart) {
    if (!m_dialect.quote) throw ToolError("an empty value needs quotes, which the file does not have", m_file);
    out.append(2, *m_dialect.quote);
  }
  out += '\n';
}

}  // namespace tool
