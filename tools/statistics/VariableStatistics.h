// The figures of one variable.
//
//   a case whose weight is missing, not a number, infinite, zero or negative   counts for nothing
//   n, systemMissing, userMissing, blank, ValueCount::n                        numbers of cases, unweighted
//   all sums and moments, weights                                              weighted, where there is a weight
//
// A value is valid when it is neither system-missing nor user-missing. A text of blanks is valid, too.
//
// Numbers are equal when their bits are, as with labels and missing values: 0.0 and -0.0 are two values. Texts are equal
// when they are shown alike, in UTF-8 without trailing blanks.

#ifndef TOOLS_STATISTICS_VARIABLESTATISTICS_H
#define TOOLS_STATISTICS_VARIABLESTATISTICS_H

#include <optional>
#include <string>
#include <vector>

namespace tool {

inline constexpr long long kMostDistinctValues = 65'536;
inline constexpr std::size_t kMostListedValues = 50;  // of a variable without value labels

// A value, valid or user-missing.
struct ValueCount {
  double number = 0;      // of a number
  std::string text = {};  // of a text
  std::optional<std::string> label = {};
  long long n = 0;
  double weighted = 0;
  bool isMissing = false;
};

struct VariableStatistics {
  bool isNumber = true;
  long long n = 0;  // valid cases
  long long systemMissing = 0;
  long long userMissing = 0;
  long long blank = 0;  // the valid texts that are blank
  double weight = 0;    // the weights of the valid cases; n where there is no weight
  double missingWeight = 0;

  // The figures of the valid values. A figure is absent where there is no such value, or where it is not defined. An
  // infinite value makes mean and sum infinite, and a NaN makes them NaN; both make the deviation NaN.
  std::optional<double> min;  // of the values that are not NaN
  std::optional<double> max;
  std::optional<double> mean;
  std::optional<double> deviation;  // the root of (squares / (weight - 1)); none for a weight up to 1
  std::optional<double> sum;
  // The first and the last valid text in the order of their bytes.
  std::optional<std::string> minText;
  std::optional<std::string> maxText;

  // How many values there are, valid or user-missing; absent above kMostDistinctValues.
  std::optional<long long> distinct;
  // The values in their order, a NaN last. Present for a variable with value labels, or with at most kMostListedValues
  // distinct values. Has all of them, and the labelled values that no case has; only the labelled ones where there are
  // too many to count.
  std::optional<std::vector<ValueCount>> values;
};

}  // namespace tool

#endif
