// Takes the rows of a stream apart, some at a time.
//
// Threads: one thread at a time.

#ifndef COLUMNS_ARROWIN_ARRIVINGROWS_H
#define COLUMNS_ARROWIN_ARRIVINGROWS_H

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "Columns/arrowin/ArrivedRows.h"
#include "Columns/arrowin/ArrowInput.h"
#include "Columns/arrowin/ColumnValues.h"

namespace arrowin {

class ArrivingRows {
 public:
  // `columns` has an element for each column of the input, which outlives this object.
  ArrivingRows(ArrowInput& input, std::vector<std::unique_ptr<ColumnValues>> columns)
      : m_input(input), m_columns(std::move(columns)) {}

  // Fetches some rows. Returns false at the end.
  bool Next(ArrivedRows& rows) {
    while (m_array == nullptr || m_taken == m_array->length)
      if (!Begin()) return false;
    rows.firstRow = m_row;
    rows.rows = static_cast<int>(std::min<std::int64_t>(kRowsAtOnce, m_array->length - m_taken));
    rows.columns.resize(m_columns.size());
    for (std::size_t k = 0; k < m_columns.size(); ++k) {
      rows.columns[k].Clear();
      m_columns[k]->Take(m_array->offset + m_taken, rows.rows, m_row, rows.columns[k]);
    }
    m_taken += rows.rows;
    m_row += rows.rows;
    return true;
  }

  long long Count() const { return m_row; }

 private:
  static constexpr int kRowsAtOnce = 4096;  // that are taken apart together

  bool Begin() {
    m_array = m_input.Next();
    if (m_array == nullptr) return false;
    m_taken = 0;
    for (std::size_t k = 0; k < m_columns.size(); ++k) m_columns[k]->Begin(*m_array->children[k]);
    return true;
  }

  ArrowInput& m_input;
  std::vector<std::unique_ptr<ColumnValues>> m_columns;
  const ArrowArray* m_array = nullptr;
  std::int64_t m_taken = 0;  // rows of the array
  long long m_row = 0;       // of the stream
};

}  // namespace arrowin

#endif
