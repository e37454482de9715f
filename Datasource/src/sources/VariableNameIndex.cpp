#include "datasrc/VariableNames.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "datasrc/QUAV_DataSource.h"

struct VariableNameIndex::Data {
  struct Var {
    const char* name;  // owned by the variable; in upper case
    unsigned int column;
  };

  explicit Data(const QUAV_DataSource& source);

  std::vector<Var> vars;  // sorted by name
};

VariableNameIndex::Data::Data(const QUAV_DataSource& source) {
  vars.reserve(source.ColumnCount());
  for (unsigned int column = 0; column < source.ColumnCount(); ++column)
    vars.push_back({source.GetVariable(static_cast<int>(column)).GetUpperCaseName(), column});
  std::ranges::sort(vars, [](const Var& a, const Var& b) {
    const int order = std::strcmp(a.name, b.name);
    return order != 0 ? order < 0 : a.column < b.column;
  });
}

VariableNameIndex::VariableNameIndex(const QUAV_DataSource& source) : m_(std::make_unique<Data>(source)) {}

VariableNameIndex::~VariableNameIndex() = default;

int VariableNameIndex::Find(const char* upperCaseName) const {
  const auto found = std::ranges::lower_bound(
      m_->vars, upperCaseName, [](const char* a, const char* b) { return std::strcmp(a, b) < 0; }, &Data::Var::name);
  if (found == m_->vars.end() || std::strcmp(found->name, upperCaseName) != 0) return -1;
  return static_cast<int>(found->column);
}
