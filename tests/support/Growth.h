// How the time of some work grows with its size, for tests that work does not grow as the square.
//
//   EXPECT_LT(Growth(1000, [](int n) { ... }), kLessThanSquare);
//
// The work is done for n and for 8 n. Its time grows 8 times when it is linear, about 10 times for n log n, and 64
// times for the square. It is the processor's time, and the best of three runs, so that a busy machine does not matter.

#ifndef TESTS_SUPPORT_GROWTH_H
#define TESTS_SUPPORT_GROWTH_H

#include <algorithm>
#include <ctime>
#include <limits>

constexpr double kLessThanSquare = 24;

// `make(n)` returns the work for n, a callable without arguments; only the work is timed.
template <class Make>
double Growth(int n, Make make) {
  const auto best = [&make](int size) {
    double least = std::numeric_limits<double>::max();
    for (int run = 0; run < 3; ++run) {
      auto work = make(size);
      const std::clock_t start = std::clock();
      work();
      least = std::min(least, static_cast<double>(std::clock() - start));
    }
    return std::max(least, 1.0);
  };
  const double small = best(n);
  return best(8 * n) / small;
}

#endif
