#include "tools/statistics/Moments.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace tool {

namespace {

constexpr std::size_t kBlock = 256;

constexpr int kScaleRange = 200;  // the numbers' own exponents that need no other scale
constexpr int kMostScale = 1000;  // 2 to this power, and its inverse, are doubles with all digits
constexpr double kSmallSquares = 0x1p-400;
constexpr double kLargeSquares = 0x1p+400;

// Two numbers that the processor adds at once. A sum has two of them, so that additions do not wait for one another.
using Pair [[gnu::vector_size(2 * sizeof(double))]] = double;

// Returns the sum of term(0) to term(count - 1).
template <class Term>
double LaneSum(std::size_t count, Term term) {
  std::array<Pair, 2> lanes{};
  std::size_t i = 0;
  for (; i + 4 <= count; i += 4) {
    lanes[0] += Pair{term(i), term(i + 1)};
    lanes[1] += Pair{term(i + 2), term(i + 3)};
  }
  for (; i < count; ++i) lanes[0][0] += term(i);
  return (lanes[0][0] + lanes[0][1]) + (lanes[1][0] + lanes[1][1]);
}

// The same with twice the digits (LongSum.h).
template <class Term>
LongSum LongLaneSum(std::size_t count, Term term) {
  std::array<Pair, 2> high{};
  std::array<Pair, 2> low{};
  std::size_t i = 0;
  for (; i + 4 <= count; i += 4) {
    LongSum::Add(high[0], low[0], Pair{term(i), term(i + 1)});
    LongSum::Add(high[1], low[1], Pair{term(i + 2), term(i + 3)});
  }
  LongSum sum;
  for (; i < count; ++i) sum.Add(term(i));
  for (std::size_t k = 0; k < high.size(); ++k)
    for (std::size_t lane = 0; lane < 2; ++lane) sum.Add(LongSum(high[k][lane], low[k][lane]));
  return sum;
}

}  // namespace

void Moments::Add(const double* numbers, const double* weights, std::size_t count) {
  for (std::size_t start = 0; start < count; start += kBlock)
    AddBlock(numbers + start, weights == nullptr ? nullptr : weights + start, std::min(kBlock, count - start));
}

void Moments::AddBlock(const double* numbers, const double* weights, std::size_t count) {
  // The difference is NaN for a number that is not finite.
  if (LaneSum(count, [&](std::size_t i) { return numbers[i] - numbers[i]; }) == 0)
    return AddFiniteBlock(numbers, weights, count);
  std::array<double, kBlock> finite;
  std::array<double, kBlock> finiteWeights;
  std::size_t nFinite = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const double weight = weights == nullptr ? 1 : weights[i];
    if (!std::isfinite(numbers[i])) {
      AddSpecial(numbers[i], weight);
      continue;
    }
    finite[nFinite] = numbers[i];
    finiteWeights[nFinite++] = weight;
  }
  if (nFinite != 0) AddFiniteBlock(finite.data(), finiteWeights.data(), nFinite);
}

void Moments::AddSpecial(double number, double weight) {
  m_hasSpecials = true;
  m_specials += number;
  m_weight.Add(weight);
}

void Moments::AddFiniteBlock(const double* numbers, const double* weights, std::size_t count) {
  if (!m_hasOrigin) m_origin = numbers[0];
  m_hasOrigin = true;
  Block block = Measure(numbers, weights, count);
  const bool isInRange = block.squares > kSmallSquares && block.squares < kLargeSquares;  // NaN is not
  if (!isInRange && Rescale(numbers, count)) block = Measure(numbers, weights, count);

  m_weight.Add(block.weight);
  m_sum.Add(weights == nullptr ? LongLaneSum(count, [&](std::size_t i) { return numbers[i]; })
                               : LongLaneSum(count, [&](std::size_t i) { return weights[i] * numbers[i]; }));
  const double before = m_finiteWeight;
  m_finiteWeight += block.weight;
  const double step = block.mean - m_mean;
  const double share = block.weight / m_finiteWeight;
  m_mean += step * share;
  m_squares += block.squares + step * step * before * share;
}

Moments::Block Moments::Measure(const double* numbers, const double* weights, std::size_t count) const {
  const double scale = std::ldexp(1, m_scale);
  const double origin = m_origin * scale;
  std::array<double, kBlock> moved;
  for (std::size_t i = 0; i < count; ++i) moved[i] = numbers[i] * scale - origin;

  const auto weighted = [&](auto term) {
    if (weights == nullptr) return LaneSum(count, term);
    return LaneSum(count, [&](std::size_t i) { return weights[i] * term(i); });
  };
  Block block;
  block.weight =
      weights == nullptr ? static_cast<double>(count) : LaneSum(count, [&](std::size_t i) { return weights[i]; });
  block.mean = weighted([&](std::size_t i) { return moved[i]; }) / block.weight;
  block.squares = weighted([&](std::size_t i) { return (moved[i] - block.mean) * (moved[i] - block.mean); });
  return block;
}

// Returns whether there is a new scale. A smaller one is for numbers too large for the present one; a larger one is taken
// as long as no number has differed from the first.
bool Moments::Rescale(const double* numbers, std::size_t count) {
  double largest = 0;
  for (std::size_t i = 0; i < count; ++i) largest = std::max(largest, std::abs(numbers[i] - m_origin));
  if (largest == 0) return false;
  const int scale = -std::clamp(std::ilogb(largest), -kMostScale, kMostScale);
  const bool isTooLarge = m_scale - scale > kScaleRange;
  const bool isTooSmall = scale - m_scale > kScaleRange && m_squares == 0;
  if (!isTooLarge && !isTooSmall) return false;
  m_mean = std::ldexp(m_mean, scale - m_scale);
  m_squares = std::ldexp(m_squares, 2 * (scale - m_scale));
  m_scale = scale;
  return true;
}

std::optional<double> Moments::Sum() const {
  if (Weight() == 0) return {};
  if (m_hasSpecials) return m_specials;
  const double sum = m_sum.Value();
  return std::isfinite(sum) ? sum : *Mean() * Weight();  // a part of it may be too large for a double
}

std::optional<double> Moments::Mean() const {
  if (Weight() == 0) return {};
  if (m_hasSpecials) return m_specials;
  const double mean = m_sum.Value() / Weight();
  if (std::isfinite(mean)) return mean;
  return std::ldexp(std::ldexp(m_origin, m_scale) + m_mean, -m_scale);  // the sum is too large for a double
}

std::optional<double> Moments::Deviation() const {
  if (!(Weight() > 1)) return {};
  if (m_hasSpecials) return std::numeric_limits<double>::quiet_NaN();
  return std::ldexp(std::sqrt(m_squares / (Weight() - 1)), -m_scale);
}

}  // namespace tool
