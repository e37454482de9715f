// Finds variables by name for the records that tell of many: as FindVarIndex does from column 0, without a walk through
// the dictionary for each.
//
// Names may become empty while it is in use, and change in no other way.
//
// Threads: one thread, for the time of one record.

#ifndef DATASRC_SRC_VARIABLEFINDER_H
#define DATASRC_SRC_VARIABLEFINDER_H

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "UpperName.h"
#include "datasrc/QUAV_DataSource.h"

class VariableFinder {
 public:
  explicit VariableFinder(const QUAV_DataSource& source) : m_source(source) {}

  // The first column of the name, whatever its case; -1 for none.
  int Find(std::string_view name) {
    if (m_columns.empty()) Fill();
    const auto entry = m_columns.find(SoughtUpperName(name));
    if (entry == m_columns.end()) return -1;
    std::vector<int>& columns = entry->second;
    while (!columns.empty() && m_source.GetVariable(columns.back()).GetUpperCaseName() != entry->first)
      columns.pop_back();
    return columns.empty() ? -1 : columns.back();
  }

 private:
  void Fill() {
    for (int column = static_cast<int>(m_source.ColumnCount()); column-- > 0;)
      m_columns[m_source.GetVariable(column).GetUpperCaseName()].push_back(column);
  }

  const QUAV_DataSource& m_source;
  std::unordered_map<std::string, std::vector<int>> m_columns;  // by upper-case name, descending
};

#endif
