#include "Columns/batches/PickedRows.h"

#include <algorithm>
#include <utility>

namespace {

// So many bytes of a slab stay in a second-level cache until they are read.
constexpr std::size_t kSlabBytes = std::size_t{256} << 10;
constexpr std::size_t kLeastSlabRows = 64;
constexpr std::size_t kMostSlabRows = 65536;
constexpr std::size_t kSlabsOfThread = 4;

std::size_t SlabRows(std::size_t cells) {
  return std::clamp(kSlabBytes / (std::max<std::size_t>(cells, 1) * sizeof(OBS)), kLeastSlabRows, kMostSlabRows);
}

// Returns the first row, not before row 0, whose given cell has this number or a later one.
long long RowFrom(long long number, long long cell, long long cellsPerCase) {
  return number <= cell ? 0 : (number - cell - 1) / cellsPerCase + 1;
}

}  // namespace

PickedRows::PickedRows(const ChunkedCases& cases, std::unique_ptr<SystemFileCells> tail, std::vector<std::size_t> cells,
                       long long rows, int threads)
    : m_cases(cases),
      m_cells(std::move(cells)),
      m_rows(rows),
      m_slabRows(static_cast<long long>(SlabRows(m_cells.size()))),
      m_mostSlabs(kSlabsOfThread * static_cast<std::size_t>(threads)),
      m_tailCells(std::move(tail)),
      m_start(cases.start) {}

PickedRows::~PickedRows() = default;

void PickedRows::Break(std::exception_ptr failure) {
  const std::lock_guard lock(m_lock);
  if (!m_failure) m_failure = std::move(failure);
  m_changed.notify_all();
}

// ---- Reading rows ----

int PickedRows::Read(long long row, const CellTarget* targets, int most, CaseChunk& chunk, std::exception_ptr& fault) {
  const long long first = row - m_cases.firstRow;
  most = static_cast<int>(std::min<long long>(most, m_rows - first));
  int count = 0;
  Lock lock(m_lock);
  while (count < most) {
    if (m_failure) std::rethrow_exception(m_failure);
    if (m_pickedRows > first + count) {
      count += CopyRows(lock, first + count, most - count, targets, count);
    } else if (m_isEnded && m_pickedChunks >= m_joined) {
      ReadTail();
      fault = m_fault;
      break;
    } else if (MayTake()) {
      Take(lock, chunk);
    } else {
      m_changed.wait(lock);
    }
  }
  return count;
}

// Copies picked rows of one slab to the targets, from row `to` of these on. Returns their number.
int PickedRows::CopyRows(Lock& lock, long long row, int most, const CellTarget* targets, int to) {
  const auto index = static_cast<std::size_t>(row / m_slabRows - m_firstSlab);
  const long long inSlab = row % m_slabRows;
  const auto count =
      static_cast<int>(std::min({m_pickedRows - row, m_slabRows - inSlab, static_cast<long long>(most)}));
  Slab& slab = m_slabs[index];
  const OBS* from = slab.cells.get() + inSlab;
  lock.unlock();
  for (std::size_t k = 0; k < m_cells.size(); ++k, from += m_slabRows) std::copy_n(from, count, targets[k].cells + to);
  lock.lock();
  slab.unread -= count;
  while (!m_slabs.empty() && m_slabs.front().unread == 0) {
    m_free.push_back(std::move(m_slabs.front()));
    m_slabs.pop_front();
    ++m_firstSlab;
    m_changed.notify_all();
  }
  return count;
}

void PickedRows::ReadTail() {
  if (m_isTailRead) return;
  m_tailCells->Enter(m_tail, m_cases.length);
  // There is no whole case: this gets the fault, or lets the source know the number of cases.
  std::vector<OBS> unused(m_cells.size());
  std::vector<CellTarget> targets;
  for (OBS& cell : unused) targets.push_back({&cell, nullptr});
  m_tailCells->Read(targets.data(), 1);
  m_fault = m_tailCells->Fault();
  m_isTailRead = true;
}

// ---- Chunks ----

bool PickedRows::MayTake() const {
  const bool isEnough = m_start.cell / m_cases.cellsPerCase >= m_rows;
  return !m_isEnded && !isEnough && m_slabs.size() < m_mostSlabs;
}

