// What a check of a dictionary finds while the readers of the records read it.
//
// Without such an object (SystemFileOptions::findings is null), readers pass over some flaws in silence, and the first
// fault ends the reading. With one, they note the flaws, and go on after a record whose contents are wrong.
//
// Threads: one thread at a time.

#ifndef DATASRC_SRC_SYSTEMFILE_DICTIONARYFINDINGS_H
#define DATASRC_SRC_SYSTEMFILE_DICTIONARYFINDINGS_H

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "Platform/messages/ThrowError.h"

class DictionaryFindings {
 public:
  struct Finding {
    bool isFault;
    int number;  // in the catalog
    std::string text;
    FilePlace place;
  };

  // A stranger's file decides how many there are. So many are kept, and the rest is counted.
  static constexpr std::size_t kMostKept = 10'000;

  // Sets the place of the findings that follow.
  void SetPlace(const FilePlace& place) { m_place = place; }
  void Note(int number, std::string text) { Add({false, number, std::move(text), m_place}); }
  void Fault(int number, std::string text) { Add({true, number, std::move(text), m_place}); }

  // The present place is that of the number of cases.
  void NoteCaseCount() { m_caseCount = m_place; }
  const FilePlace& CaseCountPlace() const { return m_caseCount; }

  const std::vector<Finding>& Kept() const { return m_kept; }
  long long Dropped() const { return m_dropped; }

 private:
  void Add(Finding finding) {
    if (m_kept.size() < kMostKept)
      m_kept.push_back(std::move(finding));
    else
      ++m_dropped;
  }

  FilePlace m_place;
  FilePlace m_caseCount;
  std::vector<Finding> m_kept;
  long long m_dropped = 0;
};

#endif
