#include "Platform/stream/Holes.h"

#include <algorithm>

void Holes::Add(std::int64_t begin, std::int64_t end) {
  if (begin < end) m_holes[begin] = end;
}

void Holes::Fill(std::int64_t begin, std::int64_t end) {
  auto hole = m_holes.upper_bound(begin);
  if (hole != m_holes.begin()) --hole;
  while (hole != m_holes.end() && hole->first < end) {
    const auto [holeBegin, holeEnd] = *hole;
    if (holeEnd <= begin) {
      ++hole;
      continue;
    }
    hole = m_holes.erase(hole);
    Add(holeBegin, begin);
    Add(end, holeEnd);
  }
}

void Holes::Clear(std::byte* bytes, std::size_t size, std::int64_t offset) const {
  const std::int64_t end = offset + static_cast<std::int64_t>(size);
  auto hole = m_holes.upper_bound(offset);
  if (hole != m_holes.begin()) --hole;
  for (; hole != m_holes.end() && hole->first < end; ++hole) {
    const std::int64_t from = std::max(hole->first, offset);
    const std::int64_t to = std::min(hole->second, end);
    if (from < to) std::fill(bytes + (from - offset), bytes + (to - offset), std::byte{});
  }
}
