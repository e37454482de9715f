// A set of numbers that only has to be counted, and may be as large as a cache.
//
// The place of each number is asked for before the first of them is looked at, so that the processor fetches many places
// at a time.
//
// Threads: one thread at a time for each object.

#ifndef TOOLS_STATISTICS_NUMBERSET_H
#define TOOLS_STATISTICS_NUMBERSET_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "datasrc/Obs.h"
#include "tools/statistics/KeyTable.h"

namespace tool {

class NumberSet {
 public:
  std::size_t Size() const { return m_size; }
  // None of the numbers is system-missing. They are told apart by their bits.
  void Add(std::span<const double> numbers) {
    for (; !numbers.empty(); numbers = numbers.subspan(std::min(numbers.size(), kTogether)))
      AddTogether(numbers.first(std::min(numbers.size(), kTogether)));
  }
  // Also gives the memory back.
  void Clear() { *this = {}; }

 private:
  static constexpr std::size_t kTogether = 64;
  static constexpr std::size_t kFirstSlots = 2048;
  static constexpr std::size_t kGrowth = 4;
  static constexpr std::uint64_t kEmpty = kSystemMissingBits;

  void AddTogether(std::span<const double> numbers) {
    if ((m_size + kTogether) * 4 > m_slots.size() * 3) Grow();
    std::array<std::size_t, kTogether> slots;
    for (std::size_t i = 0; i < numbers.size(); ++i) {
      slots[i] = FirstSlot(NumberCell(numbers[i]).bits);
      __builtin_prefetch(&m_slots[slots[i]], 1);
    }
    for (std::size_t i = 0; i < numbers.size(); ++i) Put(NumberCell(numbers[i]).bits, slots[i]);
  }

  // The number of slots is a power of two.
  std::size_t FirstSlot(std::uint64_t bits) const { return NumberKey{bits}.Hash() & (m_slots.size() - 1); }

  void Put(std::uint64_t bits, std::size_t slot) {
    while (m_slots[slot] != kEmpty && m_slots[slot] != bits) slot = (slot + 1) & (m_slots.size() - 1);
    m_size += std::size_t{m_slots[slot] == kEmpty};
    m_slots[slot] = bits;
  }

  void Grow() {
    const std::vector<std::uint64_t> before =
        std::exchange(m_slots, std::vector<std::uint64_t>(std::max(kFirstSlots, m_slots.size() * kGrowth), kEmpty));
    m_size = 0;
    for (const std::uint64_t bits : before)
      if (bits != kEmpty) Put(bits, FirstSlot(bits));
  }

  std::vector<std::uint64_t> m_slots;  // at most three quarters of them are taken
  std::size_t m_size = 0;
};

}  // namespace tool

#endif
