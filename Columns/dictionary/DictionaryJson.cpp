#include "Columns/dictionary/DictionaryJson.h"

#include <array>
#include <numeric>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Columns/dictionary/CarriedText.h"
#include "Columns/dictionary/DictionaryFacts.h"
#include "Columns/dictionary/UnknownBlocks.h"
#include "Columns/text/Json.h"
#include "Columns/text/JsonText.h"
#include "Columns/text/NumberText.h"
#include "Columns/text/ShownText.h"
#include "Platform/text/QUAVMB.h"
#include "datasrc/DSDocument.h"
#include "datasrc/SystemFileDataSource.h"

namespace dstext {

namespace {

constexpr int kExtensionsFoundSize = 100;  // the library remembers this many subtypes

Json NumberJson(const OBS& cell) {
  if (cell == kSystemMissingCell) return nullptr;
  const double number = CellNumber(cell);
  const std::string_view name = NonFiniteName(number);
  return name.empty() ? Json(number) : Json(name);
}

Json MissingNumberJson(const OBS& cell) {
  const std::string_view openEnd = OpenEndName(cell);
  return openEnd.empty() ? NumberJson(cell) : Json(openEnd);
}

}  // namespace

// Writes the members in their order. All text goes through Text or Shown.
class DictionaryJson::Writer {
 public:
  Writer(const QUAV_DataSource& source, const std::string& encoding)
      : m_data(source),
        m_file(FileBehind(source)),
        m_encoding(encoding.empty() ? TextEncodingOf(source) : encoding),
        m_fileEncoding(m_file != nullptr ? m_file->CharacterEncoding() : m_encoding),
        m_shownText(m_fileEncoding),
        m_carried(m_fileEncoding, kUtf8Name),
        m_members(m_data) {
    if (!QUAVMBqSameCodePage(m_encoding.c_str(), kUtf8Name)) m_stored.reset(QUAVMBConverterNew_A(m_encoding.c_str()));
  }

  void Write(const Sink& sink, const std::vector<int>& columns) {
    Begin(sink);
    FileMembers();
    WriteVariables(columns);
    SetMembers();
    End();
    m_out += '\n';
    Settle();
  }

  std::string File(bool isPart) {
    std::string text;
    m_isSorted = !isPart;
    Begin([&](std::string_view piece) { text += piece; });
    FileMembers();
    SetMembers();
    End();
    Settle();
    return text;
  }

  Json Variable(const QUAV_Variable& variable) {
    FormatType print{};
    FormatType write{};
    int width[2]{};
    int decimals[2]{};
    variable.GetFormat(print, width[0], decimals[0]);
    variable.GetWriteFormat(write, width[1], decimals[1]);
    return Json::Object({
        {"name", Text(variable.GetName())},
        {"type", variable.GetType()},
        {"label", TextOrNull(variable.GetLabel())},
        {"print", Json::List(int{print}, width[0], decimals[0])},
        {"write", Json::List(int{write}, width[1], decimals[1])},
        {"missing", Missing(variable)},
        {"value_labels", ValueLabels(variable)},
        {"measure", int{variable.GetMeasurementLevel()}},
        {"display_width", variable.GetDisplayWidth()},
        {"alignment", int{variable.GetAlignment()}},
        {"role", int{variable.GetRole()}},
        {"attributes", Attributes(variable.GetAttributes())},
    });
  }

 private:
  // The members before `variables`.
  void FileMembers() {
    if (m_file != nullptr) {
      Member("compression", CompressionName(m_file->GetCompressionLevel()));
      Member("byte_order", m_file->bReversedByteOrder() ? "reversed" : "native");
      Member("encoding", Shown(m_fileEncoding));
      Member("encrypted", m_file->IsEncrypted());
      Member("eye_catcher", Shown(m_file->EyeCatcher()));
      Member("release", Release());
    }
    Member("timestamp", TimestampText(m_data.GetTimestamp()));
    Member("label", TextOrNull(m_data.GetLabel()));
    Member("cases", m_data.RowCount() < 0 ? Json(nullptr) : Json(m_data.RowCount()));
    Member("cells_per_case", m_data.GetObsAreaSize());
    Member("weight", Weight());
  }

  // The members after `variables`.
  void SetMembers() {
    Member("attributes", Attributes(m_data.GetAttributes()));
    Member("documents", Documents());
    Member("variable_sets", Sets(m_data.GetVariableSets()));
    Member("mr_sets", Sets(m_data.GetMRSets()));
    Member("data_editor_formatting", EditorText());
    Member("sort_keys", m_isSorted ? SortKeys() : Json::List());
    Member("sort_index", m_isSorted ? SortIndex() : Json::List());
    Member("trends", Trends());
    Member("extensions", Extensions());
    if (m_file != nullptr) Member("extensions_found", ExtensionsFound());
  }

