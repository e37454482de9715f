#include "Columns/batches/Transposer.h"

#include <algorithm>
#include <utility>

Transposer::Transposer(std::span<const std::size_t> cells, std::size_t caseSize) : m_caseSize(caseSize) {
  std::vector<std::pair<std::size_t, std::size_t>> order;  // cells with their targets
  for (std::size_t target = 0; target < cells.size(); ++target) order.emplace_back(cells[target], target);
  std::ranges::sort(order);
  for (const auto& [cell, target] : order) {
    // A cell that comes again begins a strip of its own.
    const bool fits = !m_strips.empty() && cell - m_strips.back().firstCell < kStripWidth &&
                      m_strips.back().indices[cell - m_strips.back().firstCell] == kNone;
    if (!fits) m_strips.emplace_back(cell).indices.fill(kNone);
    m_strips.back().indices[cell - m_strips.back().firstCell] = target;
  }
}

void Transposer::Aim(const CellTarget* targets) {
  for (Strip& strip : m_strips)
    for (std::size_t c = 0; c < kStripWidth; ++c)
      if (strip.indices[c] != kNone) strip.targets[c] = targets[strip.indices[c]];
}

void Transposer::Move(const OBS* cases, int row, int count) const {
  for (const Strip& strip : m_strips) MoveStrip(cases + strip.firstCell, m_caseSize, row, count, strip.targets.data());
}
