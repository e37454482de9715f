// A batch: some successive cases of a data set, column by column.
//
// The buffers are laid out as the Arrow columnar format asks (Arrow Columnar Format, "Physical Memory Layout"), so that
// they can be handed over without a copy:
//
//   validity   a bit for each row, the lowest bit of the first byte for row 0; 1 means that the row has a value. A null
//              pointer means that every row has one.
//   numbers    a double for each row. Where the row has no value, the system-missing value, or the value that the
//              reader was asked to drop.
//   offsets    rows + 1 offsets into `text`, in bytes, not decreasing; the text of row r is between offsets r and r + 1
//   text       UTF-8, without terminators. Trailing blanks of the field are not part of the text.
//
// All buffers begin at a multiple of 64 bytes.
//
// Threads: a batch never changes; any number of threads may read it.

#ifndef DATASRC_COLUMNBATCH_H
#define DATASRC_COLUMNBATCH_H

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "Platform/Export.h"

struct BatchColumn {
  enum class Kind {
    number,
    text,      // offsets of 32 bits
    long_text  // offsets of 64 bits
  };

  bool HasValue(long long row) const { return validity == nullptr || (validity[row / 8] >> (row % 8) & 1) != 0; }
  // The column must be a text; a row without a value has the empty text.
  std::string_view Text(long long row) const {
    const auto part = [&](const auto* at) {
      return std::string_view(text + at[row], static_cast<std::size_t>(at[row + 1] - at[row]));
    };
    return kind == Kind::text ? part(offsets) : part(longOffsets);
  }

  Kind kind = Kind::number;
  long long missing = 0;  // how many rows have no value
  const std::uint8_t* validity = nullptr;
  const double* numbers = nullptr;
  const std::int32_t* offsets = nullptr;
  const std::int64_t* longOffsets = nullptr;
  const char* text = nullptr;
};

struct ColumnBatch {
  long long firstRow = 0;  // in the data set, counted from 0
  long long rows = 0;
  std::vector<BatchColumn> columns;
};

#endif
