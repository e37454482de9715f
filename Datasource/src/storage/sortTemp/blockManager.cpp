#include "storage/sortTemp/blockManager.h"

#include <algorithm>

bool blockManager::GetBlockInfo(long position, const blockInfo*& out) const {
  if (position < 0 || position > m_totalSize || m_blocks.empty()) return false;
  out = &m_blocks[IndexAt(position)];
  return true;
}

std::size_t blockManager::IndexAt(long position) const {
  const auto after = std::ranges::upper_bound(m_blocks, position, {}, &blockInfo::position);
  return static_cast<std::size_t>(after - m_blocks.begin()) - 1;
}

void blockManager::PushBlockInfo(long position, unsigned long size, long filePosition, unsigned long compressedLength,
                                 unsigned long padding) {
  m_blocks.push_back({position, size, filePosition, compressedLength, padding});
  m_totalSize += static_cast<long>(size);
  m_fileEnd = std::max(m_fileEnd, filePosition + static_cast<long>(compressedLength + padding));
}
