// The sum of many numbers with twice the digits of a double, so that neither their count nor numbers that cancel each
// other out cost digits of the result.
//
// Threads: a value; one thread at a time for each object.

#ifndef TOOLS_STATISTICS_LONGSUM_H
#define TOOLS_STATISTICS_LONGSUM_H

#include <cmath>

namespace tool {

class LongSum {
 public:
  void Add(double number) {
    const double sum = m_high + number;
    const double added = sum - m_high;
    m_low += (m_high - (sum - added)) + (number - added);  // what the sum was rounded by
    m_high = sum;
  }
  void Add(const LongSum& other) {
    Add(other.m_high);
    m_low += other.m_low;
  }
  // Infinite when a partial sum was.
  double Value() const { return std::isfinite(m_high) ? m_high + m_low : m_high; }

 private:
  double m_high = 0;
  double m_low = 0;
};

}  // namespace tool

#endif
