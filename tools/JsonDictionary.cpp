#include "JsonDictionary.h"

#include <array>
#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <unordered_map>
#include <utility>
#include <vector>

#include "InputBytes.h"
#include "JsonNode.h"
#include "Platform/text/QUAVMB.h"
#include "Report.h"
#include "ShownText.h"
#include "ToolError.h"
#include "datasrc/VariableNames.h"

namespace tool {

namespace {

using Json = nlohmann::ordered_json;

constexpr long long kMostFormatField = 255;
constexpr long long kMostInt = std::numeric_limits<int>::max();
constexpr std::size_t kFormatFields = 3;
constexpr std::size_t kMostMissing = 3;

// ---- Variables ----

std::string LegalName(const JsonNode& node) {
  const std::string name = node.Text();
  const int fault = ValidateQUAVName(name.c_str());
  // Files may hold names that begin oddly, or are reserved: what was read can be written again.
  if (fault == kNameLength || fault == kNameCharacter) node.Fail("is no name of a variable");
  return name;
}

QUAV_Format Format(const JsonNode& node) {
  node.MustHave(kFormatFields);
  const auto type = static_cast<FormatType>(node[0].Integer(0, kMostFormatField));
  const bool isString = type == kFormatString;
  const auto width = static_cast<int>(node[1].Integer(0, isString ? MAX_STRING_TYPE : kMostFormatField));
  return {type, width, static_cast<int>(node[2].Integer(0, kMostFormatField))};
}

std::string TextValue(const JsonNode& node, std::size_t width) {
  const std::string text(WithoutTrailingBlanks(node.Text()));
  if (text.size() > width) node.Fail("is longer than the " + std::to_string(width) + " bytes that there are for it");
  return text;
}

OBS MissingValue(const JsonNode& node, int type) {
  if (type == 0) {
    if (node.IsText("lowest")) return kSystemMissingCell;  // the two are one number
    return node.IsText("highest") ? OBS{kHighNumberBits} : node.NumberCell();
  }
  OBS cell = kBlankCell;
  const std::string text = TextValue(node, sizeof(OBS));
  text.copy(CellText(&cell), text.size());
  return cell;
}

void SetMissing(QUAV_Variable& variable, const JsonNode& node) {
  const auto code = static_cast<int>(node.Member("code").Integer(-3, 3));
  const JsonNode list = node.Member("values");
  if (code == -1) node.Fail("has a code that means nothing");
  list.MustHave(static_cast<std::size_t>(std::abs(code)));
  std::array<OBS, kMostMissing> values{};
  for (std::size_t i = 0; i < list.Size(); ++i) values[i] = MissingValue(list[i], variable.GetType());
  variable.SetMissingValues(code, &values[0], &values[1], &values[2]);
}

// The cells of a value, filled up with blanks.
std::vector<OBS> LabelledValue(const JsonNode& node, int type) {
  if (type == 0) return {node.NumberCell()};
  std::vector<OBS> cells(CellCount(type), kBlankCell);
  const std::string text = TextValue(node, static_cast<std::size_t>(type));
  text.copy(CellText(cells.data()), text.size());
  return cells;
}

void SetValueLabels(QUAV_Variable& variable, const JsonNode& list) {
  if (list.IsNull()) return;
  const int type = variable.GetType();
  std::vector<ValueLabel> pairs;
  for (std::size_t i = 0; i < list.Size(); ++i) {
    list[i].MustHave(2);
    pairs.push_back({LabelledValue(list[i][0], type), list[i][1].Text()});
  }
  QUAV_ValueLabelMap map(type);
  map.AddPairs(std::move(pairs));
  variable.SetValueLabels(map);
}

DatasourceAttributes Attributes(const JsonNode& list) {
  DatasourceAttributes attributes;
  for (std::size_t i = 0; i < list.Size(); ++i) {
    list[i].MustHave(2);
    const JsonNode texts = list[i][1];
    std::vector<std::string> values;
    for (std::size_t k = 0; k < texts.Size(); ++k) values.push_back(texts[k].Text());
    attributes.Define(list[i][0].Text(), values);
  }
  return attributes;
}

QUAV_Variable Variable(const JsonNode& node) {
  using Variable = QUAV_Variable;
  constexpr long long kLeastWidth = std::numeric_limits<short>::min();
  constexpr long long kMostWidth = std::numeric_limits<short>::max();

  Variable variable(static_cast<int>(node.Member("type").Integer(0, MAX_STRING_TYPE)));
  variable.SetName(LegalName(node.Member("name")).c_str());
  if (const auto label = node.Find("label"); label && !label->IsNull()) variable.SetLabel(label->Text().c_str());
  if (const auto format = node.Find("print")) variable.SetFormat(Format(*format));
  if (const auto format = node.Find("write")) variable.SetWriteFormat(Format(*format));
  if (const auto missing = node.Find("missing")) SetMissing(variable, *missing);
  if (const auto labels = node.Find("value_labels")) SetValueLabels(variable, *labels);
  if (const auto level = node.Find("measure"))
    variable.SetMeasurementLevel(static_cast<Variable::MeasurementLevel>(level->Integer(0, Variable::kLevelExtended5)));
  if (const auto width = node.Find("display_width"))
    variable.SetDisplayWidth(static_cast<short>(width->Integer(kLeastWidth, kMostWidth)));
  if (const auto alignment = node.Find("alignment"))
    variable.SetAlignment(static_cast<Variable::Alignment>(alignment->Integer(0, Variable::kAlignCenter)));
  if (const auto role = node.Find("role"))
    variable.SetRole(static_cast<Variable::Role>(role->Integer(0, Variable::kRoleExtended7)));
  if (const auto attributes = node.Find("attributes")) variable.SetAttributes(Attributes(*attributes));
  return variable;
}

// ---- The data set ----

// Puts the members into the dictionary, one operation for each.
class Builder {
 public:
  Builder(const JsonNode& root, const std::string& file) : m_root(root), m_file(file) {}

