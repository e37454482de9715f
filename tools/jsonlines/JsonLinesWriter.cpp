#include "tools/jsonlines/JsonLinesWriter.h"

#include "Columns/text/JsonText.h"
#include "Columns/text/NumberText.h"

namespace tool {

using namespace dstext;

void JsonLinesWriter::WriteCase(const OBS* cells) {
  std::string& out = m_output.Text();
  char separator = '[';
  for (Column& column : m_columns) {
    out += separator;
    separator = ',';
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
  out += "]\n";
  m_output.Settle();
}

}  // namespace tool
