// Some cases of a reader: those of a range of rows.
//
// Threads: one thread at a time.

#ifndef TOOLS_CASES_ROWSCASES_H
#define TOOLS_CASES_ROWSCASES_H

#include <algorithm>
#include <memory>

#include "tools/cases/CaseReader.h"
#include "tools/text/RowRange.h"

namespace tool {

class RowsCases final : public CaseReader {
 public:
  RowsCases(std::unique_ptr<CaseReader> cases, const RowRange& rows) : m_cases(std::move(cases)), m_rows(rows) {}

  bool Next() override {
    for (; m_row < m_rows.from; ++m_row)
      if (!m_cases->Next()) return false;
    if (m_row >= m_rows.to || !m_cases->Next()) return false;
    ++m_row;
    return true;
  }
  const OBS* Cells() const override { return m_cases->Cells(); }
  long long Count() const override {
    const long long all = m_cases->Count();
    return all < 0 ? all : std::max(std::min(m_rows.to, all) - m_rows.from, 0LL);
  }
  void Report() const override { m_cases->Report(); }

 private:
  std::unique_ptr<CaseReader> m_cases;
  RowRange m_rows;
  long long m_row = 0;  // of the next case
};

}  // namespace tool

#endif
