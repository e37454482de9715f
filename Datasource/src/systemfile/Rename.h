// Pairs of names: the long name of a variable and the short name, of at most 8 bytes, that it has in a file.
//
// Deliberate: the direction decides which of the two comes first: on writing the long name, on reading the short one,
// as in the record of long names. FindRename looks for the first of the two.

#ifndef DATASRC_SRC_SYSTEMFILE_RENAME_H
#define DATASRC_SRC_SYSTEMFILE_RENAME_H

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

struct Rename {
  std::string first;
  std::string second;

  friend bool operator<(const Rename& a, const Rename& b) { return a.first < b.first; }
};

using Renames = std::vector<Rename>;

// Returns the first entry of the sorted list whose first name is `name`; null when there is none.
inline const Rename* FindRename(const Renames& sorted, std::string_view name) {
  const auto found =
      std::ranges::lower_bound(sorted, name, {}, [](const Rename& entry) -> std::string_view { return entry.first; });
  return found != sorted.end() && found->first == name ? &*found : nullptr;
}

// Sorts by the first name. Entries with the same first name are sorted by the second, so that a look-up finds the
// same entry whatever the original order was.
inline void Sort(Renames& renames) {
  std::ranges::sort(renames, {}, [](const Rename& entry) { return std::tie(entry.first, entry.second); });
}
inline Renames Sorted(Renames renames) {
  Sort(renames);
  return renames;
}

namespace QuavSystemFile {

// A terminated text that is not owned.
class StringRef {
 public:
  explicit StringRef(const char* text) : m_text(text) {}

  friend bool operator<(StringRef a, StringRef b) { return std::strcmp(a.m_text, b.m_text) < 0; }

 private:
  const char* m_text;
};

}  // namespace QuavSystemFile

#endif
