// Few cells of the cases of a file in byte codes, for several threads, each of which reads other rows.
//
// The threads take chunks of the file, whatever rows they are to read: one finds the groups of a chunk while another finds
// those of the next (CaseChunks), and picks the chosen cells into slabs. A slab has the cells of so many rows, and is used
// again when all of them were read.
//
//   PickedRows     the chunks and slabs of a reader
//   PickedCells    what one thread reads of them
//
// A thread takes a chunk only when the row that it is to read next is not there yet and there is room for more slabs. So at
// most some slabs, and those that the present chunks fill, have rows that were not read. Whoever is to read the first of
// them never waits for room.
//
// Threads: any number for PickedRows. Each row is read by one of them, and each has PickedCells of its own.

#ifndef COLUMNS_BATCHES_PICKEDROWS_H
#define COLUMNS_BATCHES_PICKEDROWS_H

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <vector>

#include "Columns/batches/CellSource.h"
#include "Columns/batches/SystemFileCells.h"
#include "systemfile/CaseChunks.h"

class PickedRows {
 public:
  // Reads at most `rows` rows from the first of `cases`. `tail` reads the end of the data, from a stretch; `cells` are cells
  // of the file's case. The file stays open as long as this object exists.
  PickedRows(const ChunkedCases& cases, std::unique_ptr<SystemFileCells> tail, std::vector<std::size_t> cells,
             long long rows, int threads);
  ~PickedRows();
  PickedRows(const PickedRows&) = delete;
  PickedRows& operator=(const PickedRows&) = delete;

  // As CellSource::Read, from the given row of the file on, but for the bits of presence. Where the data end before `most`
  // rows, sets the fault that ended them, if there was one. `chunk` is the thread's, and for this only.
  int Read(long long row, const CellTarget* targets, int most, CaseChunk& chunk, std::exception_ptr& fault);
  std::size_t CellsOfRow() const { return m_cells.size(); }
  // A thread calls it that will not read all of its rows: the others would wait for it. From now on Read throws the failure.
  void Break(std::exception_ptr failure);

 private:
  struct Slab {
    std::unique_ptr<OBS[]> cells;  // one column after the other
    long long unread = 0;          // rows
  };
  struct TakenChunk {
    long long endRow = 0;  // all rows before it are whole when this chunk and those before it are picked
    bool isPicked = false;
  };
  using Lock = std::unique_lock<std::mutex>;

  int CopyRows(Lock& lock, long long row, int most, const CellTarget* targets, int to);
  void ReadTail();
  bool MayTake() const;
  void Take(Lock& lock, CaseChunk& chunk);
  void JoinAndPick(Lock& lock, CaseChunk& chunk, long index);
  std::vector<OBS*> SlabsFor(long long firstRow, long long endRow);
  void Pick(const CaseChunk& chunk, const std::vector<OBS*>& slabs, long long endRow) const;
  void NotePicked(long index);

  const ChunkedCases m_cases;
  const std::vector<std::size_t> m_cells;
  const long long m_rows;  // no more than these are wanted
  const long long m_slabRows;
  const std::size_t m_mostSlabs;
  std::unique_ptr<SystemFileCells> m_tailCells;  // under m_lock

  // Rows are counted from the first that is wanted.
  std::mutex m_lock;  // guards all members below
  std::condition_variable m_changed;
  std::exception_ptr m_failure;  // of a thread, for all
  long m_nextChunk = 0;          // that nobody has taken
  long m_joined = 0;             // so many chunks are joined
  ChunkStart m_start;            // of the chunk after them
  bool m_isEnded = false;        // the last of them is the last of all
  CaseStretch m_tail;            // of the last of all; written by the thread that joins it
  bool m_isTailRead = false;
  std::exception_ptr m_fault;      // of the file, after all rows
  long m_pickedChunks = 0;         // so many are picked, and all before them
  std::deque<TakenChunk> m_taken;  // from the first that is not
  long long m_pickedRows = 0;      // that are whole in these
  long m_firstSlab = 0;            // the index of the first in m_slabs
  std::deque<Slab> m_slabs;        // that have rows to be read
  std::vector<Slab> m_free;
};

class PickedCells final : public CellSource {
 public:
  explicit PickedCells(std::shared_ptr<PickedRows> rows) : m_rows(std::move(rows)) {}

  void Seek(long long row) override {
    m_fault = nullptr;
    m_row = row;
  }
  int Read(const CellTarget* targets, int most) override {
    if (Fault()) return 0;
    const int count = m_rows->Read(m_row, targets, most, m_chunk, m_fault);
    MarkPresent({targets, m_rows->CellsOfRow()}, count);
    m_row += count;
    return count;
  }

 private:
  std::shared_ptr<PickedRows> m_rows;
  CaseChunk m_chunk;
  long long m_row = 0;
};

#endif
