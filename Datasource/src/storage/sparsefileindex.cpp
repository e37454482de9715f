#include "storage/sparsefileindex.h"

#include <algorithm>
#include <iterator>

#include "Platform/Assert.h"

namespace {

constexpr long kFirstSpan = 4096;
constexpr long kSmallestStep = 16;

}  // namespace

QUAV_SparseFileIndex::QUAV_SparseFileIndex(unsigned long n) : m_n(static_cast<long>(std::max(n, 1ul))) {
  SetStep(m_n * kSmallestStep >= kFirstSpan ? kSmallestStep : kFirstSpan / m_n);
}

void QUAV_SparseFileIndex::SetStep(long step) {
  m_step = step;
  m_span = m_n * step;
  if (!m_items.empty()) m_nextItemPosition = m_items.back().position + step;
}

void QUAV_SparseFileIndex::KeepEdges(long stride) {
  if (m_stride != 0) return;
  m_stride = stride;
  m_nextEdge = m_lastPosition < 0 ? 0 : (m_lastPosition / stride + 1) * stride;
}

void QUAV_SparseFileIndex::AddEdge(long long row, long position) {
  m_edges.push_back({row, position});
  m_nextEdge = (position / m_stride + 1) * m_stride;
}

void QUAV_SparseFileIndex::AddItem(long long row, long position) {
  if (position - m_lastPosition > m_span) SetStep((position - m_lastPosition) / m_n);
  if (position < m_nextItemPosition) return;
  m_items.push_back({row, position});
  m_nextItemPosition = position + m_step;
  if (m_span <= static_cast<long>(m_items.size() * sizeof(Item))) Thin();
}

void QUAV_SparseFileIndex::Thin() {
  const std::size_t half = m_items.size() / 2;
  for (std::size_t i = 1; i < half; ++i) m_items[i] = m_items[2 * i];
  m_items.resize(half);
  SetStep(m_step * 2);
}

bool QUAV_SparseFileIndex::Holds(long index, long long row) const {
  if (index < 0 || index >= std::ssize(m_items)) return false;
  const auto i = static_cast<std::size_t>(index);
  return m_items[i].row <= row && (i + 1 == m_items.size() || m_items[i + 1].row > row);
}

QUAV_SparseFileIndex::Item QUAV_SparseFileIndex::FindItem(long long row) const {
  if (m_items.empty() || m_items.front().row > row) return {0, 0};
  if (!Holds(m_foundIndex, row)) {
    long left = -1;
    long right = std::ssize(m_items);
    while (right > left + 1) {
      const long middle = (left + right) / 2;
      (row >= m_items[static_cast<std::size_t>(middle)].row ? left : right) = middle;
    }
    QUAV_ASSERT(0 <= left, "0 <= left");
    m_foundIndex = left;
  }
  return m_items[static_cast<std::size_t>(m_foundIndex)];
}

void QUAV_SparseFileIndex::GetPos(long long row, long long& foundRow, long& foundPosition) const {
  Item found = FindItem(row);
  const auto behind = std::ranges::upper_bound(m_edges, row, {}, &Item::row);
  if (behind != m_edges.begin() && std::prev(behind)->position > found.position) found = *std::prev(behind);
  foundRow = found.row;
  foundPosition = found.position;
}
