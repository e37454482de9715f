#include "Columns/dictionary/JsonDictionary.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <set>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "Columns/dictionary/JsonNode.h"
#include "Columns/dictionary/JsonTree.h"
#include "Columns/text/IsoReader.h"
#include "Columns/text/ShownText.h"
#include "Platform/AssertionsThrow.h"
#include "Platform/text/QUAVMB.h"
#include "datasrc/Calendar.h"
#include "datasrc/DSDocument.h"
#include "datasrc/QUAV_TrendsInfo.h"
#include "datasrc/SortIndexInfo.h"
#include "datasrc/VariableNames.h"
#include "datasrc/VariableSet.h"

namespace dstext {

namespace {

constexpr long long kMostFormatField = 255;
constexpr long long kMostInt = std::numeric_limits<int>::max();
// Files contain levels, alignments and roles without a name, too. These are the bits that a variable has for them.
constexpr long long kMostLevel = 15;
constexpr long long kMostAlignment = 3;
constexpr std::size_t kFormatFields = 3;
constexpr std::size_t kMostMissing = 3;
constexpr std::size_t kDocumentLineSize = 80;
constexpr std::size_t kFileLabelSize = 64;
constexpr std::size_t kValueLabelSize = 255;  // of a number or a string of up to 8 bytes
constexpr int kWidestWithFormat = 255;        // a wider string is stored in parts, which have formats of their own
constexpr std::size_t kLeastFormatting = 2;   // a system file does not keep formatting of one byte
constexpr std::string_view kBadBeginnings = "#$_.";
constexpr std::string_view kMemberOfRole = "$@Role";

// The members that are used, whatever object they are in.
const std::set<std::string_view> kMembers{
    "alignment",    "attributes",     "cells_per_case", "code",      "data_editor_formatting",
    "date",         "date_variables", "display_width",  "documents", "flags",
    "label",        "lines",          "measure",        "missing",   "mr_sets",
    "name",         "period",         "print",          "role",      "sort_index",
    "sort_keys",    "start",          "trends",         "type",      "value",
    "value_labels", "values",         "variable_sets",  "variables", "weight",
    "write"};

// Refuses text that is longer in the encoding of the system file than its field there.
class LengthLimit {
 public:
  explicit LengthLimit(const std::string& encoding) {
    if (!QUAVMBqSameCodePage(encoding.c_str(), kUtf8Name)) m_converter.reset(QUAVMBConverterNew_A(encoding.c_str()));
  }

  std::string TextWithin(std::size_t limit, const JsonNode& node) const {
    std::string text = node.Text();
    std::string stored = text;
    if (m_converter) QUAVMBU8ToCodePage(m_converter.get(), stored, text);
    if (stored.size() > limit)
      node.Fail("has " + std::to_string(stored.size()) + " bytes, but a system file has room for " +
                std::to_string(limit));
    return text;
  }

 private:
  QUAVMBConverterPtr m_converter;  // null for UTF-8
};

// Members that a system file keeps in another form than the dictionary has them. Files have such values, too.
class ChangedMembers {
 public:
  // `change` follows the place: "is stored as ...".
  void Add(const JsonNode& node, const std::string& change) {
    const auto found = std::ranges::find(m_changes, change, &Change::text);
    if (found == m_changes.end()) {
      m_changes.push_back({node.Place(), change, 0});
    } else {
      ++found->more;
    }
  }

  // Returns a line for each kind of change.
  std::vector<std::string> Warnings() const {
    std::vector<std::string> lines;
    for (const auto& [place, text, more] : m_changes)
      lines.push_back(place + " " + text + (more == 0 ? "" : ", and " + std::to_string(more) + " more"));
    return lines;
  }

 private:
  struct Change {
    std::string place;  // of the first
    std::string text;
    long long more;
  };