  std::unique_ptr<SystemFileDataSource> Build() {
    Variables(m_root.Member("variables"));
    if (const auto label = m_root.Find("label"); label && !label->IsNull()) m_source->SetLabel(label->Text().c_str());
    if (const auto weight = m_root.Find("weight"); weight && !weight->IsNull()) Weight(*weight);
    if (const auto attributes = m_root.Find("attributes")) m_source->SetAttributes(Attributes(*attributes));
    if (const auto sets = m_root.Find("variable_sets")) m_source->SetVariableSets(Sets(*sets));
    if (const auto sets = m_root.Find("mr_sets")) m_source->SetMRSets(Sets(*sets));
    if (const auto formatting = m_root.Find("data_editor_formatting")) Formatting(*formatting);
    SortIndex();
    WarnOf("documents");
    WarnOf("trends");
    return std::move(m_source);
  }

 private:
  void Variables(const JsonNode& list) {
    if (list.Size() == 0) list.Fail("has no variable");
    for (std::size_t i = 0; i < list.Size(); ++i) {
      const QUAV_Variable variable = Variable(list[i]);
      if (!m_columns.emplace(variable.GetUpperCaseName(), static_cast<int>(i)).second)
        list[i].Fail(std::string("has the name ") + variable.GetName() + ", as a variable before it");
      m_source->MakeVariable(variable, nullptr);
    }
  }

  int Column(const JsonNode& name) const {
    const auto found = m_columns.find(QUAVMBstrupr_A(name.Text()));
    if (found == m_columns.end()) name.Fail("names no variable");
    return found->second;
  }

  void Weight(const JsonNode& name) {
    const int column = Column(name);
    if (std::as_const(*m_source).GetVariable(column).GetType() != 0) name.Fail("names a variable that is no number");
    m_source->SetWeightVar(column);
  }

