// How a file stores a case: the number of its cells, which of them are numbers, and which strings are in segments.
//
// All of it follows from one dictionary, that of the file, in which each segment of a very long string is a variable of
// its own. So it is made at once and replaced as a whole: what sizes a buffer always agrees with what fills it.
//
//   file's case      NominalCaseSize() cells      what streams read and write
//   logical case     LogicalCaseSize() cells      what callers see: each very long string is one variable
//
// Threads: one writer, or several readers.

#ifndef DATASRC_SRC_SYSTEMFILE_SYSTEMFILELAYOUT_H
#define DATASRC_SRC_SYSTEMFILE_SYSTEMFILELAYOUT_H

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "core/ByteOrder.h"
#include "datasrc/QUAV_DataSource.h"
#include "systemfile/SystemFileDechunker.h"

class SystemFileLayout {
 public:
  // The column and the whole width in bytes of each very long string, in ascending order of the columns.
  using ColumnWidths = std::vector<std::pair<int, int>>;

  // Not known yet: both sizes are -1.
  SystemFileLayout() = default;
  // Cases of so many cells, in this machine's byte order and without very long strings.
  explicit SystemFileLayout(std::int32_t cells) : m_nominalCaseSize(cells), m_logicalCaseSize(cells) {}
  // The layout of a file with this dictionary. The columns of `veryLong` are those of the first segments, and the
  // segments must be there. `order` is the byte order of the numbers in the file.
  SystemFileLayout(const QUAV_DataSource& inFile, const ColumnWidths& veryLong, ByteOrder order);

  std::int32_t NominalCaseSize() const { return m_nominalCaseSize; }
  std::int32_t LogicalCaseSize() const { return m_logicalCaseSize; }
  // For a file in reversed byte order: a flag for each cell of the file's case, true for a number. Null without numbers
  // and for a file in this machine's byte order.
  const bool* NumericCellMap() const { return m_numericCells.get(); }
  // Converts the file's case to the logical one. It is inactive when both are the same.
  const SystemFileDechunker& Dechunker() const { return m_dechunker; }
  // The very long strings, with the columns of the logical dictionary.
  const ColumnWidths& VeryLongStrings() const { return m_veryLong; }
  // Returns whether rows of the logical dictionary can be converted to the file's case: it has each very long string
  // where the file has it, and as many cells at least.
  bool Takes(const QUAV_DataSource& logical) const;

 private:
  std::int32_t m_nominalCaseSize = -1;
  std::int32_t m_logicalCaseSize = -1;
  std::unique_ptr<bool[]> m_numericCells;  // m_nominalCaseSize flags
  SystemFileDechunker m_dechunker;
  ColumnWidths m_veryLong;
};

#endif
