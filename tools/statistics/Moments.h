// Sum, mean and deviation of weighted numbers, in one pass.
//
// West's update takes a weighted number into mean and squares:
//
//   W' = W + w    mean' = mean + (x - mean) w / W'    squares' = squares + (x - mean)^2 w W / W'
//
// Here x is the mean of a block of numbers, w their weight, and their own squares about it are added: two blocks meet as
// two numbers do. The loops over a block have no division and no chain of additions. Means are taken from the first
// number on, so that numbers that are large beside their deviation (dates, for example) cost no digits. Numbers whose
// squares are beyond the range of a double are scaled by a power of two.
//
// Threads: one thread at a time for each object.

#ifndef TOOLS_STATISTICS_MOMENTS_H
#define TOOLS_STATISTICS_MOMENTS_H

#include <cstddef>
#include <optional>

#include "tools/statistics/LongSum.h"

namespace tool {

class Moments {
 public:
  // `weights` has a positive, finite weight for each number, or is null: each counts 1.
  void Add(const double* numbers, const double* weights, std::size_t count);

  double Weight() const { return m_weight.Value(); }
  // VariableStatistics says what these are.
  std::optional<double> Sum() const;
  std::optional<double> Mean() const;
  std::optional<double> Deviation() const;

 private:
  void AddBlock(const double* numbers, const double* weights, std::size_t count);
  void AddFiniteBlock(const double* numbers, const double* weights, std::size_t count);
  struct Block {
    double weight = 0;
    double mean = 0;     // as m_mean
    double squares = 0;  // of the differences from this mean
  };
  Block Measure(const double* numbers, const double* weights, std::size_t count) const;
  bool Rescale(const double* numbers, std::size_t count);
  void AddSpecial(double number, double weight);

  LongSum m_weight;       // of all numbers
  LongSum m_sum;          // of the finite ones
  double m_specials = 0;  // the sum of the others
  bool m_hasSpecials = false;
  bool m_hasOrigin = false;
  double m_origin = 0;  // the first finite number
  double m_finiteWeight = 0;
  // Of the finite numbers, from the origin, times 2 to the power of m_scale.
  int m_scale = 0;
  double m_mean = 0;
  double m_squares = 0;
};

}  // namespace tool

#endif