  std::vector<VariableSetImpl> Sets(const JsonNode& list) const {
    std::vector<VariableSetImpl> sets;
    for (std::size_t i = 0; i < list.Size(); ++i) sets.push_back(Set(list[i]));
    return sets;
  }

  VariableSetImpl Set(const JsonNode& node) const {
    VariableSetImpl set;
    set.name = node.Member("name").Text();
    if (const auto type = node.Find("type")) set.type = static_cast<int>(type->Integer(0, 2));
    if (const auto flags = node.Find("flags")) {
      const std::string text = flags->Text();
      set.useVariableCategoryLabels = text.starts_with('1');
      set.labelSetByVariable = text.substr(0, 2).ends_with('1') && text.size() > 1;
    }
    if (const auto label = node.Find("label")) set.label = label->Text();
    if (const auto value = node.Find("value")) set.value = value->Text();
    const JsonNode names = node.Member("variables");
    for (std::size_t i = 0; i < names.Size(); ++i)
      set.members.push_back(std::as_const(*m_source).GetVariable(Column(names[i])).GetID());
    return set;
  }

  void Formatting(const JsonNode& node) {
    DataEditorFormattingInfo info;
    info.SetInfo(node.Text());
    m_source->SetDEFormattingInfo(info);
  }

  void SortIndex() {
    const auto keyList = m_root.Find("sort_keys");
    const auto rowList = m_root.Find("sort_index");
    if (!keyList && !rowList) return;
    SortIndexInfo info;
    if (keyList) info.SetIndexKeys(SortKeys(*keyList));
    if (rowList) info.SetIndex(SortRows(*rowList));
    m_source->SetSortIndexInfo(info);
  }

  std::vector<FileSort::SortKey> SortKeys(const JsonNode& list) const {
    std::vector<FileSort::SortKey> keys;
    const long long cells = m_source->GetObsAreaSize();
    for (std::size_t i = 0; i < list.Size(); ++i) {
      list[i].MustHave(3);
      keys.push_back({static_cast<int>(list[i][0].Integer(0, cells - 1)),
                      static_cast<int>(list[i][1].Integer(-kMostInt, kMostInt)),
                      static_cast<int>(list[i][2].Integer(0, MAX_STRING_TYPE))});
    }
    return keys;
  }

  static std::vector<SortIndexInfo::SortIndexKeyRowPair> SortRows(const JsonNode& list) {
    std::vector<SortIndexInfo::SortIndexKeyRowPair> rows;
    for (std::size_t i = 0; i < list.Size(); ++i) {
      list[i].MustHave(2);
      rows.emplace_back(list[i][0].Text(), list[i][1].Integer(0, std::numeric_limits<long long>::max()));
    }
    return rows;
  }

  // Of what this version cannot write.
  void WarnOf(const char* member) const {
    const auto found = m_root.Find(member);
    if (found && !found->IsEmpty())
      ReportWarning(std::string(member) + " cannot be written yet and are left out", m_file);
  }

  const JsonNode& m_root;
  const std::string& m_file;
  std::unique_ptr<SystemFileDataSource> m_source = std::make_unique<SystemFileDataSource>();
  std::unordered_map<std::string, int> m_columns;  // by names in upper case
};

std::string Contents(const std::string& file) {
  InputBytes input(file);
  std::string text;
  std::array<char, 65536> piece;
  while (const std::size_t count = input.Read(piece.data(), piece.size())) text.append(piece.data(), count);
  return text;
}

Json Parsed(const std::string& text, const std::string& file) {
  try {
    return Json::parse(text);
  } catch (const Json::parse_error& error) {
    throw ToolError("the dictionary is no JSON (at byte " + std::to_string(error.byte) + ")", file);
  }
}

}  // namespace

std::unique_ptr<SystemFileDataSource> ReadDictionaryJson(const std::string& file) {
  const Json document = Parsed(Contents(file), file);
  const JsonNode root(document, file);
  return Builder(root, file).Build();
}

}  // namespace tool
