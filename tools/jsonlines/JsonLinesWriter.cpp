#include "tools/jsonlines/JsonLinesWriter.h"

#include "Columns/text/JsonText.h"
#include "Columns/text/NumberText.h"

namespace tool {

using namespace dstext;

JsonLinesWriter::JsonLinesWriter(std::vector<Column>& columns, JsonForm form)
    : m_columns(columns), m_end(form == JsonForm::objects ? '}' : ']') {
  for (const Column& column : m_columns) {
    const char first = form == JsonForm::objects ? '{' : '[';
    m_beforeValues.emplace_back(1, m_beforeValues.empty() ? first : ',');
    if (form == JsonForm::lists) continue;
    AppendJsonString(m_beforeValues.back(), column.Name());
    m_beforeValues.back() += ':';
  }
}

void JsonLinesWriter::AppendCase(std::string& out, const OBS* cells) {
  std::size_t place = 0;
  for (Column& column : m_columns) {
    out += m_beforeValues[place++];
    const ShownValue value = column.Show(cells);
    switch (value.kind) {
      case ShownValue::kMissing:
        out += "null";
        break;
      case ShownValue::kNumber:
        AppendNumber(out, value.number);
        break;
      case ShownValue::kText:
        AppendJsonString(out, value.text);
        break;
    }
  }
  out += m_end;
  out += '\n';
}

}  // namespace tool
