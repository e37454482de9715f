// Compares the cases of two data sets, the first of the one with the first of the other and so on.
//
//   numbers   are equal when they are the same double: -0.0 differs from 0.0, because files keep the difference. A NaN
//             equals each NaN.
//   texts     are compared in UTF-8, without trailing blanks
//
// A variable that is a number in one and a text in the other is not compared: the dictionaries differ.
//
// Threads: one thread at a time; threads of the readers decode.

#ifndef TOOLS_DIFF_CASEDIFF_H
#define TOOLS_DIFF_CASEDIFF_H

#include <utility>
#include <vector>

#include "datasrc/QUAV_DataSource.h"
#include "tools/diff/Differences.h"

namespace tool {

struct CaseDiffOptions {
  long long most = 10;  // how many differences are printed
  int threads = 1;
};

// `columns` are the variables that both have. Adds the first differences by case and variable, then how many there are.
// Shows progress. Throws QuavServerError for a fault of a file.
void CompareCases(const QUAV_DataSource& first, const QUAV_DataSource& second,
                  const std::vector<std::pair<int, int>>& columns, const CaseDiffOptions& options,
                  Differences& differences);

}  // namespace tool

#endif
