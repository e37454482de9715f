// Collects the figures of a numeric variable.
//
//   NumberStatistics statistics(variable, hasLabels, labels);
//   statistics.Add(numbers, weights, rows);   any number of times
//   statistics.Result();
//
// Small whole numbers, which most variables have, are only counted: their moments follow from the counts. So are the
// first other values. When there are too many of these to list, their counts go to the moments, and from then on they
// are only told apart; above kMostDistinctValues not even that.
//
// Threads: one thread at a time for each object.

#ifndef TOOLS_STATISTICS_NUMBERSTATISTICS_H
#define TOOLS_STATISTICS_NUMBERSTATISTICS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "datasrc/QUAV_Variable.h"
#include "tools/statistics/DistinctKeys.h"
#include "tools/statistics/KeyTable.h"
#include "tools/statistics/LongSum.h"
#include "tools/statistics/MissingRule.h"
#include "tools/statistics/Moments.h"
#include "tools/statistics/VariableStatistics.h"

namespace tool {

// Labels of numbers in any order, without that of the system-missing value.
using NumberLabels = std::vector<std::pair<double, std::string>>;

class NumberStatistics {
 public:
  // A variable with value labels lists its values, also when `labels` is empty. No number has two labels.
  NumberStatistics(const QUAV_Variable& variable, bool hasLabels, NumberLabels labels);

  // `weights` is null (each row counts 1), or has a number for each row: 0 for a row that counts for nothing, otherwise
  // a positive one. It is null in all calls or in none.
  void Add(const double* numbers, const double* weights, std::size_t rows);
  VariableStatistics Result() const;

 private:
  // Each row has a slot of m_counts: its value if that is a small number, or one of the others.
  static constexpr std::size_t kSmallNumbers = 256;
  static constexpr std::size_t kOther = kSmallNumbers;
  static constexpr std::size_t kSystemMissing = kOther + 1;
  static constexpr std::size_t kUnweighted = kOther + 2;  // counts for nothing
  static constexpr std::size_t kSlots = kOther + 3;
  static constexpr std::size_t kChunk = 1024;  // rows

  struct Count {
    long long n = 0;
    LongSum weight;
  };
  // Numbers that are no small ones, with their weights.
  struct Others {
    std::array<double, kChunk> numbers;
    std::array<double, kChunk> weights;
    std::size_t count = 0;
  };

  // The figures of values that are not listed.
  struct Measured {
    void Add(const Others& others, const NumberStatistics& owner);
    // A value that several rows have.
    void Add(double number, const Count& count, const NumberStatistics& owner);
    // `weights` is as for Moments::Add.
    void AddValid(const double* numbers, const double* weights, std::size_t count);
    void AddMissing(long long count, double weight);

    long long n = 0;
    long long userMissing = 0;
    LongSum missingWeight;
    double min = std::numeric_limits<double>::infinity();
    double max = -std::numeric_limits<double>::infinity();
    Moments moments;
  };

  bool IsWeighted() const { return !m_weights.empty(); }
  // Returns the slot of a value.
  static std::size_t SlotOf(double number);
  void AddChunk(const double* numbers, std::size_t rows);
  void AddMeasuredChunk(const double* numbers, std::size_t rows);
  void AddWeightedChunk(const double* numbers, const double* weights, std::size_t rows);
  void AddOthers(Others& others);
  void CountOthers(Others& others);
  void EndListing();
  double WeightOf(const Count& count) const;
  Count SlotCount(std::size_t slot) const;
  template <class Visitor>
  void ForEachCount(Visitor visit) const;
  std::vector<ValueCount> Values(bool onlyLabelled) const;

  MissingRule m_missing;
  bool m_hasLabels;
  NumberLabels m_labels;

  // Rows with the same value often follow each other: several counts for each slot do not wait for one another.
  static constexpr std::size_t kLanes = 4;
  std::array<std::array<long long, kSlots>, kLanes> m_counts{};
  std::vector<LongSum> m_weights;  // of each slot; empty without weights

  enum class Listing { all, labelled, none };
  Listing m_listing = Listing::all;
  KeyTable<NumberKey> m_listed;  // values that are no small numbers and are counted
  std::vector<Count> m_listedCounts;
  DistinctKeys<NumberKey> m_toldApart{kMostDistinctValues};  // the values that are not listed

  Measured m_measured;
};

}  // namespace tool

#endif
