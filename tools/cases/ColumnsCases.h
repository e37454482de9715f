// The cases of a reader with some of their columns, in another order.
//
// Threads: one thread at a time.

#ifndef TOOLS_CASES_COLUMNSCASES_H
#define TOOLS_CASES_COLUMNSCASES_H

#include <algorithm>
#include <memory>
#include <vector>

#include "datasrc/QUAV_DataSource.h"
#include "tools/cases/CaseReader.h"

namespace tool {

class ColumnsCases final : public CaseReader {
 public:
  // The cases have the layout of `whole`. `part` has its columns with the indexes `columns`, in their order.
  ColumnsCases(std::unique_ptr<CaseReader> cases, const QUAV_DataSource& whole, const QUAV_DataSource& part,
               const std::vector<int>& columns)
      : m_cases(std::move(cases)), m_case(part.GetObsAreaSize()) {
    for (std::size_t i = 0; i < columns.size(); ++i) {
      const auto column = static_cast<int>(i);
      m_moves.push_back({static_cast<std::size_t>(whole.ObsIndex(columns[i])),
                         static_cast<std::size_t>(part.ObsIndex(column)),
                         CellCount(part.GetVariable(column).GetType())});
    }
  }

  bool Next() override {
    if (!m_cases->Next()) return false;
    const OBS* const cells = m_cases->Cells();
    for (const Move& move : m_moves) std::copy_n(cells + move.from, move.cells, m_case.data() + move.to);
    return true;
  }
  const OBS* Cells() const override { return m_case.data(); }
  long long Count() const override { return m_cases->Count(); }
  void Report() const override { m_cases->Report(); }

 private:
  struct Move {
    std::size_t from;  // the first cell, in both cases
    std::size_t to;
    std::size_t cells;
  };

  std::unique_ptr<CaseReader> m_cases;
  std::vector<Move> m_moves;
  std::vector<OBS> m_case;
};

}  // namespace tool

#endif
