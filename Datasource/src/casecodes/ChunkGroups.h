// The groups of a chunk of case codes, found before it is known where the first of them begins, so that chunks can be
// searched side by side.
//
// A group has at most nine words of eight bytes, so the first of a chunk begins at one of its first nine words. The groups
// that would follow from each of the nine are followed until all lead to the same word, which takes a few dozen words of
// most data: from there on the groups are the same, whichever is the first. Those before it are found when the chunks before
// this one are known. Of data where they do not meet soon all groups are found then.
//
// Threads: one thread at a time.

#ifndef DATASRC_SRC_CASECODES_CHUNKGROUPS_H
#define DATASRC_SRC_CASECODES_CHUNKGROUPS_H

#include <cstddef>
#include <span>

#include "casecodes/FoundGroups.h"
#include "datasrc/Obs.h"

class ChunkGroups {
 public:
  // Begins a chunk of `size` bytes. `bytes` are also those after it, as far as there are any in the data: a group that
  // begins in the chunk is whole in them, or nowhere. At least kMaxGroupSize bytes after them can be read, and all stay
  // until the next call.
  void Begin(std::span<const std::byte> bytes, std::size_t size);
  // Sets where the first group begins: at one of the first nine words. Finds what is not found yet.
  void Enter(std::size_t first);

  // Only after Enter. The offset after the last group: that of the first group of the next chunk, if the chunk is whole.
  std::size_t End() const { return static_cast<std::size_t>(m_end - m_bytes.data()); }
  // Returns whether all groups that begin in the chunk are whole.
  bool IsWhole() const { return m_end >= m_until; }
  int Cells() const { return m_before.Cells() + m_after.Cells(); }
  // Both count cells from 0, as FoundGroups.
  FoundGroups::Place PlaceOf(int cell) const;
  void Pick(int cell, int step, int count, OBS* out) const;

 private:
  std::span<const std::byte> m_bytes;
  const std::byte* m_until = nullptr;  // the end of the chunk
  const std::byte* m_meeting = nullptr;
  const std::byte* m_afterEnd = nullptr;
  const std::byte* m_end = nullptr;
  FoundGroups m_before;  // the meeting
  FoundGroups m_after;
};

#endif
