// The positions of rows in a compressed file: a thinned table of (row, position) pairs.
//
// Positions are those of the case stream, and only forward motion is recorded. Items are at least one step apart.
// When the table reaches its limit, every other item is removed, and the step and the limit double. So the table
// grows with the square root of the file's length.
//
// Entering a zlib block is expensive, so for such a stream the index also keeps some rows of each block (KeepEdges),
// at 16 bytes an item. A walk to a row then stays in the row's block, and is short.
//
// An index is a handle: copies share one table. Each reader of a file has its own handle, and finds what any of them
// has passed.
//
// Threads: one thread at a time for a handle; handles on one table may be on different threads. The table has a lock. A
// handle takes it for look-ups and when the table may grow, not for each case.

#ifndef DATASRC_SRC_STORAGE_SPARSEFILEINDEX_H
#define DATASRC_SRC_STORAGE_SPARSEFILEINDEX_H

#include <cstddef>
#include <memory>

class QUAV_SparseFileIndex {
 public:
  // `n` sets how dense the table is: the first step is 4096 / n position units, but at least 16. 0 counts as 1.
  explicit QUAV_SparseFileIndex(unsigned long n);
  // A copy shares the table.
  QUAV_SparseFileIndex(const QUAV_SparseFileIndex& other) = default;
  QUAV_SparseFileIndex& operator=(const QUAV_SparseFileIndex& other) = default;

  // From now on, also keeps the first row at or after every multiple of `stride` position units. A second call does
  // nothing.
  void KeepEdges(long stride);

  // Called for each case. Most positions are only remembered as the last one.
  void Add(long long row, long position) {
    if (m_known.lastPosition >= position) return;
    if (position - m_known.lastPosition > m_known.span || position >= m_known.nextEntry)
      AddToTable(row, position);
    else
      m_known.lastPosition = position;
  }
  // Adds an item for a row that another process has found, before its cases are passed. Nothing happens where the table
  // is that far already. Contract: the row begins there; the density of later items stays as it is.
  void Know(long long row, long position);
  // Finds the item, or the kept edge, with the greatest row not above `row`; (0, 0) when there is none.
  void GetPos(long long row, long long& foundRow, long& foundPosition) const;
  // Returns the number of items. Edges do not count.
  std::size_t Size() const;

 private:
  class Table;

  // What a handle knows of the table: enough to add most positions without a look at it. Where it is out of date, other
  // handles have been further, and the next look corrects it.
  struct Known {
    long lastPosition = -1;  // added by this handle, or by any before the last look
    long span = -1;          // more than this is a leap; -1 until the first look
    long nextEntry = 0;      // the first position at which an item or an edge may stand
  };

  void AddToTable(long long row, long position);

  std::shared_ptr<Table> m_table;
  Known m_known;
  mutable long m_foundIndex = -1;  // of the last look-up
};

#endif
