#include "casecodes/ChunkGroups.h"

#include <algorithm>
#include <bit>
#include <cstdint>

#include "casecodes/GroupDecoder.h"

namespace {

constexpr std::size_t kWord = kCodesPerGroup;
// Words that are followed word by word: a small part of a chunk.
constexpr std::size_t kMostFollowed = 1024;

// Returns the index of the first word to which the groups from each of the first nine words lead; that of a word after all,
// if there is none among those followed.
std::size_t MeetingWord(std::span<const std::byte> bytes) {
  const std::size_t words = std::min(bytes.size() / kWord, kMostFollowed);
  std::uint32_t reached = 0x1FF;  // bit k: some of them have come to word `word` + k
  for (std::size_t word = 0; word < words; ++word, reached >>= 1) {
    if (std::has_single_bit(reached)) return word + static_cast<std::size_t>(std::countr_zero(reached));
    if ((reached & 1) == 0) continue;
    reached |= std::uint32_t{2} << CountLiterals(Load<std::uint64_t>(&bytes[word * kWord]));
  }
  return bytes.size() / kWord + 1;
}

}  // namespace

void ChunkGroups::Begin(std::span<const std::byte> bytes, std::size_t size) {
  m_bytes = bytes;
  const std::byte* const begin = bytes.data();
  m_until = begin + size;
  const std::size_t meeting = MeetingWord(bytes) * kWord;
  m_meeting = begin + std::min(meeting, size);
  m_before.Clear();
  m_afterEnd = m_after.Find(begin + std::min(meeting, size), m_until, begin + bytes.size());
}

void ChunkGroups::Enter(std::size_t first) {
  const std::byte* const end = m_bytes.data() + m_bytes.size();
  m_end = m_before.Find(m_bytes.data() + first, m_meeting, end);
  if (m_end == m_meeting)
    m_end = m_afterEnd;
  else
    m_after.Clear();  // a group before the meeting is not whole, or the chunk ends before it
}

FoundGroups::Place ChunkGroups::PlaceOf(int cell) const {
  return cell < m_before.Cells() ? m_before.PlaceOf(cell) : m_after.PlaceOf(cell - m_before.Cells());
}

void ChunkGroups::Pick(int cell, int step, int count, OBS* out) const {
  const int left = m_before.Cells() - cell;
  const int before = left <= 0 ? 0 : std::min((left - 1) / step + 1, count);
  m_before.Pick(cell, step, before, out);
  if (count != before) m_after.Pick(cell + before * step - m_before.Cells(), step, count - before, out + before);
}
