// Where rows stand in a compressed file: a thinned table of (row, position) pairs.
//
// Positions are those of the case stream, and only forward motion is recorded. Items lie at least a step apart.
// Whenever the table has grown to its limit, every other item goes and the step doubles, so that the table grows with
// the logarithm of the file.
//
// Of a stream in blocks that cost much to enter some rows of each are kept besides (KeepEdges), 16 bytes an item: so a
// walk to a row stays in the block of that row, and is short.
//
// Threads: one; also for look-ups, which remember what they found.

#ifndef DATASRC_SRC_STORAGE_SPARSEFILEINDEX_H
#define DATASRC_SRC_STORAGE_SPARSEFILEINDEX_H

#include <cstddef>
#include <limits>
#include <vector>

class QUAV_SparseFileIndex {
 public:
  // `n` scales how thin the table is: the first step is 4096 / n position units, at least 16. 0 counts as 1.
  explicit QUAV_SparseFileIndex(unsigned long n);

  // From now on also keeps the first row at or behind every multiple of `stride` position units. The second call does
  // nothing.
  void KeepEdges(long stride);

  // Called for each case: most positions are only remembered as the last.
  void Add(long long row, long position) {
    if (m_lastPosition >= position) return;
    if (position >= m_nextEdge) AddEdge(row, position);
    if (position - m_lastPosition > m_span || position >= m_nextItemPosition) AddItem(row, position);
    m_lastPosition = position;
  }
  // The item, or the kept edge, of the greatest row not above `row`; (0, 0) when there is none.
  void GetPos(long long row, long long& foundRow, long& foundPosition) const;
  // The number of items.
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
  // Whether the item is the last whose row is not above `row`.
  bool Holds(long index, long long row) const;

  std::vector<Item> m_items;
  std::vector<Item> m_edges;
  long m_stride = 0;                                   // 0: no edges are kept
  long m_nextEdge = std::numeric_limits<long>::max();  // the first position at which one may stand
  long m_lastPosition = -1;
  mutable long m_foundIndex = -1;  // of the last look-up
  long m_n;
  long m_step = 0;
  long m_span = 0;              // n steps: more than this is a leap, and sets the step
  long m_nextItemPosition = 0;  // the first position at which an item may stand
};

#endif
