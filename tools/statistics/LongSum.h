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
  LongSum() = default;
  // The sum of both.
  LongSum(double high, double low) : m_high(high), m_low(low) {}

  void Add(double number) { Add(m_high, m_low, number); }
  // Adds to a sum in two parts. A number may be a vector of several.
  template <class Number>
  static void Add(Number& high, Number& low, const Number& number) {
    const Number sum = high + number;
    const Number added = sum - high;
    low += (high - (sum - added)) + (number - added);  // what the sum was rounded by
    high = sum;
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
