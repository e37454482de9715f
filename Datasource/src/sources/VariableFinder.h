// Finds variables by name for the records with many entries: finds what FindVarIndex finds, without a walk through
// the dictionary for each name.
//
// While a finder is in use, names may only become empty, and columns that share a name lose it from the first on.
//
// Threads: one thread; a finder lives as long as one record is read.

#ifndef DATASRC_SRC_SOURCES_VARIABLEFINDER_H
#define DATASRC_SRC_SOURCES_VARIABLEFINDER_H

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "core/UpperName.h"
#include "datasrc/QUAV_DataSource.h"

class VariableFinder {
 public:
  explicit VariableFinder(const QUAV_DataSource& source) : m_source(source) {}

  // Returns the first column of the name, ignoring case, from `start` on and then from column 0; -1 when there is
  // none. A `start` that is not a column counts as 0.
  int Find(std::string_view name, int start = 0) {
    if (m_columns.empty()) Fill();
    const auto entry = m_columns.find(SoughtUpperName(name));
    if (entry == m_columns.end()) return -1;
    Columns& columns = entry->second;
    while (columns.first < columns.all.size() && IsGone(columns.all[columns.first], entry->first)) ++columns.first;
    if (columns.first == columns.all.size()) return -1;
    const auto begin = columns.all.begin() + static_cast<std::ptrdiff_t>(columns.first);
    const auto found = std::lower_bound(begin, columns.all.end(), start);
    return found != columns.all.end() ? *found : *begin;
  }

 private:
  struct Columns {
    std::vector<int> all;   // ascending
    std::size_t first = 0;  // those before it have lost the name
  };

  void Fill() {
    for (int column = 0; column < static_cast<int>(m_source.ColumnCount()); ++column)
      m_columns[m_source.GetVariable(column).GetUpperCaseName()].all.push_back(column);
  }
  bool IsGone(int column, const std::string& upperName) const {
    return m_source.GetVariable(column).GetUpperCaseName() != upperName;
  }

  const QUAV_DataSource& m_source;
  std::unordered_map<std::string, Columns> m_columns;  // by upper-case name
};

#endif
