// The UTF-8 names of the files that are open in the process, one entry for each open source, in the order of opening.
//
// Threads: any; the bank has a lock.

#ifndef DATASRC_SRC_SYSTEMFILE_NAMEBANK_H
#define DATASRC_SRC_SYSTEMFILE_NAMEBANK_H

#include <algorithm>
#include <mutex>
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

  void Insert(const char* name) {
    const std::scoped_lock lock(m_mutex);
    m_names.emplace_back(name);
  }
  // Removes the first entry of the name.
  void Remove(const char* name) {
    const std::scoped_lock lock(m_mutex);
    const auto entry = std::ranges::find(m_names, name);
    if (entry != m_names.end()) m_names.erase(entry);
  }
  bool Contains(const char* name) const {
    const std::scoped_lock lock(m_mutex);
    return std::ranges::find(m_names, name) != m_names.end();
  }

 private:
  mutable std::mutex m_mutex;
  std::vector<std::string> m_names;  // guarded by the mutex
};

#endif
