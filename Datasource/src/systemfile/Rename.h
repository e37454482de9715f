// Pairs of names: the long name of a variable and the short one, of at most 8 bytes, under which a file has it.
//
// Deliberate: which of the two comes first depends on the direction. On writing it is the long name, on reading the
// short one, as the record of long names has it; the list is always looked up by what comes first.

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

// The first entry of the sorted list with the name, null for none.
inline const Rename* FindRename(const Renames& sorted, std::string_view name) {
  const auto found =
      std::ranges::lower_bound(sorted, name, {}, [](const Rename& entry) -> std::string_view { return entry.first; });
  return found != sorted.end() && found->first == name ? &*found : nullptr;
}

// By what comes first. A list that has it twice is ordered by what comes second, so that a look-up finds the same one
// whatever the order was.
inline void Sort(Renames& renames) {
  std::ranges::sort(renames, {}, [](const Rename& entry) { return std::tie(entry.first, entry.second); });
}
inline Renames Sorted(Renames renames) {
  Sort(renames);
  return renames;
}

namespace QuavSystemFile {

// A terminated text of somebody else's.
class StringRef {
 public:
  explicit StringRef(const char* text) : m_text(text) {}

  friend bool operator<(StringRef a, StringRef b) { return std::strcmp(a.m_text, b.m_text) < 0; }

 private:
  const char* m_text;
};

}  // namespace QuavSystemFile

#endif
