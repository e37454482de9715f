// Counts how many of many keys are different, up to a limit.
//
//   DistinctKeys<NumberKey> keys(limit);
//   keys.Add(key);    any number of times
//   keys.Count()      nothing if more than `limit` are different
//
// Keys are kept as they come. They are told apart only when there are several times as many of them as were different
// before. The table for this exists no longer than that, so it is in the processor's cache. The tables of many variables
// would not fit there together.
//
// A key has Hash(), operator==, and kNone, which is never added.
//
// Threads: one thread at a time for each object.

#ifndef TOOLS_STATISTICS_DISTINCTKEYS_H
#define TOOLS_STATISTICS_DISTINCTKEYS_H

#include <algorithm>
#include <bit>
#include <cstddef>
#include <optional>
#include <vector>

namespace tool {

template <class Key>
class DistinctKeys {
 public:
  explicit DistinctKeys(std::size_t limit) : m_limit(limit) {}

  void Add(const Key& key) {
    Add(1, [&](std::size_t) { return key; });
  }
  // Adds keyAt(0) to keyAt(count - 1).
  template <class KeyAt>
  void Add(std::size_t count, KeyAt keyAt) {
    if (m_isOver) return;
    const std::size_t before = m_keys.size();
    m_keys.resize(before + count);
    for (std::size_t i = 0; i < count; ++i) m_keys[before + i] = keyAt(i);
    if (m_keys.size() > m_room) TellApart();
  }
  // Returns whether more than the limit are known to be different. From then on no keys are kept.
  bool IsOver() const { return m_isOver; }
  // Returns how many are different; nothing for more than the limit.
  std::optional<std::size_t> Count() const {
    if (m_isOver) return std::nullopt;
    std::size_t count = 0;
    const bool isAll = ForEachNew([&](const Key&) { return ++count <= m_limit; });
    return isAll ? std::optional(count) : std::nullopt;
  }

 private:
  static constexpr std::size_t kFirstRoom = 4096;
  static constexpr std::size_t kGrowth = 4;

  // Leaves each key once.
  void TellApart() {
    std::size_t count = 0;
    m_isOver = !ForEachNew([&](const Key& key) {
      m_keys[count++] = key;
      return count <= m_limit;
    });
    if (m_isOver) count = 0;
    m_keys.resize(count);
    if (m_isOver) m_keys.shrink_to_fit();
    // Keys that hardly repeat should be over the limit soon after they have come to it.
    const std::size_t overLimit = m_limit + m_limit / 8;
    m_room = count > m_limit / 2 ? 2 * m_limit : std::max(std::min(kGrowth * count, overLimit), kFirstRoom);
  }

  // Visits the first of all equal keys, until a visit returns false. Returns whether that was never so.
  template <class Visitor>
  bool ForEachNew(Visitor visit) const {
    // The number of slots is a power of two.
    std::vector<Key> slots(std::bit_ceil(m_keys.size() + m_keys.size() / 2 + 1), Key::kNone);
    for (const Key& key : m_keys) {
      std::size_t slot = key.Hash() & (slots.size() - 1);
      while (!(slots[slot] == Key::kNone) && !(slots[slot] == key)) slot = (slot + 1) & (slots.size() - 1);
      if (slots[slot] == key) continue;
      slots[slot] = key;
      if (!visit(key)) return false;
    }
    return true;
  }

  std::size_t m_limit;
  std::size_t m_room = kFirstRoom;  // more keys are told apart
  std::vector<Key> m_keys;
  bool m_isOver = false;
};

}  // namespace tool

#endif
