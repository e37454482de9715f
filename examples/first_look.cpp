// Opens a system file and prints its variables: name, type, label and, for numbers, the mean of the values that are not
// missing.
//
//   first_look penguins.quav

#include <cstdio>
#include <exception>
#include <memory>
#include <string>
#include <vector>

#include "datasrc/datasrc.h"

namespace {

struct Sum {
  double total = 0;
  long count = 0;
};

// Returns a sum for each column. The sums of string columns stay empty.
std::vector<Sum> SumColumns(const QUAV_DataSource& source) {
  std::vector<Sum> sums(source.ColumnCount());
  if (sums.empty()) return sums;  // the cases of a file without variables never end
  std::unique_ptr<QUAV_InputCaseIterator> cases(source.MakeIterator(nullptr));
  while (cases->Next()) {
    for (int column = 0; column < static_cast<int>(sums.size()); ++column) {
      const QUAV_Variable& variable = source.GetVariable(column);
      if (variable.GetType() != 0) continue;
      const double value = cases->GetNumericValue(column);
      if (variable.IsMissing(value)) continue;
      Sum& sum = sums[static_cast<std::size_t>(column)];
      sum.total += value;
      ++sum.count;
    }
  }
  return sums;
}

std::string TypeText(int type) { return type == 0 ? "number" : "string of " + std::to_string(type); }

void PrintVariable(const QUAV_Variable& variable, const Sum& sum) {
  const char* label = variable.GetLabel();
  std::printf("%-16s %-14s %-24s", variable.GetName(), TypeText(variable.GetType()).c_str(), label ? label : "");
  if (sum.count > 0) std::printf(" %10.2f", sum.total / static_cast<double>(sum.count));
  std::printf("\n");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: first_look FILE\n");
    return 2;
  }
  try {
    const SystemFileDataSource source(argv[1], "", false);
    const std::vector<Sum> sums = SumColumns(source);
    for (int column = 0; column < static_cast<int>(sums.size()); ++column)
      PrintVariable(source.GetVariable(column), sums[static_cast<std::size_t>(column)]);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "first_look: %s\n", error.what());
    return 1;
  }
}
