#include "datasrc/VariableSet.h"

#include <algorithm>
#include <utility>

#include "Platform/Assert.h"
#include "Platform/text/QUAVMB.h"
#include "sources/VariableFinder.h"
#include "sources/VariableSetRecord.h"

const int VariableSet::kNoError = 0;
const int VariableSet::kNameLengthTooBig = 50000;
const int VariableSet::kValueOutOfBound = 50001;
const int VariableSet::kVariableNameNotFound = 50002;
const int VariableSet::kTooFewVariables = 50003;
const int VariableSet::kInvalidSetName = 50004;

namespace {

constexpr bool IsOn(char flag) { return flag != '0'; }

// Searches a source for names, one after the other. A finder is worth its cost only for more than a few.
class NameSearch {
 public:
  explicit NameSearch(const QUAV_DataSource& source) : m_source(source), m_finder(source) {}

  int Find(const std::string& name) {
    constexpr int kFew = 8;
    return ++m_count <= kFew ? m_source.FindVarIndex(name.c_str(), 0) : m_finder.Find(name.c_str());
  }

 private:
  const QUAV_DataSource& m_source;
  VariableFinder m_finder;
  int m_count = 0;
};

std::map<LocallyUniqueID, int> ColumnsByID(const QUAV_DataSource& source) {
  std::map<LocallyUniqueID, int> columns;
  for (int column = 0; column < static_cast<int>(source.ColumnCount()); ++column)
    columns.emplace(source.GetVariable(column).GetID(), column);
  return columns;
}

bool SameName(const std::string& a, const std::string& b) { return QUAVMBstricmp_A(a.c_str(), b.c_str()) == 0; }

}  // namespace

std::string ToLowerCase(const std::string& str) {
  QUAV_ASSERT(!str.empty(), "! str.empty()");
  return QUAVMBstrlwr_A(str);
}

std::string ToUpperCase(const std::string& str) {
  QUAV_ASSERT(!str.empty(), "! str.empty()");
  return QUAVMBstrupr_A(str);
}

std::string VariableSet::GetName(ChangeCase how) const {
  QUAV_ASSERT(how == kLowerCase || how == kUpperCase || how == kAsStored, "0 && \"Bad case code\"");
  if (how == kLowerCase) return ToLowerCase(m_name);
  return how == kUpperCase ? ToUpperCase(m_name) : m_name;
}

std::string VariableSet::GetLabel(QUAV_DataSource& source) const {
  if (!qLabelSetByVariable()) return m_label;
  NameSearch search(source);
  for (const std::string& name : m_variableNames) {
    const int column = search.Find(name);
    const char* const label = column < 0 ? nullptr : std::as_const(source).GetVariable(column).GetLabel();
    if (label != nullptr) return label;
  }
  return m_variableNames.front();
}

std::vector<std::string> VariableSet::GetVariableNames(ChangeCase how) const {
  QUAV_ASSERT(how == kLowerCase || how == kUpperCase || how == kAsStored, "0 && \"This case is not handeld!\"");
  std::vector<std::string> names = m_variableNames;
  if (how == kLowerCase) std::ranges::transform(names, names.begin(), ToLowerCase);
  if (how == kUpperCase) std::ranges::transform(names, names.begin(), ToUpperCase);
  return names;
}

void VariableSet::AddVariableName(const std::string& name) {
  if (name.empty()) return;
  constexpr std::size_t kFew = 16;
  if (m_variableNames.size() < kFew) {
    const auto isIt = [&name](const std::string& member) { return SameName(member, name); };
    if (std::ranges::none_of(m_variableNames, isIt)) m_variableNames.push_back(name);
    return;
  }
  for (; m_nKnown < m_variableNames.size(); ++m_nKnown) m_known.insert(QUAVMBstrupr_A(m_variableNames[m_nKnown]));
  // After these, only the name of the new member needs memory: a known name must be that of a member.
  std::string member(name);
  if (m_variableNames.size() == m_variableNames.capacity()) m_variableNames.reserve(2 * m_variableNames.size());
  if (!m_known.insert(QUAVMBstrupr_A(name)).second) return;
  m_variableNames.push_back(std::move(member));
  ++m_nKnown;
}

void VariableSet::SetVariableNames(std::vector<std::string> names) {
  m_variableNames = std::move(names);
  m_known.clear();
  m_nKnown = 0;
}

