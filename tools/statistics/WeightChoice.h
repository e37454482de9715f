// The variable by which figures are weighted, as a person chooses it.
//
// Threads: one thread at a time.

#ifndef TOOLS_STATISTICS_WEIGHTCHOICE_H
#define TOOLS_STATISTICS_WEIGHTCHOICE_H

#include <optional>
#include <string>

#include "datasrc/QUAV_DataSource.h"

namespace tool {

struct WeightChoice {
  bool isWeighted = true;
  std::optional<std::string> name = {};  // without one, the file's weight variable
};

// Throws WrongUsage when both options are given.
WeightChoice ChooseWeight(bool unweighted, const std::optional<std::string>& name);
// Returns the column, or nothing when the figures are not weighted. Throws error 1507 for a name that is not a
// variable's, and ToolError about `path` for a text. When the file's own weight variable is a text, that is a warning,
// and the figures are not weighted.
std::optional<int> WeightColumn(const QUAV_DataSource& data, const WeightChoice& choice, const std::string& path);

}  // namespace tool

#endif
