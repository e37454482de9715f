// Counts the missing values of each column and the cases in which no value is missing. A CaseValue is bound to one
// column of an iterator's buffer once, and then serves every case of the pass.
//
//   complete_cases penguins.quav

#include <cstddef>
#include <cstdio>
#include <exception>
#include <memory>
#include <vector>

#include "datasrc/datasrc.h"

namespace {

// A blank string is a legal value: it is missing only when the variable says so. Here it counts as missing too.
bool HasNoValue(const CaseValue& value) { return value.IsNull() || value.IsMissing(); }

void CountMissing(const QUAV_DataSource& source) {
  if (source.ColumnCount() == 0) return;  // the cases of a file without variables never end
  const std::unique_ptr<QUAV_InputCaseIterator> cases(source.MakeIterator(nullptr));
  std::vector<CaseValue> values;
  for (unsigned int column = 0; column < source.ColumnCount(); ++column) values.emplace_back(*cases, column);
  std::vector<long> missing(values.size());
  long complete = 0;
  long total = 0;
  for (; cases->Next(); ++total) {
    bool isComplete = true;
    for (std::size_t column = 0; column < values.size(); ++column) {
      if (!HasNoValue(values[column])) continue;
      ++missing[column];
      isComplete = false;
    }
    if (isComplete) ++complete;
  }
  for (std::size_t column = 0; column < values.size(); ++column)
    std::printf("%-16s %4ld missing\n", source.GetVariable(static_cast<int>(column)).GetName(), missing[column]);
  std::printf("%ld of %ld cases are complete\n", complete, total);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: complete_cases FILE\n");
    return 2;
  }
  try {
    CountMissing(SystemFileDataSource(argv[1], "", false));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "complete_cases: %s\n", error.what());
    return 1;
  }
}
