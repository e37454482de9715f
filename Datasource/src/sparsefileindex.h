// Where rows stand in a compressed file: a thinned table of (row, position) pairs.
//
// Positions are those of the case stream, and only forward motion is recorded. Items lie at least a step apart.
// Whenever the table has grown to its limit, every other item goes and the step doubles, so that the table grows with
// the logarithm of the file.
//
// Threads: one; also for look-ups, which remember what they found.

#ifndef DATASRC_SRC_SPARSEFILEINDEX_H
#define DATASRC_SRC_SPARSEFILEINDEX_H

#include <cstddef>
#include <vector>

class QUAV_SparseFileIndex {
 public:
  // `n` scales how thin the table is: the first step is 4096 / n position units, at least 16. 0 counts as 1.
  explicit QUAV_SparseFileIndex(unsigned long n);

  // Called for each case: most positions are only remembered as the last.
  void Add(long long row, long position) {
    if (m_lastPosition >= position) return;
    if (position - m_lastPosition > m_span || position >= m_nextItemPosition) AddItem(row, position);
    m_lastPosition = position;
  }
  // The item of the greatest row not above `row`; (0, 0) when there is none.
  void GetPos(long long row, long long& foundRow, long& foundPosition) const;
  // The number of items.
  std::size_t Size() const { return m_items.size(); }

 private:
  struct Item {
    long long row;
    long position;
  };

  void AddItem(long long row, long position);
  void SetStep(long step);
  void Thin();
  // Whether the item is the last whose row is not above `row`.
  bool Holds(long index, long long row) const;

  std::vector<Item> m_items;
  long m_lastPosition = -1;
  mutable long m_foundIndex = -1;  // of the last look-up
  long m_n;
  long m_step = 0;
  long m_span = 0;              // n steps: more than this is a leap, and sets the step
  long m_nextItemPosition = 0;  // the first position at which an item may stand
};

#endif
