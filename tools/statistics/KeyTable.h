// Numbers keys from 0 on in the order of their arrival.
//
//   KeyTable<NumberKey> table;
//   table.Add(key)       the number of the key, which is added if it is new
//   table.Find(key)      the number, or kNone
//
// A key is its own hash, up to one multiplication: it has Hash() and operator==.
//
// Threads: one thread at a time for each object.

#ifndef TOOLS_STATISTICS_KEYTABLE_H
#define TOOLS_STATISTICS_KEYTABLE_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include "datasrc/Obs.h"

namespace tool {

// Odd numbers without a pattern in their bits.
inline constexpr std::uint64_t kMixFirst = 0x9E3779B97F4A7C15;
inline constexpr std::uint64_t kMixSecond = 0xD6E8FEB86659FD93;

// Returns 64 bits each of which depends on all bits of both.
inline std::uint64_t Mixed(std::uint64_t a, std::uint64_t b) {
  __extension__ using Wide = unsigned __int128;
  const Wide product = static_cast<Wide>(a) * b;
  return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

// A number that is not system-missing, told apart by its bits.
struct NumberKey {
  static const NumberKey kNone;

  std::uint64_t bits;

  std::uint64_t Hash() const { return Mixed(bits ^ kMixFirst, kMixSecond); }
  bool operator==(const NumberKey&) const = default;
};

inline constexpr NumberKey NumberKey::kNone{kSystemMissingBits};

template <class Key>
class KeyTable {
 public:
  static constexpr std::uint32_t kNone = std::numeric_limits<std::uint32_t>::max();

  std::size_t Size() const { return m_keys.size(); }
  // In the order of their numbers.
  const std::vector<Key>& Keys() const { return m_keys; }

  std::uint32_t Find(const Key& key) const { return m_slots.empty() ? kNone : m_slots[SlotOf(key)]; }

  std::uint32_t Add(const Key& key) {
    if (m_keys.size() * 4 >= m_slots.size() * 3) Grow();
    std::uint32_t& slot = m_slots[SlotOf(key)];
    if (slot != kNone) return slot;
    slot = static_cast<std::uint32_t>(m_keys.size());
    m_keys.push_back(key);
    return slot;
  }

  // Also gives the memory back.
  void Clear() { *this = {}; }

 private:
  static constexpr std::size_t kFirstSlots = 32;

  // Returns the slot of the key, or the one where it is to be put. The number of slots is a power of two.
  std::size_t SlotOf(const Key& key) const {
    std::size_t slot = key.Hash() & (m_slots.size() - 1);
    while (m_slots[slot] != kNone && !(m_keys[m_slots[slot]] == key)) slot = (slot + 1) & (m_slots.size() - 1);
    return slot;
  }

  void Grow() {
    m_slots.assign(std::max(kFirstSlots, m_slots.size() * 2), kNone);
    for (std::size_t i = 0; i < m_keys.size(); ++i) m_slots[SlotOf(m_keys[i])] = static_cast<std::uint32_t>(i);
  }

  std::vector<Key> m_keys;
  std::vector<std::uint32_t> m_slots;
};

}  // namespace tool

#endif
