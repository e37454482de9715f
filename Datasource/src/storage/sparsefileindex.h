// The positions of rows in a compressed file: a thinned table of (row, position) pairs.
//
// Positions are those of the case stream, and only forward motion is recorded. Items are at least one step apart.
// When the table reaches its limit, every other item is removed, and the step and the limit double. So the table
// grows with the square root of the file's length.
//
// Entering a zlib block is expensive, so for such a stream the index also keeps some rows of each block (KeepEdges),
// at 16 bytes an item. A walk to a row then stays in the row's block, and is short.
//
// Threads: one, for look-ups too: they remember what they found.

#ifndef DATASRC_SRC_STORAGE_SPARSEFILEINDEX_H
#define DATASRC_SRC_STORAGE_SPARSEFILEINDEX_H

#include <cstddef>
#include <limits>
#include <vector>

class QUAV_SparseFileIndex {
 public:
  // `n` sets how dense the table is: the first step is 4096 / n position units, but at least 16. 0 counts as 1.
  explicit QUAV_SparseFileIndex(unsigned long n);

  // From now on, also keeps the first row at or after every multiple of `stride` position units. A second call does
  // nothing.
  void KeepEdges(long stride);

  // Called for each case. Most positions are only remembered as the last one.
  void Add(long long row, long position) {
    if (m_lastPosition >= position) return;
    if (position >= m_nextEdge) AddEdge(row, position);
    if (position - m_lastPosition > m_span || position >= m_nextItemPosition) AddItem(row, position);
    m_lastPosition = position;
  }
  // Finds the item, or the kept edge, with the greatest row not above `row`; (0, 0) when there is none.
  void GetPos(long long row, long long& foundRow, long& foundPosition) const;
  // Returns the number of items. Edges do not count.
  std::size_t Size() const { return m_items.size(); }

 private:
  struct Item {
    long long row;
    long position;
  };

  void AddItem(long long row, long position);
  void AddEdge(long long row, long position);
  Item FindItem(long long row) const;
  void SetStep(long step);
  void Thin();
  // Returns whether the item is the last one whose row is not above `row`.
  bool Holds(long index, long long row) const;

  std::vector<Item> m_items;
  std::vector<Item> m_edges;
  long m_stride = 0;                                   // 0: the index keeps no edges
  long m_nextEdge = std::numeric_limits<long>::max();  // the first position for the next edge
  long m_lastPosition = -1;
  mutable long m_foundIndex = -1;  // the item that the last look-up found
  long m_n;
  long m_step = 0;
  long m_span = 0;              // n steps; a longer leap sets a new step
  long m_nextItemPosition = 0;  // the first position for the next item
};

#endif