void PickedRows::Take(Lock& lock, CaseChunk& chunk) {
  m_taken.emplace_back();
  const long index = m_nextChunk++;
  try {
    lock.unlock();
    chunk.Load(m_cases, index);
    lock.lock();
    JoinAndPick(lock, chunk, index);
  } catch (...) {
    if (!lock.owns_lock()) lock.lock();
    if (!m_failure) m_failure = std::current_exception();
    m_changed.notify_all();
    throw;
  }
  NotePicked(index);
}

void PickedRows::JoinAndPick(Lock& lock, CaseChunk& chunk, long index) {
  m_changed.wait(lock, [&] { return m_joined == index || m_isEnded || m_failure; });
  if (m_failure) std::rethrow_exception(m_failure);
  if (m_isEnded) return;  // before this chunk
  const ChunkStart start = m_start;
  lock.unlock();
  const ChunkStart next = chunk.Join(m_cases, start);
  if (chunk.IsLast()) chunk.MakeTail(m_cases, next, m_tail);
  lock.lock();
  const long long firstRow = std::max(start.cell, 0LL) / m_cases.cellsPerCase;
  const long long endRow = std::min(RowFrom(next.cell, 0, m_cases.cellsPerCase), m_rows);
  const std::vector<OBS*> slabs = SlabsFor(firstRow, endRow);
  m_taken[static_cast<std::size_t>(index - m_pickedChunks)].endRow =
      std::min(std::max(next.cell, 0LL) / m_cases.cellsPerCase, m_rows);
  m_start = next;
  m_isEnded = chunk.IsLast();
  ++m_joined;
  m_changed.notify_all();
  lock.unlock();
  Pick(chunk, slabs, endRow);
  lock.lock();
}

// Returns the cells of the slabs that have these rows, after making those that there are not.
std::vector<OBS*> PickedRows::SlabsFor(long long firstRow, long long endRow) {
  std::vector<OBS*> cells;
  if (firstRow >= endRow) return cells;  // none is wanted; their slab may have gone
  for (long long slab = firstRow / m_slabRows; slab * m_slabRows < endRow; ++slab) {
    const auto index = static_cast<std::size_t>(slab - m_firstSlab);
    if (index == m_slabs.size()) {
      const auto size = static_cast<std::size_t>(m_slabRows) * m_cells.size();
      if (m_free.empty()) m_free.push_back({std::make_unique_for_overwrite<OBS[]>(size)});
      m_slabs.push_back(std::move(m_free.back()));
      m_free.pop_back();
      m_slabs.back().unread = std::min(m_slabRows, m_rows - slab * m_slabRows);
    }
    cells.push_back(m_slabs[index].cells.get());
  }
  return cells;
}

// Picks the chosen cells that are in the chunk, of the rows before `endRow`. `slabs` has the row of the first cell and
// those after it.
void PickedRows::Pick(const CaseChunk& chunk, const std::vector<OBS*>& slabs, long long endRow) const {
  const int step = m_cases.cellsPerCase;
  const long long firstSlab = std::max(chunk.FirstCell(), 0LL) / step / m_slabRows;
  for (std::size_t k = 0; k < m_cells.size(); ++k) {
    const auto cell = static_cast<long long>(m_cells[k]);
    const long long end = std::min(RowFrom(chunk.EndCell(), cell, step), endRow);
    for (long long row = RowFrom(chunk.FirstCell(), cell, step); row < end;) {
      const long long slab = row / m_slabRows;
      const long long count = std::min(end, (slab + 1) * m_slabRows) - row;
      OBS* const out = slabs[static_cast<std::size_t>(slab - firstSlab)] + static_cast<long long>(k) * m_slabRows;
      chunk.Pick(row * step + cell, step, static_cast<int>(count), out + row % m_slabRows);
      row += count;
    }
  }
}

void PickedRows::NotePicked(long index) {
  m_taken[static_cast<std::size_t>(index - m_pickedChunks)].isPicked = true;
  while (!m_taken.empty() && m_taken.front().isPicked) {
    m_pickedRows = std::max(m_pickedRows, m_taken.front().endRow);
    m_taken.pop_front();
    ++m_pickedChunks;
  }
  m_changed.notify_all();
}
