// Which numbers are user-missing values of a variable, as QUAV_Variable::IsMissing says, but fast. The system-missing
// value is none of them.
//
// Threads: a value that never changes.

#ifndef TOOLS_STATISTICS_MISSINGRULE_H
#define TOOLS_STATISTICS_MISSINGRULE_H

#include <array>
#include <cstdint>

#include "datasrc/Obs.h"
#include "datasrc/QUAV_Variable.h"

namespace tool {

class MissingRule {
 public:
  // The variable is a number.
  explicit MissingRule(const QUAV_Variable& variable) {
    std::array<const OBS*, 3> values{};
    const int code = variable.GetMissingValues(values[0], values[1], values[2]);
    if (1 <= code && code <= 3)
      for (int i = 0; i < code; ++i) m_single[static_cast<std::size_t>(i)] = values[static_cast<std::size_t>(i)]->bits;
    if (code == -2 || code == -3) {
      m_low = CellNumber(*values[0]);
      m_high = CellNumber(*values[1]);
    }
    if (code == -3) m_single[0] = values[2]->bits;
    m_isEmpty = code < -3 || code == -1 || code == 0 || code > 3;
  }

  // Whether no number is missing.
  bool IsEmpty() const { return m_isEmpty; }
  bool Has(double number) const {
    const std::uint64_t bits = NumberCell(number).bits;
    const unsigned isSingle =
        unsigned{bits == m_single[0]} | unsigned{bits == m_single[1]} | unsigned{bits == m_single[2]};
    const unsigned isInRange = unsigned{m_low <= number} & unsigned{number <= m_high};
    return (isSingle | isInRange) != 0;
  }

 private:
  // No number that is asked for has the bits of system-missing, and none is in the range from 1 to 0.
  std::array<std::uint64_t, 3> m_single{kSystemMissingBits, kSystemMissingBits, kSystemMissingBits};
  double m_low = 1;
  double m_high = 0;
  bool m_isEmpty = true;
};

}  // namespace tool

#endif
