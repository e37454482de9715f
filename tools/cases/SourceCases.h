// Reads the cases of a data source, unchanged or with their columns in the order of another dictionary.
//
// Threads: one thread at a time.

#ifndef TOOLS_CASES_SOURCECASES_H
#define TOOLS_CASES_SOURCECASES_H

#include <memory>
#include <vector>

#include "datasrc/QUAV_DataSource.h"
#include "tools/cases/CaseReader.h"

namespace tool {

class SourceCases final : public CaseReader {
 public:
  // The source outlives this object.
  explicit SourceCases(const QUAV_DataSource& source);
  // `columns` has, for each column of the dictionary, the column of the source that goes there. Their types are equal.
  SourceCases(const QUAV_DataSource& source, const QUAV_DataSource& dictionary, const std::vector<int>& columns);

  bool Next() override;
  const OBS* Cells() const override { return m_moved.empty() ? m_read : m_moved.data(); }
  long long Count() const override { return m_source.RowCount(); }

 private:
  struct Move {
    std::size_t from;  // the first cell, in both cases
    std::size_t to;
    std::size_t cells;
  };

  const QUAV_DataSource& m_source;
  std::unique_ptr<QUAV_InputCaseIterator> m_cases;
  const OBS* m_read;
  std::vector<Move> m_moves;
  std::vector<OBS> m_moved;  // the case in the new order; empty when the order stays the same
};

}  // namespace tool

#endif
