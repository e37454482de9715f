#include "storage/sparsefileindex.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <mutex>
#include <vector>

#include "Platform/Assert.h"

namespace {

constexpr long kFirstSpan = 4096;
constexpr long kSmallestStep = 16;

struct Item {
  long long row;
  long position;
};

}  // namespace

class QUAV_SparseFileIndex::Table {
 public:
  explicit Table(long n) : m_n(n) { SetStep(m_n * kSmallestStep >= kFirstSpan ? kSmallestStep : kFirstSpan / m_n); }

  // All take the last position that the handle has added.
  Known KeepEdges(long stride, long lastPosition);
  Known Add(long long row, long position, long lastPosition);
  Known Know(long long row, long position, long lastPosition);
  // `foundIndex` is that of the handle's last look-up.
  Item Find(long long row, long& foundIndex) const;
  std::size_t Size() const;

 private:
  // The private operations need the lock.
  Known WhatToKnow() const { return {m_lastPosition, m_span, std::min(m_nextEdge, m_nextItemPosition)}; }
  void AddItem(long long row, long position);
  void AddEdge(long long row, long position);
  Item FindItem(long long row, long& foundIndex) const;
  void SetStep(long step);
  void Thin();
  // Returns whether the item is the last whose row is not above `row`.
  bool Holds(long index, long long row) const;

  const long m_n;
  mutable std::mutex m_mutex;  // guards all members below
  std::vector<Item> m_items;
  std::vector<Item> m_edges;
  long m_stride = 0;                                   // 0: no edges are kept
  long m_nextEdge = std::numeric_limits<long>::max();  // the first position at which one may stand
  long m_lastPosition = -1;                            // as far as the handles have said
  long m_step = 0;
  long m_span = 0;              // n steps: more than this is a leap, and sets the step
  long m_nextItemPosition = 0;  // the first position at which an item may stand
};

// ---- Adding ----

void QUAV_SparseFileIndex::Table::SetStep(long step) {
  m_step = step;
  m_span = m_n * step;
  if (!m_items.empty()) m_nextItemPosition = m_items.back().position + step;
}

QUAV_SparseFileIndex::Known QUAV_SparseFileIndex::Table::KeepEdges(long stride, long lastPosition) {
  const std::scoped_lock lock(m_mutex);
  m_lastPosition = std::max(m_lastPosition, lastPosition);
  if (m_stride == 0) {
    m_stride = stride;
    m_nextEdge = m_lastPosition < 0 ? 0 : (m_lastPosition / stride + 1) * stride;
  }
  return WhatToKnow();
}

QUAV_SparseFileIndex::Known QUAV_SparseFileIndex::Table::Add(long long row, long position, long lastPosition) {
  const std::scoped_lock lock(m_mutex);
  m_lastPosition = std::max(m_lastPosition, lastPosition);
  if (m_lastPosition < position) {
    if (position >= m_nextEdge) AddEdge(row, position);
    if (position - m_lastPosition > m_span || position >= m_nextItemPosition) AddItem(row, position);
    m_lastPosition = position;
  }
  return WhatToKnow();
}

QUAV_SparseFileIndex::Known QUAV_SparseFileIndex::Table::Know(long long row, long position, long lastPosition) {
  const std::scoped_lock lock(m_mutex);
  m_lastPosition = std::max(m_lastPosition, lastPosition);
  if (m_lastPosition < position) {
    m_items.push_back({row, position});
    m_nextItemPosition = position + m_step;
    m_lastPosition = position;
  }
  return WhatToKnow();
}

void QUAV_SparseFileIndex::Table::AddEdge(long long row, long position) {
  m_edges.push_back({row, position});
  m_nextEdge = (position / m_stride + 1) * m_stride;
}

void QUAV_SparseFileIndex::Table::AddItem(long long row, long position) {
  if (position - m_lastPosition > m_span) SetStep((position - m_lastPosition) / m_n);
  if (position < m_nextItemPosition) return;
  m_items.push_back({row, position});
  m_nextItemPosition = position + m_step;
  if (m_span <= static_cast<long>(m_items.size() * sizeof(Item))) Thin();
}

void QUAV_SparseFileIndex::Table::Thin() {
  const std::size_t half = m_items.size() / 2;
  for (std::size_t i = 1; i < half; ++i) m_items[i] = m_items[2 * i];
  m_items.resize(half);
  SetStep(m_step * 2);
}

// ---- Looking up ----

bool QUAV_SparseFileIndex::Table::Holds(long index, long long row) const {
  if (index < 0 || index >= std::ssize(m_items)) return false;
  const auto i = static_cast<std::size_t>(index);
  return m_items[i].row <= row && (i + 1 == m_items.size() || m_items[i + 1].row > row);
}

Item QUAV_SparseFileIndex::Table::FindItem(long long row, long& foundIndex) const {
  if (m_items.empty() || m_items.front().row > row) return {0, 0};
  if (!Holds(foundIndex, row)) {
    long left = -1;
    long right = std::ssize(m_items);
    while (right > left + 1) {
      const long middle = (left + right) / 2;
      (row >= m_items[static_cast<std::size_t>(middle)].row ? left : right) = middle;
    }
    QUAV_ASSERT(0 <= left, "0 <= left");
    foundIndex = left;
  }
  return m_items[static_cast<std::size_t>(foundIndex)];
}

Item QUAV_SparseFileIndex::Table::Find(long long row, long& foundIndex) const {
  const std::scoped_lock lock(m_mutex);
  const Item found = FindItem(row, foundIndex);
  const auto after = std::ranges::upper_bound(m_edges, row, {}, &Item::row);
  return after != m_edges.begin() && std::prev(after)->position > found.position ? *std::prev(after) : found;
}

std::size_t QUAV_SparseFileIndex::Table::Size() const {
  const std::scoped_lock lock(m_mutex);
  return m_items.size();
}

// ---- The handle ----

QUAV_SparseFileIndex::QUAV_SparseFileIndex(unsigned long n)
    : m_table(std::make_shared<Table>(static_cast<long>(std::max(n, 1ul)))) {}

void QUAV_SparseFileIndex::KeepEdges(long stride) { m_known = m_table->KeepEdges(stride, m_known.lastPosition); }

void QUAV_SparseFileIndex::Know(long long row, long position) {
  m_known = m_table->Know(row, position, m_known.lastPosition);
}

void QUAV_SparseFileIndex::AddToTable(long long row, long position) {
  m_known = m_table->Add(row, position, m_known.lastPosition);
}

void QUAV_SparseFileIndex::GetPos(long long row, long long& foundRow, long& foundPosition) const {
  const Item found = m_table->Find(row, m_foundIndex);
  foundRow = found.row;
  foundPosition = found.position;
}

std::size_t QUAV_SparseFileIndex::Size() const { return m_table->Size(); }