  std::vector<Change> m_changes;
};

// ---- Variables ----

std::string LegalName(const JsonNode& node) {
  const std::string name = node.Text();
  if (name.ends_with(' ')) node.Fail("ends with a blank");
  if (!MayNameVariable(name)) node.Fail("is not a legal variable name");
  return name;
}

std::string FormatText(const QUAV_Format& format) {
  return "[" + std::to_string(static_cast<int>(format.Type())) + ", " + std::to_string(format.Width()) + ", " +
         std::to_string(format.Decimals()) + "]";
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
  if (text.size() > width) node.Fail("is longer than the " + std::to_string(width) + " bytes of its field");
  return text;
}

// Fails when a variable would not keep the format.
QUAV_Format KeptFormat(const JsonNode& node, int type, ChangedMembers& changed) {
  const QUAV_Format format = Format(node);
  QUAV_Variable variable(type);
  variable.SetFormat(format);
  if (const QUAV_Format kept = variable.GetFormat(); kept != format)
    node.Fail("is a format that becomes " + FormatText(kept));
  const QUAV_Format ofWide(kFormatString, type, 0);
  if (type > kWidestWithFormat && format != ofWide) changed.Add(node, "is stored as " + FormatText(ofWide));
  return format;
}

OBS MissingValue(const JsonNode& node, int type) {
  if (type == 0) {
    if (node.IsNull()) node.Fail("is null, which is missing anyway");
    if (node.IsText("lowest")) return kSystemMissingCell;  // both are the same number
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
  if (code == -1) node.Fail("has an unknown code");
  if (code < 0 && variable.GetType() != 0) node.Member("code").Fail("is a range, which only numbers can have");
  list.MustHave(static_cast<std::size_t>(std::abs(code)));
  std::array<OBS, kMostMissing> values{};
  for (std::size_t i = 0; i < list.Size(); ++i) values[i] = MissingValue(list[i], variable.GetType());
  variable.SetMissingValues(code, &values[0], &values[1], &values[2]);
}

// Returns the cells of a value, padded with blanks.
std::vector<OBS> LabelledValue(const JsonNode& node, int type) {
  if (type == 0) return {node.NumberCell()};
  std::vector<OBS> cells(CellCount(type), kBlankCell);
  const std::string text = TextValue(node, static_cast<std::size_t>(type));
  text.copy(CellText(cells.data()), text.size());
  return cells;
}

void SetValueLabels(QUAV_Variable& variable, const JsonNode& list, const LengthLimit& limit) {
  if (list.IsNull()) return;
  const int type = variable.GetType();
  // Wider strings have a record of their own, which stores labels of any length.
  const bool isShort = static_cast<std::size_t>(type) <= sizeof(OBS);
  std::vector<ValueLabel> pairs;
  for (std::size_t i = 0; i < list.Size(); ++i) {
    list[i].MustHave(2);
    const JsonNode label = list[i][1];
    pairs.push_back(
        {LabelledValue(list[i][0], type), isShort ? limit.TextWithin(kValueLabelSize, label) : label.Text()});
  }
  QUAV_ValueLabelMap map(type);
  map.AddPairs(std::move(pairs));
  if (static_cast<std::size_t>(map.Size()) != list.Size()) list.Fail("has two labels for one value");
  variable.SetValueLabels(map);
}

// Returns a text that a file stores as a line, so that it cannot contain a line break.
std::string LineOf(const JsonNode& node, const std::string& owner) {
  const std::string text = node.Text();
  if (text.find_first_of("\r\n") != text.npos) node.Fail("contains a line break, which " + owner + " cannot store");
  return text;
}

DatasourceAttributes Attributes(const JsonNode& list) {
  std::vector<DatasourceAttributes::Entry> entries;
  std::unordered_set<std::string> names;  // in upper case
  for (std::size_t i = 0; i < list.Size(); ++i) {
    list[i].MustHave(2);
    const JsonNode node = list[i][0];
    std::string name = node.Text();
    if (DatasourceAttributes::ValidateVarAttrName(name) == 0) node.Fail("is not a legal attribute name");
    if (!names.insert(QUAVMBstrupr_A(name)).second) node.Fail("is the name " + name + " of an earlier attribute");
    const JsonNode texts = list[i][1];
    if (texts.Size() == 0) texts.Fail("is empty, but a system file has no attribute without values");
    std::vector<std::string> values;
    for (std::size_t k = 0; k < texts.Size(); ++k) values.push_back(LineOf(texts[k], "the attribute " + name));
    entries.emplace_back(std::move(name), std::move(values));
  }
  DatasourceAttributes attributes;
  attributes.DefineAll(std::move(entries));
  return attributes;
}

DatasourceAttributes AttributesOfVariable(const JsonNode& list) {
  DatasourceAttributes attributes = Attributes(list);
  if (attributes.Index(std::string(kMemberOfRole)) >= 0) list.Fail("contains $@Role, which the member role sets");
  return attributes;
}

short DisplayWidth(const JsonNode& node, ChangedMembers& changed) {
  const auto width =
      static_cast<short>(node.Integer(std::numeric_limits<short>::min(), std::numeric_limits<short>::max()));
  if (width < 1) changed.Add(node, "is not positive: a system file has the default width instead");
  return width;
}

QUAV_Variable::MeasurementLevel MeasurementLevel(const JsonNode& node, ChangedMembers& changed) {
  const auto level = static_cast<QUAV_Variable::MeasurementLevel>(node.Integer(0, kMostLevel));
  if (level == QUAV_Variable::kLevelExtended4 || level == QUAV_Variable::kLevelExtended5)
    changed.Add(node, "is stored as 1 and an attribute");
  return level;
}

QUAV_Variable::Role Role(const JsonNode& node, ChangedMembers& changed) {
  const auto role = static_cast<QUAV_Variable::Role>(node.Integer(-kMostInt - 1, kMostInt));
  if (role == QUAV_Variable::kRoleExtended6 || role == QUAV_Variable::kRoleExtended7)
    changed.Add(node, "is stored as 3 and an attribute");
  return role;
}

QUAV_Variable Variable(const JsonNode& node, const LengthLimit& limit, ChangedMembers& changed) {
  const auto type = static_cast<int>(node.Member("type").Integer(0, MAX_STRING_TYPE));
  QUAV_Variable variable(type);
  variable.SetName(LegalName(node.Member("name")).c_str());
  if (const auto label = node.Find("label"); label && !label->IsNull()) variable.SetLabel(label->Text().c_str());
  if (const auto format = node.Find("print")) variable.SetFormat(KeptFormat(*format, type, changed));
  if (const auto format = node.Find("write")) variable.SetWriteFormat(KeptFormat(*format, type, changed));
  if (const auto missing = node.Find("missing")) SetMissing(variable, *missing);
  if (const auto labels = node.Find("value_labels")) SetValueLabels(variable, *labels, limit);
  if (const auto level = node.Find("measure")) variable.SetMeasurementLevel(MeasurementLevel(*level, changed));
  if (const auto width = node.Find("display_width")) variable.SetDisplayWidth(DisplayWidth(*width, changed));
  if (const auto alignment = node.Find("alignment"))
    variable.SetAlignment(static_cast<QUAV_Variable::Alignment>(alignment->Integer(0, kMostAlignment)));
  if (const auto role = node.Find("role")) variable.SetRole(Role(*role, changed));
  if (const auto attributes = node.Find("attributes")) variable.SetAttributes(AttributesOfVariable(*attributes));
  return variable;
}

// ---- The data set ----

// Moves the members of the object into the dictionary, one function for each.
class Builder {
 public:
  Builder(const JsonNode& root, const std::string& encoding) : m_root(root), m_limit(encoding) {}

  JsonDictionary Build() {
    Variables(m_root.Member("variables"));
    if (const auto label = m_root.Find("label"); label && !label->IsNull())
      m_source->SetLabel(m_limit.TextWithin(kFileLabelSize, *label).c_str());
    if (const auto weight = m_root.Find("weight"); weight && !weight->IsNull()) Weight(*weight);
    if (const auto attributes = m_root.Find("attributes")) m_source->SetAttributes(Attributes(*attributes));
    if (const auto sets = m_root.Find("variable_sets")) m_source->SetVariableSets(Sets(*sets));
    if (const auto sets = m_root.Find("mr_sets")) m_source->SetMRSets(Sets(*sets));
    if (const auto formatting = m_root.Find("data_editor_formatting")) Formatting(*formatting);
    SortIndex();
    if (const auto documents = m_root.Find("documents")) SaveDocuments(Documents(*documents), *m_source);
    if (const auto trends = m_root.Find("trends"); trends && !trends->IsNull()) Trends(*trends);
    return {std::move(m_source), std::move(m_warnings)};
  }

 private:
  void Variables(const JsonNode& list) {
    if (list.Size() == 0) list.Fail("is empty");
    ChangedMembers changed;
    for (std::size_t i = 0; i < list.Size(); ++i) {
      const QUAV_Variable variable = Variable(list[i], m_limit, changed);
      if (!m_columns.emplace(variable.GetUpperCaseName(), static_cast<int>(i)).second)
        list[i].Fail(std::string("has the name ") + variable.GetName() + " of an earlier variable");
      m_source->MakeVariable(variable, nullptr);
    }
    m_warnings = changed.Warnings();
  }

  int Column(const JsonNode& name) const {
    const auto found = m_columns.find(QUAVMBstrupr_A(name.Text()));
    if (found == m_columns.end()) name.Fail("is not the name of a variable");
    return found->second;
  }

  // Files contain weights that are strings, too.
  void Weight(const JsonNode& name) { m_source->SetWeightVar(Column(name)); }

  std::vector<VariableSetImpl> Sets(const JsonNode& list) const {
    std::vector<VariableSetImpl> sets;
    std::set<std::pair<bool, std::string>> names;
    for (std::size_t i = 0; i < list.Size(); ++i) {
      sets.push_back(Set(list[i]));
      // Sets in different records may have the same name.
      if (!names.emplace(sets.back().useVariableCategoryLabels, sets.back().name).second)
        list[i].Member("name").Fail("is the name " + sets.back().name + " of an earlier set");
    }
    return sets;
  }

  VariableSetImpl Set(const JsonNode& node) const {
    VariableSetImpl set;
    if (const auto type = node.Find("type")) set.type = static_cast<int>(type->Integer(0, 2));
    set.name = SetName(node.Member("name"), set.type);
    if (const auto flags = node.Find("flags")) SetFlags(set, *flags);
    if (const auto label = node.Find("label")) SetLabel(set, *label);
    if (const auto value = node.Find("value")) {
      set.value = LineOf(*value, "a set");
      if (set.type != VariableSet::kDichotomy && !set.value.empty()) value->Fail("belongs to a set of type 2 only");
    }
    if (set.type == VariableSet::kDichotomy && set.value.empty()) node.Fail("has no counted value");
    const JsonNode names = node.Member("variables");
    if (names.Size() == 0) names.Fail("is empty, but a system file has no set without variables");
    std::set<int> columns;
    for (std::size_t i = 0; i < names.Size(); ++i) {
      const int column = Column(names[i]);
      if (!columns.insert(column).second) names[i].Fail("is the name of an earlier variable of the set");
      set.members.push_back(std::as_const(*m_source).GetVariable(column).GetID());
    }
    return set;
  }

  // A file stores the flags of a set of type 2 whose first flag is set. Others have none.
  static void SetFlags(VariableSetImpl& set, const JsonNode& node) {
    const std::string text = node.Text();
    if (text.size() > 2 || text.find_first_not_of("01") != text.npos) node.Fail("is not one or two of 0 and 1");
    set.useVariableCategoryLabels = text.starts_with('1');
    set.labelSetByVariable = text.size() == 2 && text.ends_with('1');
    if (set.useVariableCategoryLabels && set.type != VariableSet::kDichotomy)
      node.Fail("begins with 1, which belongs to a set of type 2 only");
    if (set.labelSetByVariable && !set.useVariableCategoryLabels)
      node.Fail("is 01, but a system file has the second flag only together with the first");
  }

  static void SetLabel(VariableSetImpl& set, const JsonNode& node) {
    set.label = LineOf(node, "a set");
    if (set.label.empty()) return;
    if (set.type == VariableSet::kPlain) node.Fail("belongs to a multiple response set only");
    if (set.labelSetByVariable) node.Fail("cannot be stored, because the flags take the label from a variable");
  }

  // In a file, a leading $ marks a multiple response set, and "=" ends the name.
  static std::string SetName(const JsonNode& node, int type) {
    std::string name = LineOf(node, "a set");
    if (name.empty() || name.find('=') != name.npos) node.Fail("is not a legal set name");
    if (name.starts_with('$') != (type != VariableSet::kPlain))
      node.Fail("must begin with $ in a multiple response set, and only there");
    return name;
  }

  static std::vector<DSDocument> Documents(const JsonNode& list) {
    std::vector<DSDocument> documents;
    for (std::size_t i = 0; i < list.Size(); ++i) documents.push_back(Document(list[i]));
    return documents;
  }

  // Returns whether the library takes the line for a date line. Asserts where the library does.
  static bool EndsDocument(const std::string& line) {
    DSDocument document;
    document.AddLine(line);
    SystemFileDataSource source;
    SaveDocuments({document}, source);
    return !GetDocuments(source).empty();
  }

  // The date line may be among the lines. If it is not, it is added.
  static DSDocument Document(const JsonNode& node) {
    DSDocument document;
    SetDate(document, node.Member("date"));
    const JsonNode lines = node.Member("lines");
    bool hasDateLine = false;
    for (std::size_t i = 0; i < lines.Size(); ++i) {
      const std::string line = LineOf(lines[i], "a document");
      if (line.size() > kDocumentLineSize) lines[i].Fail("is longer than the 80 bytes of a line");
      document.AddLine(line);
      try {
        const AssertionsThrow scope;
        hasDateLine = EndsDocument(line);
      } catch (const AssertionFailure&) {
        lines[i].Fail("is a date line without a date");
      }
    }
    if (!hasDateLine) AddDateLine(document);
    return document;
  }

  static void SetDate(DSDocument& document, const JsonNode& node) {
    const IsoValue date = ReadIsoText(node.Text());
    if (date.kind != IsoKind::date) node.Fail("is not a date YYYY-MM-DD");
    long day = 0;
    long month = 0;
    long year = 0;
    iQuav2DMY(date.value, &day, &month, &year, nullptr, nullptr, nullptr);
    document.Year(static_cast<int>(year));
    document.Month(static_cast<int>(month));
    document.Day(static_cast<int>(day));
  }

  void Trends(const JsonNode& node) {
    QUAV_TrendsInfo& trends = m_source->GetTrendsInfo();
    const JsonNode entries = node.Member("date_variables");
    constexpr std::size_t kMostEntries = QUAV_TrendsInfo::eMaxDateVars;  // including the date key
    if (entries.Size() > kMostEntries) entries.Fail("has more than 10 date variables and the date key");
    trends.SetNDateVars(entries.Size() == 0 ? 0 : static_cast<int>(entries.Size()) - 1);
    for (std::size_t i = 0; i < entries.Size(); ++i) DateVariable(trends, static_cast<int>(i), entries[i]);
    const JsonNode period = node.Member("period");
    period.MustHave(2);
    trends.SetPeriod(period[0].Flag(), static_cast<int>(period[1].Integer(-kMostInt, kMostInt)));
    const JsonNode start = node.Member("start");
    start.MustHave(2);
    trends.SetStart(static_cast<int>(start[0].Integer(-kMostInt, kMostInt)),
                    static_cast<int>(start[1].Integer(-kMostInt, kMostInt)));
    if (!QUAV_TrendsInfo(trends).Validate())
      m_warnings.emplace_back("the date variables of the trends have wrong names or types and are omitted");
  }

  void DateVariable(QUAV_TrendsInfo& trends, int index, const JsonNode& node) const {
    node.MustHave(3);
    const auto type = static_cast<int>(node[1].Integer(0, QUAV_TrendsInfo::e_DATKEY));
    const auto third = static_cast<int>(node[2].Integer(-kMostInt, kMostInt));
    const bool isKey = index == trends.GetNDateVars();
    if (isKey && type != QUAV_TrendsInfo::e_DATKEY && type != QUAV_TrendsInfo::e_NONE)
      node[1].Fail("is not a type of the date key, which is the last entry");
    // A file would not have the entry, but count it.
    if (!isKey && type == QUAV_TrendsInfo::e_NONE) node[1].Fail("is not the type of a date variable");
    if (type != QUAV_TrendsInfo::e_NONE) trends.SetDateVar(index, Column(node[0]), type, third);
  }

  void Formatting(const JsonNode& node) {
    DataEditorFormattingInfo info;
    const std::string text = node.Text();
    if (!text.empty() && text.size() < kLeastFormatting) node.Fail("has one byte, which a system file does not keep");
    info.SetInfo(text);
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
      const std::string key = list[i][0].Text();
      if (key.find_first_of({groupDelimiterChar, unitDelimiterChar}) != key.npos)
        list[i][0].Fail("contains a byte that ends the text in a system file");
      rows.emplace_back(key, list[i][1].Integer(0, std::numeric_limits<long long>::max()));
    }
    return rows;
  }

  const JsonNode& m_root;
  const LengthLimit m_limit;
  std::unique_ptr<SystemFileDataSource> m_source = std::make_unique<SystemFileDataSource>();
  std::unordered_map<std::string, int> m_columns;  // keyed by the name in upper case
  std::vector<std::string> m_warnings;
};

}  // namespace

JsonDictionary ReadDictionaryJson(std::string_view json, const std::string& encoding) {
  return BuildDictionary(ReadDictionaryTree(json), encoding);
}

Json ReadDictionaryTree(std::string_view json) { return ReadJsonTree(json, kMembers); }

JsonDictionary BuildDictionary(const Json& tree, const std::string& encoding) {
  const JsonNode root(tree);
  return Builder(root, encoding).Build();
}

// Names with the bad beginnings would be replaced when the file is read.
bool MayNameVariable(const std::string& name) {
  const int fault = ValidateQUAVName(name.c_str());
  return fault != kNameLength && fault != kNameCharacter && kBadBeginnings.find(name.front()) == kBadBeginnings.npos &&
         !name.ends_with(' ');
}

}  // namespace dstext
