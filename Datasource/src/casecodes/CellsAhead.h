// Whole plain groups that were found ahead of the next case, and their cells once they are decoded.
//
// Threads: one thread at a time.

#ifndef DATASRC_SRC_CASECODES_CELLSAHEAD_H
#define DATASRC_SRC_CASECODES_CELLSAHEAD_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>

#include "casecodes/CellPicker.h"
#include "casecodes/GroupDecoder.h"
#include "casecodes/GroupFinder.h"
#include "core/systemfileformat.h"
#include "datasrc/Obs.h"

class CellsAhead {
 public:
  // The number of cells that are not used yet, and of those of them that Take may copy: all or none.
  int Left() const { return m_end - m_next; }
  int Decoded() const { return m_decodedEnd - m_next; }
  // Returns the first byte of the group that holds the next cell. Left() must not be 0.
  const std::byte* Group() const { return m_groups[static_cast<std::size_t>(m_next / kCodesPerGroup)]; }
  // Returns the index of the next cell in its group.
  int Code() const { return m_next % kCodesPerGroup; }
  // Both return the same for the cell that comes `cells` after the next; `cells` is less than Left().
  const std::byte* GroupOf(int cells) const {
    return m_groups[static_cast<std::size_t>((m_next + cells) / kCodesPerGroup)];
  }
  int CodeOf(int cells) const { return (m_next + cells) % kCodesPerGroup; }
  // Stores the cell that comes `cells` after the next, and every `step`-th after it, `count` together. Skips nothing.
  void Pick(int cells, int step, int count, OBS* out) const {
    PickCells(m_groups.data(), m_next + cells, step, count, out);
  }

  // Take copies the next cells to `out`, Skip drops them. `count` is at most Decoded(), for Skip Left().
  void Take(OBS* out, int count) {
    const OBS* const from = m_cells.data() + m_next;
    m_next += count;
    if (count < kCodesPerGroup) {
      std::copy_n(from, count, out);
      return;
    }
    // Copies of a fixed size are a few instructions each, and a case is too short for a call of the general copy. The
    // last one may overlap the one before.
    for (int i = 0; i + kCodesPerGroup < count; i += kCodesPerGroup) CopyEight(from + i, out + i);
    CopyEight(from + count - kCodesPerGroup, out + count - kCodesPerGroup);
  }
  void Skip(int count) { m_next += count; }
  void Clear() { m_next = m_end = m_decodedEnd = 0; }
  // Replaces all cells with those of the plain groups at `in`; advances `in`.
  void Decode(const std::byte*& in, const std::byte* inEnd) {
    m_next = 0;
    m_decodedEnd = m_end = kCodesPerGroup * DecodeGroups(in, inEnd, kGroups, m_cells.data(), m_groups.data());
  }
  // Does the same, but decodes nothing.
  void Find(const std::byte*& in, const std::byte* inEnd) {
    m_next = m_decodedEnd = 0;
    m_end = kCodesPerGroup * FindGroups(in, inEnd, kGroups, m_groups.data());
    m_foundEnd = inEnd;
  }
  // Stores the next cells at `out`, at most `most`: those that are left, which must all be decoded, and those of the plain
  // groups at `in`, which are decoded straight to their place; advances `in`. Returns the number of cells. They are not
  // used yet: Use must be called next, with the same place.
  int DecodeTo(OBS* out, int most, const std::byte*& in, const std::byte* inEnd) {
    const int left = std::min(Left(), most);
    std::copy_n(m_cells.data() + m_next, left, out);
    if (left < Left() || most - left < kCodesPerGroup) return left;
    const int used = m_next / kCodesPerGroup;
    const int held = m_end / kCodesPerGroup - used;
    std::copy_n(m_groups.begin() + used, held, m_groups.begin());
    const int room = std::min(kGroups - held, (most - left) / kCodesPerGroup);
    const int groups = DecodeGroups(in, inEnd, room, out + left, m_groups.data() + held);
    m_next -= used * kCodesPerGroup;
    m_decodedEnd = m_end = (held + groups) * kCodesPerGroup;
    return left + groups * kCodesPerGroup;
  }
  // Drops the first `count` of the `stored` cells at `out`, and keeps the others.
  void Use(const OBS* out, int stored, int count) {
    m_next += count;
    std::copy_n(out + count, stored - count, m_cells.data() + m_next);
  }
  // Decodes the cells that are left of what Find has found. Left() must not be 0.
  void DecodeFound() {
    const std::byte* group = Group();
    const int groups = m_end / kCodesPerGroup - m_next / kCodesPerGroup;
    m_next = Code();
    m_decodedEnd = m_end = kCodesPerGroup * DecodeGroups(group, m_foundEnd, groups, m_cells.data(), m_groups.data());
  }

 private:
  static void CopyEight(const OBS* from, OBS* out) { std::memcpy(out, from, kCodesPerGroup * sizeof(OBS)); }

  // The cells of so many groups take half of a usual first-level cache.
  static constexpr int kGroups = 256;

  int m_next = 0;
  int m_end = 0;
  int m_decodedEnd = 0;  // m_end, or 0 when the groups are only found
  const std::byte* m_foundEnd = nullptr;
  std::array<const std::byte*, kGroups> m_groups;
  std::array<OBS, std::size_t{kGroups} * kCodesPerGroup> m_cells;
};

#endif
