// One column on its way from a batch into an Arrow array.
//
// Threads: one thread at a time.

#ifndef COLUMNS_ARROW_ARROWCOLUMN_H
#define COLUMNS_ARROW_ARROWCOLUMN_H

#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

#include "Columns/arrow/ArrowData.h"
#include "Platform/text/Encoding.h"
#include "datasrc/ArrowStream.h"
#include "datasrc/ColumnBatch.h"
#include "datasrc/QUAV_Variable.h"

// A value that the Arrow type of its column cannot hold. The text names column, row and value.
class ValueDoesNotFit : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class ArrowColumn {
 public:
  virtual ~ArrowColumn() = default;

  // The schema without its name.
  virtual SchemaData Schema() const = 0;
  // Returns the array of the column. `batch` has the memory of the column.
  virtual ArrayData Array(const std::shared_ptr<const ColumnBatch>& batch, const BatchColumn& column) = 0;
};

// Makes the kind that the options ask for. The variable is copied; its text is in the encoding.
std::unique_ptr<ArrowColumn> MakeArrowColumn(const QUAV_Variable& variable, BatchColumn::Kind kind,
                                             const ArrowExportOptions& options, const quavmb::Encoding& encoding);

// Returns the text in UTF-8. Bytes that form no character become U+FFFD.
std::string Utf8Text(std::string_view text, const quavmb::Encoding& encoding);

#endif
