#include "Columns/dictionary/ArrivingDictionary.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "Columns/dictionary/DictionaryJsonError.h"
#include "Platform/text/QUAVMB.h"
#include "datasrc/Obs.h"

namespace dstext {

namespace {

constexpr std::array kMembersOfAType{"type", "print", "write", "missing", "value_labels"};
constexpr int kNoType = -1;

std::string Upper(const std::string& name) { return QUAVMBstrupr_A(name); }

Json ObjectOf(std::string_view text) {
  Json tree = text.empty() ? Json::Object() : ReadDictionaryTree(text);
  if (!tree.IsObject()) throw DictionaryJsonError("the dictionary is not an object");
  return tree;
}

// Names the metadata in the error.
Json MetadataObject(std::string_view text, const std::string& owner) {
  try {
    return ObjectOf(text);
  } catch (const DictionaryJsonError& error) {
    throw DictionaryJsonError("in the metadata of " + owner + ", " + error.what());
  }
}

// Returns 0 for a number, the width of a text, or kNoType.
int TypeOf(const Json& variable) {
  const Json* const found = variable.Find("type");
  const std::optional<long long> type = found != nullptr ? found->Integer() : std::nullopt;
  return type && 0 <= *type && *type <= MAX_STRING_TYPE ? static_cast<int>(*type) : kNoType;
}

bool HasLabels(const Json& variable) {
  const Json* const found = variable.Find("value_labels");
  return found != nullptr && !found->IsEmpty();
}

Json FormatJson(const QUAV_Format& format) {
  return Json::List(static_cast<int>(format.Type()), format.Width(), format.Decimals());
}

void DropSortIndex(Json& file) {
  for (const char* const member : {"sort_keys", "sort_index"}) file.Erase(member);
}

// Gives the formats of a text its width.
void SetWidth(Json& variable, int width) {
  if (TypeOf(variable) == width) return;
  variable.Set("type", width);
  for (const char* const member : {"print", "write"}) variable.Set(member, FormatJson({kFormatString, width, 0}));
}

}  // namespace

struct ArrivingDictionary::Trees {
  Json file;                    // without variables
  std::vector<Json> variables;  // one for each column
  std::vector<int> fixedWidths;
  std::vector<int> leastWidths;
  bool wishesSortKeys = false;
};

// ---- What is known of each column ----

namespace {

// The wishes for the variables by their names.
class Wishes {
 public:
  Wishes(Json& tree, const std::vector<ArrivingVariable>& columns) {
    Json* const list = tree.Find("variables");
    if (list == nullptr) return;
    if (!list->IsList()) throw DictionaryJsonError("variables is not a list");
    std::unordered_set<std::string> names;
    for (const ArrivingVariable& column : columns) names.insert(Upper(column.name));
    for (std::size_t i = 0; i < list->Size(); ++i) {
      Json& variable = (*list)[i];
      const std::string place = "variables[" + std::to_string(i) + "]";
      const Json* const named = variable.IsObject() ? variable.Find("name") : nullptr;
      if (named == nullptr || !named->IsText()) throw DictionaryJsonError(place + " has no name");
      const std::string name = named->Text();
      if (!names.contains(Upper(name))) throw DictionaryJsonError(place + " is " + name + ", which is no column");
      if (!m_variables.emplace(Upper(name), std::move(variable)).second)
        throw DictionaryJsonError(place + " has the name " + name + " of an earlier variable");
    }
    tree.Erase("variables");
  }

  // Returns the wishes for a column, or an empty object.
  Json Take(const std::string& name) {
    const auto found = m_variables.find(Upper(name));
    return found != m_variables.end() ? std::move(found->second) : Json::Object();
  }

 private:
  std::unordered_map<std::string, Json> m_variables;
};

// Drops what the metadata say of another type.
void Adapt(Json& metadata, bool isText) {
  const int type = TypeOf(metadata);
  const bool fits = isText ? type > 0 || (type == 0 && HasLabels(metadata)) : type == 0;
  if (fits) return;
  for (const char* const member : kMembersOfAType) metadata.Erase(member);
}

void SetDefaults(Json& variable, const ArrivingVariable& column) {
  const bool isNumber = TypeOf(variable) == 0 || (TypeOf(variable) == kNoType && !column.isText);
  if (!isNumber) return;
  variable.Set("type", 0);
  if (!variable.Contains("print")) variable.Set("print", FormatJson(column.format));
  if (!variable.Contains("write")) variable.Set("write", *variable.Find("print"));
}

// ---- References of the metadata to variables ----

class References {
 public:
  explicit References(const std::vector<ArrivingVariable>& columns) {
    for (const ArrivingVariable& column : columns) m_names.insert(Upper(column.name));
  }

