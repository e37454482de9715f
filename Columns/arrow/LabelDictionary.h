// The dictionary of a column with value labels: texts with indexes, to which later batches add.
//
// Threads: one thread at a time; snapshots may be read and dropped on any.

#ifndef COLUMNS_ARROW_LABELDICTIONARY_H
#define COLUMNS_ARROW_LABELDICTIONARY_H

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "Columns/arrow/ArrowData.h"

class LabelDictionary {
 public:
  // Returns the index of the text, which is added if it is new.
  std::int32_t IndexOf(std::string_view text);
  // Returns all texts so far as an array of utf8. Arrays between which no text was added share their memory.
  ArrayData Array();

 private:
  struct Hash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
  };
  struct Snapshot {
    std::vector<std::int32_t> offsets;
    std::string text;
  };

  std::unordered_map<std::string, std::int32_t, Hash, std::equal_to<>> m_indexes;
  Snapshot m_texts{{0}, {}};
  std::shared_ptr<const Snapshot> m_last;  // null when texts were added since
};

#endif