  void Begin(const Sink& sink) {
    m_sink = sink;
    m_isFirst = true;
  }
  void End() { m_out += "\n}"; }
  // Hands over what was written.
  void Settle() {
    m_sink(m_out);
    m_out.clear();
  }

  void Name(std::string_view name) {
    m_out += m_isFirst ? "{\n  " : ",\n  ";
    m_isFirst = false;
    AppendJsonString(m_out, name);
    m_out += ": ";
  }
  void Member(std::string_view name, const Json& value) {
    Name(name);
    AppendJson(m_out, value, 1);
    Settle();
  }

  // Returns text of the source.
  std::string Text(std::string_view text) {
    if (!m_stored) return Shown(text);
    std::string converted;
    QUAVMBCodePageToU8(m_stored.get(), converted, std::string(text));
    return converted;
  }
  // Returns text that is UTF-8, or else was left as it is in the file.
  std::string Shown(std::string_view text) { return std::string(m_shownText.Valid(text)); }
  Json TextOrNull(const char* text) { return text == nullptr ? Json(nullptr) : Json(Text(text)); }
  // The blanks of the source's encoding may be others than those of UTF-8.
  std::string Value(std::string_view text) {
    const std::string value = Text(WithoutTrailingBlanks(text));
    return std::string(WithoutTrailingBlanks(value));
  }

  // The views leave these texts as they are.
  std::string EditorText() {
    std::string text = m_data.GetDEFormattingInfo().GetInfo();
    m_carried.Convert(text);
    return Shown(text);
  }
  std::string Line(std::string line) {
    m_carried.ConvertLine(line);
    return Shown(WithoutTrailingBlanks(line));
  }
  std::string Key(std::string key) {
    m_carried.ConvertKey(key, m_data.GetSortIndexInfo().GetIndexKeys());
    return Shown(key);
  }

  Json Release() const {
    std::array<int, 3> release{};
    return m_file->GetReleaseInfo(release.data()) ? Json::List(release[0], release[1], release[2]) : Json(nullptr);
  }

  Json Weight() {
    const int column = m_data.GetWeightVarIndex();
    return column < 0 ? Json(nullptr) : Json(Text(m_data.GetVariable(column).GetName()));
  }

  void WriteVariables(const std::vector<int>& columns) {
    Name("variables");
    m_out += '[';
    const char* separator = "\n    ";
    for (const int column : columns) {
      m_out += separator;
      separator = ",\n    ";
      AppendJson(m_out, Variable(m_data.GetVariable(column)), 2);
      Settle();
    }
    m_out += columns.empty() ? "]" : "\n  ]";
  }

  Json Missing(const QUAV_Variable& variable) {
    int code = 0;
    Json values = Json::List();
    for (const OBS* value : MissingValues(variable, &code)) {
      const bool isNumber = variable.GetType() == 0;
      values.Add(isNumber ? MissingNumberJson(*value) : Json(Value({CellText(value), sizeof(OBS)})));
    }
    return Json::Object({{"code", code}, {"values", std::move(values)}});
  }

  Json ValueLabels(const QUAV_Variable& variable) {
    if (!variable.GetValueLabels().IsValid()) return nullptr;
    QUAV_ValueLabelMap map(variable.GetValueLabels());
    Json list = Json::List();
    const char* label = nullptr;
    map.Reset();
    if (map.Type() == 0) {
      for (const OBS* value = nullptr; map.GetNextPair(value, label) != 0;)
        list.Add(Json::List(NumberJson(*value), Text(label)));
    } else {
      for (std::string value; map.GetNextPair(value, label) != 0;) list.Add(Json::List(Value(value), Text(label)));
    }
    return list;
  }

  Json Attributes(const DatasourceAttributes& attributes) {
    Json list = Json::List();
    for (unsigned long k = 0; k < attributes.Size(); ++k) {
      Json values = Json::List();
      for (const std::string& value : attributes.Values(k)) values.Add(Text(value));
      list.Add(Json::List(Text(attributes.Name(k)), std::move(values)));
    }
    return list;
  }

  Json Sets(const std::vector<VariableSetImpl>& sets) {
    Json list = Json::List();
    for (const VariableSetImpl& set : sets) {
      Json names = Json::List();
      for (const std::string& name : m_members.Names(set)) names.Add(Text(name));
      list.Add(Json::Object({{"name", Text(set.name)},
                             {"type", set.type},
                             {"flags", Flags(set)},
                             {"label", Text(set.label)},
                             {"value", Text(set.value)},
                             {"variables", std::move(names)}}));
    }
    return list;
  }

