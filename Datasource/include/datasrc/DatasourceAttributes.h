// The named, multi-valued text attributes that a data set and each variable carry.
//
// Names are unique without regard to case; entries stand in the order of their first definition. Values are opaque
// bytes in the data source's encoding, without limit of number or length. Copies are deep.
//
// A set that was never changed, or was emptied, has no list at all. That equals an empty list everywhere but in
// operator==.
//
// Threads: a value; one writer, or several readers.

#ifndef DATASRC_DATASOURCEATTRIBUTES_H
#define DATASRC_DATASOURCEATTRIBUTES_H

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Platform/Export.h"

class DATASRC_API DatasourceAttributes {
 public:
  DatasourceAttributes() = default;
  DatasourceAttributes(const DatasourceAttributes& other);
  DatasourceAttributes& operator=(const DatasourceAttributes& other);
  ~DatasourceAttributes() = default;

  // Makes the empty list when there is none, and counts a change.
  void Change();

  // The number of entries.
  unsigned long Size() const;
  // Entry k, counted from 0. Asserts that it exists.
  std::string Name(unsigned long k) const;
  std::vector<std::string> Values(unsigned long k) const;
  // By name, without regard to case: no values, and -1, for a name that is not there.
  std::vector<std::string> Values(const std::string& name) const;
  int Index(const std::string& name) const;

  // Replaces the entry of the name, spelling and all, in its place; or adds one at the end. The name is not checked.
  void Define(const std::string& name, const std::vector<std::string>& values);
  void Delete(unsigned long k);
  // Whether there was an entry of the name.
  bool Delete(const std::string& name);
  // Takes over the entries that are missing here and, with `replace`, those with other values. Answers whether anything
  // changed.
  bool Merge(const DatasourceAttributes& other, bool replace);

  // Names and values by bytes, in order. No list differs from an empty one.
  bool operator==(const DatasourceAttributes& other) const;

 private:
  using Entry = std::pair<std::string, std::vector<std::string>>;

  std::unique_ptr<std::vector<Entry>> m_entries;  // null: no list
  unsigned long long m_changes = 0;
};

#endif
