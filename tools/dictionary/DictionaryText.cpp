#include "tools/dictionary/DictionaryText.h"

#include <array>
#include <string_view>
#include <vector>

#include "Columns/dictionary/CarriedText.h"
#include "Columns/dictionary/DictionaryFacts.h"
#include "Columns/text/NumberText.h"
#include "Columns/text/ShownText.h"
#include "tools/text/FormatName.h"
#include "tools/text/TerminalText.h"
#include "tools/text/TextTable.h"

namespace tool {

using namespace dstext;

namespace {

constexpr std::size_t kFactTitleWidth = 14;

// Level 0 means that the file does not state the level of a numeric variable.
std::string MeasureName(int level) {
  constexpr std::array kNames{"", "nominal", "ordinal", "scale"};
  return 0 <= level && level < std::ssize(kNames) ? kNames[static_cast<std::size_t>(level)] : std::to_string(level);
}

std::string Joined(const std::vector<std::string>& parts, std::string_view separator) {
  std::string text;
  for (const std::string& part : parts) {
    if (&part != &parts.front()) text += separator;
    text += part;
  }
  return text;
}

class Builder {
 public:
  Builder(std::string& out, const OpenedSource& source)
      : m_out(out),
        m_data(*source.data),
        m_file(*source.file),
        m_shownText(m_file.CharacterEncoding()),
        m_carried(m_file.CharacterEncoding(), kUtf8Name),
        m_members(m_data) {}

  void Append() {
    AppendFacts();
    if (m_data.ColumnCount() == 0) return;
    m_out += '\n';
    AppendVariables();
  }

 private:
  std::string Text(std::string_view text) { return OneLine(m_shownText.Valid(text)); }
  std::string Value(std::string_view text) { return Text(WithoutTrailingBlanks(text)); }

  std::string Line(std::string line) {
    m_carried.ConvertLine(line);
    return Value(line);
  }

  void AppendFact(std::string_view title, std::string_view text) {
    m_out += title;
    m_out.append(kFactTitleWidth - title.size(), ' ');
    m_out += text;
    m_out += '\n';
  }

  void AppendFacts() {
    AppendFact("File", Text(m_data.GetFileSpec()));
    if (m_data.GetLabel() != nullptr && *m_data.GetLabel() != '\0') AppendFact("Label", Text(m_data.GetLabel()));
    AppendFact("Cases", m_data.RowCount() < 0 ? "unknown" : std::to_string(m_data.RowCount()));
    AppendFact("Variables", std::to_string(m_data.ColumnCount()));
    const int weight = m_data.GetWeightVarIndex();
    if (weight >= 0) AppendFact("Weight", Text(m_data.GetVariable(weight).GetName()));
    AppendFact("Written", TimestampText(m_data.GetTimestamp()));
    AppendFact("Written by", Text(m_file.EyeCatcher()));
    AppendFact("Encoding", Text(m_file.CharacterEncoding()));
    AppendFact("Compression", CompressionName(m_file.GetCompressionLevel()));
    AppendFact("Byte order", m_file.bReversedByteOrder() ? "reversed" : "native");
    AppendAttributes();
    AppendSets("Set", m_data.GetVariableSets());
    AppendSets("Response set", m_data.GetMRSets());
    for (const DSDocument& document : GetDocuments(m_data)) AppendDocument(document);
  }

  void AppendDocument(const DSDocument& document) {
    const int textLines = document.Size() - 1;  // the last line is the date
    AppendFact("Document", DateText(document) + (textLines > 0 ? "  " + Line(document[0]) : ""));
    for (int i = 1; i < textLines; ++i) AppendFact("", "            " + Line(document[i]));
  }

  void AppendAttributes() {
    const DatasourceAttributes& attributes = m_data.GetAttributes();
    for (unsigned long k = 0; k < attributes.Size(); ++k)
      AppendFact("Attribute", Text(attributes.Name(k) + " = " + Joined(attributes.Values(k), ", ")));
  }

  void AppendSets(std::string_view title, const std::vector<VariableSetImpl>& sets) {
    for (const VariableSetImpl& set : sets)
      AppendFact(title, Text(set.name + ": " + Joined(m_members.Names(set), ", ")));
  }

  void AppendVariables() {
    TextTable table({{"#", TextTable::kRight},
                     {"Name"},
                     {"Type"},
                     {"Label"},
                     {"Format"},
                     {"Measure"},
                     {"Missing"},
                     {"Value labels"}});
    std::vector<TextTable::Row> rows;
    for (int column = 0; column < static_cast<int>(m_data.ColumnCount()); ++column) {
      rows.push_back(VariableRow(column));
      table.Fit(rows.back());
    }
    table.AppendHead(m_out);
    for (const TextTable::Row& row : rows) table.AppendRow(m_out, row);
  }

  TextTable::Row VariableRow(int column) {
    const QUAV_Variable& variable = m_data.GetVariable(column);
    const int type = variable.GetType();
    const char* const label = variable.GetLabel();
    return {std::to_string(column + 1),
            Text(variable.GetName()),
            type == 0 ? "number" : "text " + std::to_string(type),
            label == nullptr ? std::string() : Text(label),
            FormatName(variable.GetFormat()),
            MeasureName(variable.GetMeasurementLevel()),
            Missing(variable),
            ValueLabels(variable)};
  }

  std::string Missing(const QUAV_Variable& variable) {
    int code = 0;
    std::vector<std::string> values;
    for (const OBS* value : MissingValues(variable, &code))
      values.push_back(variable.GetType() == 0 ? MissingNumber(*value) : Value({CellText(value), sizeof(OBS)}));
    if (code != -2 && code != -3) return Joined(values, ", ");
    const std::string range = values[0] + " to " + values[1];
    return code == -3 ? range + ", " + values[2] : range;
  }

  static std::string MissingNumber(const OBS& cell) {
    const std::string_view openEnd = OpenEndName(cell);
    return openEnd.empty() ? Number(cell) : std::string(openEnd);
  }

  static std::string Number(const OBS& cell) {
    if (cell == kSystemMissingCell) return "system-missing";
    const double number = CellNumber(cell);
    std::string text(NonFiniteName(number));
    if (text.empty()) AppendNumber(text, number);
    return text;
  }

  // Returns as many pairs as fit into the column.
  std::string ValueLabels(const QUAV_Variable& variable) {
    if (!variable.GetValueLabels().IsValid()) return {};
    QUAV_ValueLabelMap map(variable.GetValueLabels());
    std::string text;
    std::string pair;
    map.Reset();
    while (DisplayWidth(text) <= TextTable::kWidestText && NextPair(map, pair)) {
      if (!text.empty()) text += ", ";
      text += pair;
    }
    return CutToWidth(text, TextTable::kWidestText);
  }

  bool NextPair(QUAV_ValueLabelMap& map, std::string& pair) {
    const char* label = nullptr;
    if (map.Type() == 0) {
      const OBS* number = nullptr;
      if (map.GetNextPair(number, label) == 0) return false;
      pair = Number(*number) + "=" + Text(label);
    } else {
      std::string value;
      if (map.GetNextPair(value, label) == 0) return false;
      pair = Value(value) + "=" + Text(label);
    }
    return true;
  }

  std::string& m_out;
  const QUAV_DataSource& m_data;
  const SystemFileDataSource& m_file;
  ShownText m_shownText;
  CarriedText m_carried;
  MemberFinder m_members;
};

}  // namespace

void AppendDictionaryText(std::string& out, const OpenedSource& source) { Builder(out, source).Append(); }

}  // namespace tool
