#include "Platform/stream/ZlibBlockWindow.h"

#include <algorithm>
#include <utility>

bool ZlibBlockWindow::MoveTo(std::int64_t position) {
  const std::int64_t offset = m_block ? position - m_block->block.position : -1;
  const bool isHere = 0 <= offset && offset < static_cast<std::int64_t>(m_length);
  m_next = isHere ? m_block->Plain() + offset : nullptr;
  m_end = isHere ? m_block->Plain() + m_length : nullptr;
  m_windowEnd = position + (m_end - m_next);
  return isHere;
}

std::unique_ptr<LoadedZlibBlock> ZlibBlockWindow::Add(std::unique_ptr<LoadedZlibBlock> block, std::size_t length) {
  const std::int64_t blockStart = block->block.position;
  const std::size_t held = Held();
  // After a move there is no window, and the position may be inside the block.
  const std::byte* const begin = block->Plain() + (held == 0 ? m_windowEnd - blockStart : 0);
  std::copy(m_next, m_end, block->Plain() - held);
  m_next = begin - held;
  m_end = block->Plain() + length;
  m_windowEnd = blockStart + static_cast<std::int64_t>(length);
  m_length = length;
  return std::exchange(m_block, std::move(block));
}
