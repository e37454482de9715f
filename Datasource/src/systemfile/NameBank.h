// The UTF-8 names of the files that are open in the process, one entry for each open source, in the order of opening.
//
// Threads: no lock; one thread opens and closes files.

#ifndef DATASRC_SRC_SYSTEMFILE_NAMEBANK_H
#define DATASRC_SRC_SYSTEMFILE_NAMEBANK_H

#include <algorithm>
#include <string>
#include <vector>

#include "datasrc/SystemFileDataSource.h"

class SystemFileDataSource::NameBank {
 public:
  // Returns the one bank of the process.
  static NameBank& Instance() {
    static NameBank bank;
    return bank;
  }

  void Insert(const char* name) { m_names.emplace_back(name); }
  // Removes the first entry of the name.
  void Remove(const char* name) {
    const auto entry = std::ranges::find(m_names, name);
    if (entry != m_names.end()) m_names.erase(entry);
  }
  bool Contains(const char* name) const { return std::ranges::find(m_names, name) != m_names.end(); }

 private:
  std::vector<std::string> m_names;
};

#endif
