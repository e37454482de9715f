#include "tools/dictionary/DictionaryText.h"

#include <algorithm>
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

constexpr std::array kRoleNames{"input", "target", "both", "none", "partition", "split"};
constexpr std::array kAlignmentNames{"left", "right", "center"};

// Returns the number itself when it has no name.
template <std::size_t count>
std::string NameOf(const std::array<const char*, count>& names, int number) {
  return 0 <= number && number < std::ssize(names) ? names[static_cast<std::size_t>(number)] : std::to_string(number);
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
  Builder(std::string& out, const OpenedSource& source, const DictionaryTextStyle& style)
      : m_out(out),
        m_style(style),
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

  void AppendVariable(int column) {
    const QUAV_Variable& variable = m_data.GetVariable(column);
    const int type = variable.GetType();
    m_out += m_style.color.Bold() + Text(variable.GetName()) + m_style.color.Plain() + "\n";
    if (variable.GetLabel() != nullptr && *variable.GetLabel() != '\0') AppendFact("Label", Text(variable.GetLabel()));
    AppendFact("Column", std::to_string(column + 1));
    AppendFact("Type", type == 0 ? "number" : "text of " + std::to_string(type) + (type == 1 ? " byte" : " bytes"));
    AppendFact("Print format", FormatName(variable.GetFormat()));
    AppendFact("Write format", FormatName(variable.GetWriteFormat()));
    if (const std::string measure = MeasureName(variable.GetMeasurementLevel()); !measure.empty())
      AppendFact("Measure", measure);
    AppendFact("Role", NameOf(kRoleNames, variable.GetRole()));
    AppendFact("Alignment", NameOf(kAlignmentNames, variable.GetAlignment()));
    AppendFact("Display width", std::to_string(variable.GetDisplayWidth()));
    if (const std::string missing = Missing(variable); !missing.empty()) AppendFact("Missing", missing);
    const DatasourceAttributes& attributes = variable.GetAttributes();
    for (unsigned long k = 0; k < attributes.Size(); ++k)
      AppendFact("Attribute", Text(attributes.Name(k) + " = " + Joined(attributes.Values(k), ", ")));
    AppendValueLabels(variable);
  }

 private:
  std::string Text(std::string_view text) { return OneLine(m_shownText.Valid(text)); }
  std::string Value(std::string_view text) { return Text(WithoutTrailingBlanks(text)); }

  std::string Line(std::string line) {
    m_carried.ConvertLine(line);
    return Value(line);
  }

  void AppendFact(std::string_view title, std::string_view text) {
    m_out += m_style.color.Faint();
    m_out += title;
    m_out += m_style.color.Plain();
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
    if (m_style.width != 0) table.Narrow(m_style.width);
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

  // Each pair has a line of its own, with the values under one another.
  void AppendValueLabels(const QUAV_Variable& variable) {
    if (!variable.GetValueLabels().IsValid()) return;
    QUAV_ValueLabelMap map(variable.GetValueLabels());
    std::vector<Pair> pairs;
    std::size_t widest = 0;
    map.Reset();
    for (Pair pair; Next(map, pair); pairs.push_back(pair)) widest = std::max(widest, DisplayWidth(pair.value));
    widest = std::min(widest, TextTable::kWidestText);
    m_out += m_style.color.Faint() + "Value labels" + m_style.color.Plain() + "\n";
    for (const Pair& pair : pairs) {
      const std::size_t width = DisplayWidth(pair.value);
      const std::string fill(widest > width ? widest - width : 0, ' ');
      const bool isNumber = variable.GetType() == 0;
      m_out += "  " + (isNumber ? fill + pair.value : pair.value + fill) + "  " + pair.label + "\n";
    }
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

  struct Pair {
    std::string value;
    std::string label;
  };

  bool NextPair(QUAV_ValueLabelMap& map, std::string& text) {
    Pair pair;
    if (!Next(map, pair)) return false;
    text = pair.value + "=" + pair.label;
    return true;
  }

  bool Next(QUAV_ValueLabelMap& map, Pair& pair) {
    const char* label = nullptr;
    if (map.Type() == 0) {
      const OBS* number = nullptr;
      if (map.GetNextPair(number, label) == 0) return false;
      pair.value = Number(*number);
    } else {
      std::string value;
      if (map.GetNextPair(value, label) == 0) return false;
      pair.value = Value(value);
    }
    pair.label = Text(label);
    return true;
  }

  std::string& m_out;
  const DictionaryTextStyle& m_style;
  const QUAV_DataSource& m_data;
  const SystemFileDataSource& m_file;
  ShownText m_shownText;
  CarriedText m_carried;
  MemberFinder m_members;
};

}  // namespace

void AppendDictionaryText(std::string& out, const OpenedSource& source, const DictionaryTextStyle& style) {
  Builder(out, source, style).Append();
}

void AppendVariablesText(std::string& out, const OpenedSource& source, const std::vector<int>& columns,
                         const DictionaryTextStyle& style) {
  Builder builder(out, source, style);
  for (const int& column : columns) {
    if (&column != columns.data()) out += '\n';
    builder.AppendVariable(column);
  }
}

}  // namespace tool
