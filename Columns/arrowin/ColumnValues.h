// Takes the values of one column out of Arrow arrays.
//
// Values that a variable cannot hold without loss are refused by ArrowImportError, with the column and the row.
//
// Threads: one thread at a time for each object.

#ifndef COLUMNS_ARROWIN_COLUMNVALUES_H
#define COLUMNS_ARROWIN_COLUMNVALUES_H

#include <cstdint>
#include <memory>
#include <string>

#include "Columns/arrowin/ArrivedRows.h"
#include "Columns/arrowin/TextLabels.h"
#include "datasrc/ArrowAbi.h"

namespace arrowin {

// What becomes of the column.
struct ColumnTarget {
  std::string name;                            // for messages
  bool isNumber = true;                        // otherwise a text
  std::shared_ptr<const TextLabels> labels{};  // null where texts of the column are no labels
  bool roundTimes = false;
};

class ColumnValues {
 public:
  virtual ~ColumnValues() = default;

  // Makes `array` the one whose values are taken. Throws ArrowImportError where its buffers are not those of its type.
  virtual void Begin(const ArrowArray& array) = 0;
  // Appends `count` values of the array from `first` on to `column`; the first of them is in row `row` of the stream.
  virtual void Take(std::int64_t first, int count, long long row, ArrivedColumn& column) = 0;
};

// Throws ArrowImportError when no variable, or not the wanted one, can have such values.
std::unique_ptr<ColumnValues> MakeColumnValues(const ArrowSchema& schema, const ColumnTarget& target);

// Whether the values are text, if the type is known: also those of a dictionary.
bool HasText(const ArrowSchema& schema);

[[noreturn]] void RefuseValue(const std::string& column, long long row, const std::string& value, const char* trouble);

}  // namespace arrowin

#endif