  static std::string Flags(const VariableSetImpl& set) {
    const std::string first = set.useVariableCategoryLabels ? "1" : "0";
    return set.labelSetByVariable ? first + "1" : first;
  }

  Json SortKeys() const {
    Json list = Json::List();
    for (const FileSort::SortKey& key : m_data.GetSortIndexInfo().GetIndexKeys())
      list.Add(Json::List(key.cellIndex, key.keyAttribute, key.stringLength));
    return list;
  }

  Json SortIndex() {
    Json list = Json::List();
    for (const auto& pair : m_data.GetSortIndexInfo().GetIndex())
      list.Add(Json::List(Key(pair.GetKeyValue()), pair.GetRowIndex()));
    return list;
  }

  Json Trends() {
    const QUAV_TrendsInfo& trends = m_data.GetTrendsInfo();
    if (trends == QUAV_TrendsInfo()) return nullptr;
    bool isSet = false;
    int period = 0;
    int first = 0;
    int second = 0;
    trends.GetPeriod(isSet, period);
    trends.GetStart(first, second);
    return Json::Object({{"period", Json::List(isSet, period)},
                         {"start", Json::List(first, second)},
                         {"date_variables", DateVariables(trends)}});
  }

  // Finds the variables by identity, because columns move and a variable may have been deleted.
  Json DateVariables(const QUAV_TrendsInfo& trends) {
    Json list = Json::List();
    for (int i = 0; trends.GetNDateVars() > 0 && i <= trends.GetNDateVars(); ++i) {
      int column = 0;
      int type = 0;
      int third = 0;
      trends.GetDateVar(i, column, type, third);
      column = type == QUAV_TrendsInfo::e_NONE ? -1 : m_data.FindVarIndex(trends.GetDateVarID(i));
      const Json name = column < 0 ? Json(nullptr) : Json(Text(m_data.GetVariable(column).GetName()));
      list.Add(Json::List(name, type, third));
    }
    return list;
  }

  Json Documents() {
    Json list = Json::List();
    for (const DSDocument& document : GetDocuments(m_data)) {
      Json lines = Json::List();
      for (int i = 0; i < document.Size(); ++i) lines.Add(Line(document[i]));
      list.Add(Json::Object({{"date", DateText(document)}, {"lines", std::move(lines)}}));
    }
    return list;
  }

  Json Extensions() const {
    Json list = Json::List();
    for (const int type : m_data.ExtensionTypes()) {
      if (type == kDocumentType) continue;
      const QUAV_DataSource::Extension block(m_data, type);
      list.Add(Json::Object({{"type", type}, {"element_size", block.ElementSize()}, {"length", block.Length()}}));
    }
    return list;
  }

  Json ExtensionsFound() const {
    Json list = Json::List();
    for (int subtype = 0; subtype < kExtensionsFoundSize; ++subtype)
      if (m_file->bExtensionFound(subtype)) list.Add(subtype);
    return list;
  }

  const QUAV_DataSource& m_data;
  const SystemFileDataSource* m_file;  // null when the source presents none
  std::string m_encoding;              // of the source's text
  std::string m_fileEncoding;
  QUAVMBConverterPtr m_stored;  // null when the source's text is UTF-8
  ShownText m_shownText;
  CarriedText m_carried;
  MemberFinder m_members;
  Sink m_sink;
  std::string m_out;  // what the sink does not yet have
  bool m_isFirst = true;
  bool m_isSorted = true;  // whether sort keys are written
};

DictionaryJson::DictionaryJson(const QUAV_DataSource& source, const std::string& encoding)
    : m_source(source), m_writer(std::make_unique<Writer>(source, encoding)) {}

DictionaryJson::~DictionaryJson() = default;

void DictionaryJson::Write(const Sink& sink) {
  std::vector<int> columns(m_source.ColumnCount());
  std::iota(columns.begin(), columns.end(), 0);
  m_writer->Write(sink, columns);
}

void DictionaryJson::Write(const Sink& sink, const std::vector<int>& columns) { m_writer->Write(sink, columns); }

std::string DictionaryJson::File(bool isPart) { return m_writer->File(isPart); }

std::string DictionaryJson::Variable(int column) {
  std::string text;
  AppendJson(text, m_writer->Variable(m_source.GetVariable(column)));
  return text;
}

}  // namespace dstext
