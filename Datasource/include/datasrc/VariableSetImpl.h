// A variable set, or a multiple response set, as a data source stores it: members by identity, so that a new name of a
// variable does not break the set.
//
// Threads: a value; one thread at a time for each object.

#ifndef DATASRC_VARIABLESETIMPL_H
#define DATASRC_VARIABLESETIMPL_H

#include <string>
#include <vector>

#include "datasrc/LocallyUniqueID.h"

struct VariableSetImpl {
  std::vector<LocallyUniqueID> members;
  std::string name;
  std::string label;
  std::string value;  // the value that a dichotomy counts
  int type = 0;       // 0 a variable set, 1 categories, 2 a dichotomy
  bool useVariableCategoryLabels = false;
  bool labelSetByVariable = false;

  bool operator==(const VariableSetImpl&) const = default;
};

#endif