  // Drops the references to variables that do not exist.
  void Prune(Json& file) const {
    if (const Json* const weight = file.Find("weight"); weight != nullptr && !Exists(*weight)) file.Erase("weight");
    for (const char* const member : {"variable_sets", "mr_sets"})
      if (Json* const sets = file.Find(member); sets != nullptr && sets->IsList()) PruneSets(*sets);
    if (const Json* const trends = file.Find("trends"); trends != nullptr && !HasItsVariables(*trends))
      file.Erase("trends");
  }

 private:
  bool Exists(const Json& name) const { return name.IsText() && m_names.contains(Upper(name.Text())); }

  void PruneSets(Json& sets) const {
    Json kept = Json::List();
    for (Json& set : sets.Elements()) {
      Json* const members = set.IsObject() ? set.Find("variables") : nullptr;
      if (members == nullptr || !members->IsList()) continue;
      std::erase_if(members->Elements(), [this](const Json& name) { return !Exists(name); });
      if (!members->IsEmpty()) kept.Add(std::move(set));
    }
    sets = std::move(kept);
  }

  bool HasItsVariables(const Json& trends) const {
    const Json* const list = trends.IsObject() ? trends.Find("date_variables") : nullptr;
    if (list == nullptr || !list->IsList()) return false;
    const Json::Items& entries = list->Elements();
    return std::ranges::all_of(entries, [&](const Json& entry) {
      if (!entry.IsList() || entry.Size() != 3) return false;
      const bool isKey = &entry == &entries.back();
      const bool hasNoType = entry[1].IsNumber() && entry[1].Number() == 0;
      return hasNoType ? isKey : Exists(entry[0]);
    });
  }

  std::unordered_set<std::string> m_names;
};

// Whether the columns have the same cells as the data set that the metadata describe.
bool HaveTheSameCells(const Json& file, const std::vector<Json>& metadata) {
  const Json* const cells = file.Find("cells_per_case");
  if (cells == nullptr || !cells->IsInteger()) return false;
  std::size_t sum = 0;
  for (const Json& variable : metadata) {
    const int type = TypeOf(variable);
    if (type == kNoType) return false;
    sum += CellCount(type);
  }
  return cells->Integer() == static_cast<long long>(sum);
}

}  // namespace

ArrivingDictionary::ArrivingDictionary(std::string_view metadata, std::string_view wishes,
                                       std::vector<ArrivingVariable> columns)
    : m_columns(std::move(columns)), m_trees(std::make_unique<Trees>()) {
  Json wished = ObjectOf(wishes);
  Wishes wishedVariables(wished, m_columns);
  m_trees->file = MetadataObject(metadata, "the data set");
  m_trees->file.Erase("variables");

  std::vector<Json> known;
  for (const ArrivingVariable& column : m_columns)
    known.push_back(MetadataObject(column.metadata, "the column " + column.name));
  References(m_columns).Prune(m_trees->file);
  if (!HaveTheSameCells(m_trees->file, known)) DropSortIndex(m_trees->file);
  m_trees->wishesSortKeys = wished.Contains("sort_keys");
  m_trees->file.Update(std::move(wished));

  for (std::size_t k = 0; k < m_columns.size(); ++k) {
    Json& variable = m_trees->variables.emplace_back(std::move(known[k]));
    Adapt(variable, m_columns[k].isText);
    m_trees->leastWidths.push_back(std::max(TypeOf(variable), 1));
    Json wish = wishedVariables.Take(m_columns[k].name);
    if (wish.Contains("type") && TypeOf(wish) == kNoType)
      throw DictionaryJsonError("the type of the variable " + m_columns[k].name + " is not a whole number from 0 to " +
                                std::to_string(MAX_STRING_TYPE));
    m_trees->fixedWidths.push_back(std::max(TypeOf(wish), 0));
    if (const int type = TypeOf(wish); type > 0) SetWidth(variable, type);
    variable.Update(std::move(wish));
    variable.Set("name", m_columns[k].name);
    SetDefaults(variable, m_columns[k]);
  }
}

ArrivingDictionary::~ArrivingDictionary() = default;

bool ArrivingDictionary::IsNumber(std::size_t column) const { return TypeOf(m_trees->variables[column]) == 0; }

std::optional<int> ArrivingDictionary::FixedWidth(std::size_t column) const {
  const int width = m_trees->fixedWidths[column];
  return width > 0 ? std::optional(width) : std::nullopt;
}

int ArrivingDictionary::LeastWidth(std::size_t column) const { return m_trees->leastWidths[column]; }

JsonDictionary ArrivingDictionary::Build(const std::vector<int>& widths) const {
  Json tree = m_trees->file;
  Json variables = Json::List();
  for (std::size_t k = 0; k < m_columns.size(); ++k) {
    Json& variable = variables.Add(m_trees->variables[k]);
    if (IsNumber(k)) continue;
    // The sort index of the metadata counts cells.
    if (TypeOf(variable) != widths[k] && !m_trees->wishesSortKeys) DropSortIndex(tree);
    SetWidth(variable, widths[k]);
  }
  tree.Set("variables", std::move(variables));
  return BuildDictionary(tree, kUtf8Name);
}

}  // namespace dstext
