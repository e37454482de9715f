#include "Columns/dictionary/CaseCount.h"

#include <memory>

#include "Columns/dictionary/FileOpening.h"
#include "Columns/files/FileFailure.h"
#include "datasrc/QUAV_InputCaseIterator.h"

namespace dstext {

namespace {

// Doubles the row until it is past the end, then bisects. One of the rows found missing is the one directly after the
// last case, so the search also meets an incomplete case there.
long long CountByPosition(QUAV_InputCaseIterator& cases) {
  const auto isThere = [&cases](long long row) { return cases.Seek(row) != 0 && cases.Next() != 0; };
  long long missing = 1;
  while (isThere(missing - 1)) missing *= 2;
  --missing;
  long long count = missing / 2;  // this many cases exist
  while (count < missing) {
    const long long row = count + (missing - count) / 2;
    if (isThere(row)) {
      count = row + 1;
    } else {
      missing = row;
    }
  }
  return count;
}

long long CountByReading(QUAV_InputCaseIterator& cases) {
  long long count = 0;
  while (cases.Next() != 0) ++count;
  return count;
}

}  // namespace

void RequireCells(const SystemFileDataSource& file, const std::string& path) {
  if (LacksCells(file)) throw FileFailure("the cases cannot be read: the variables come after other records", path);
}

void LearnCaseCount(SystemFileDataSource& file) {
  long long count = 0;
  {
    const std::unique_ptr<QUAV_InputCaseIterator> cases(file.MakeIterator(nullptr));
    count = file.GetCompressionLevel() == 0 ? CountByPosition(*cases) : CountByReading(*cases);
  }
  file.RowCount(count);
}

}  // namespace dstext
