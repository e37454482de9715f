// The UTF-8 names of the files that are open in the process, one entry for each open source, in the order of opening.
//
// Threads: none of its own; opens and closes come from one thread.

#ifndef DATASRC_SRC_SYSTEMFILE_NAMEBANK_H
#define DATASRC_SRC_SYSTEMFILE_NAMEBANK_H

#include <algorithm>
#include <string>
#include <vector>

#include "datasrc/SystemFileDataSource.h"

class SystemFileDataSource::NameBank {
 public:
  // The process's one.
  static NameBank& Instance() {
    static NameBank bank;
    return bank;
  }

  void Insert(const char* name) { m_names.emplace_back(name); }
  // Takes the first entry of the name away.
  void Remove(const char* name) {
    const auto entry = std::ranges::find(m_names, name);
    if (entry != m_names.end()) m_names.erase(entry);
  }
  bool Contains(const char* name) const { return std::ranges::find(m_names, name) != m_names.end(); }

 private:
  std::vector<std::string> m_names;
};

#endif
