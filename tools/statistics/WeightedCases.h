// Reads columns of a file in batches, with the weights of the cases.
//
// Texts come in UTF-8 from the file itself, whatever its encoding: a view of it would be read by one thread, and its
// strings have a limit.
//
// Threads: one thread at a time. A batch may be read by any.

#ifndef TOOLS_STATISTICS_WEIGHTEDCASES_H
#define TOOLS_STATISTICS_WEIGHTEDCASES_H

#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

#include "datasrc/ColumnReader.h"
#include "datasrc/SystemFileDataSource.h"

namespace tool {

class WeightedCases {
 public:
  // The weight is a column that is a number, or none. The file has cells (RequireCells), and outlives this object. Of the
  // threads that work, only some are used to read.
  WeightedCases(const SystemFileDataSource& file, const std::vector<int>& columns, std::optional<int> weight,
                int threads);

  // Moves to the next batch. Returns false at the end. Throws QuavServerError for a fault of the file.
  bool Next();
  // Reads the batch that the next call of Next moves to. Other threads may look at the present one meanwhile. Throws the
  // same.
  void ReadAhead();

  // All of the present batch.
  long long Rows() const { return m_rows; }
  // A column by its place in `columns`.
  const BatchColumn& Column(std::size_t place) const { return m_present.all->columns[place]; }
  // The same column without its user-missing texts. Null for numbers, and for texts without missing values.
  const BatchColumn* ValidTexts(std::size_t place) const;
  // A number for each row: its weight, or 0 for a row that counts for nothing. Null without a weight.
  const double* Weights() const { return m_weights.empty() ? nullptr : m_weights.data(); }
  // How many rows of the batch count for nothing.
  long long Uncounted() const { return m_uncounted; }

 private:
  // The same rows from both readers.
  struct Batches {
    std::shared_ptr<const ColumnBatch> all;
    std::shared_ptr<const ColumnBatch> valid;
  };

  void ReadWeights();

  const SystemFileDataSource& m_file;
  std::optional<int> m_weight;
  std::unique_ptr<ColumnReader> m_reader;       // null for a file without cases
  std::unique_ptr<ColumnReader> m_validReader;  // null when no text has missing values
  std::vector<std::size_t> m_validPlaces;       // of each column in m_validReader
  Batches m_present;
  std::optional<Batches> m_ahead;
  long long m_rows = 0;
  std::vector<double> m_weights;
  long long m_uncounted = 0;
};

}  // namespace tool

#endif