std::string VariableSet::GetFlags() const {
  const std::string first = m_flags[0] ? "1" : "0";
  return m_flags[1] ? first + "1" : first;
}

void VariableSet::SetFlags(const std::string& text) {
  m_flags[0] = !text.empty() && IsOn(text[0]);
  m_flags[1] = text.size() > 1 && IsOn(text[1]);
}

int VariableSet::Validate() const {
  if (m_name.size() > kMaxVariableName) return kNameLengthTooBig;
  if (ValidateQUAVName(m_name.c_str()) != (m_type == kPlain ? kNameIsLegal : kNameOfSystem)) return kInvalidSetName;
  return m_variableNames.empty() ? kTooFewVariables : kNoError;
}

bool VariableSet::operator==(const VariableSet& other) const {
  return SameName(m_name, other.m_name) && m_type == other.m_type && m_flags == other.m_flags &&
         m_label == other.m_label && m_value == other.m_value &&
         std::ranges::equal(m_variableNames, other.m_variableNames, SameName);
}

// ---- Conversion from and to VariableSetImpl ----

void ConvertToImpl(const VariableSet& set, const QUAV_DataSource& source, VariableSetImpl& stored,
                   const VariableNameIndex* index) {
  VariableSetImpl converted;
  converted.type = set.GetType();
  converted.name = set.GetName(VariableSet::kAsStored);
  converted.label = set.GetLabel();
  converted.value = set.GetValue();
  converted.useVariableCategoryLabels = set.qUseVariableCategoryLabels();
  converted.labelSetByVariable = set.qLabelSetByVariable();
  NameSearch search(source);
  for (const std::string& name : set.GetVariableNames(VariableSet::kAsStored)) {
    const int column = index != nullptr ? index->Find(ToUpperCase(name).c_str()) : search.Find(name);
    if (column >= 0) converted.members.push_back(source.GetVariable(column).GetID());
  }
  stored = std::move(converted);
}

void ConvertToVarSet(const VariableSetImpl& stored, const QUAV_DataSource& source, VariableSet& set,
                     std::map<LocallyUniqueID, int>& columns) {
  VariableSet converted(stored.name, static_cast<VariableSet::VariableSetType>(stored.type));
  converted.SetLabel(stored.label);
  converted.SetValue(stored.value);
  converted.UseVariableCategoryLabels(stored.useVariableCategoryLabels);
  converted.LabelSetByVariable(stored.labelSetByVariable);
  std::map<LocallyUniqueID, int> all;  // made for more than a few members that `columns` does not have
  int searched = 0;
  const auto search = [&](LocallyUniqueID id) {
    constexpr int kFew = 8;
    if (++searched <= kFew) return source.FindVarIndex(id);
    if (all.empty()) all = ColumnsByID(source);
    const auto found = all.find(id);
    return found != all.end() ? found->second : -1;
  };
  std::vector<std::string> names;
  for (const LocallyUniqueID id : stored.members) {
    const auto known = columns.find(id);
    const int column = known != columns.end() ? known->second : search(id);
    if (column >= 0) names.emplace_back(source.GetVariable(column).GetName());
  }
  converted.SetVariableNames(std::move(names));
  set = std::move(converted);
}

std::vector<VariableSet> VariableSets(const QUAV_DataSource& source, VarSetsType which) {
  std::vector<VariableSetImpl> stored = which == kPlainSets ? source.GetVariableSets() : source.GetMRSets();
  std::vector<VariableSet> sets;
  if (stored.empty()) return sets;
  std::map<LocallyUniqueID, int> columns = ColumnsByID(source);
  for (VariableSetImpl& one : stored) {
    std::erase_if(one.members, [&](LocallyUniqueID id) { return !columns.contains(id); });  // do not search them again
    ConvertToVarSet(one, source, sets.emplace_back(), columns);
  }
  return sets;
}

void SaveVariableSets(const std::vector<VariableSet>& sets, QUAV_DataSource& source, VarSetsType which) {
  const VariableNameIndex index(source);
  std::vector<VariableSetImpl> plain;
  std::vector<VariableSetImpl> multipleResponse;
  for (const VariableSet& set : sets) {
    VariableSetImpl stored;
    ConvertToImpl(set, source, stored, &index);
    if (stored.members.empty()) continue;
    (stored.type == VariableSet::kPlain ? plain : multipleResponse).push_back(std::move(stored));
  }
  if (which == kPlainSets)
    source.SetVariableSets(plain);
  else
    source.SetMRSets(multipleResponse);
}
