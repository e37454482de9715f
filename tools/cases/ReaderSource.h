// Presents the cases of a reader as a data source, so that a view of the library can use them.
//
// The cases can be read only once, by one iterator.
//
// Threads: one thread at a time.

#ifndef TOOLS_CASES_READERSOURCE_H
#define TOOLS_CASES_READERSOURCE_H

#include "datasrc/QUAV_DataSource.h"
#include "tools/cases/CaseReader.h"

namespace tool {

class ReaderSource final : public QUAV_DataSource {
 public:
  // The reader's cases have the layout of the dictionary. Both outlive this object.
  ReaderSource(const QUAV_DataSource& dictionary, CaseReader& cases);

  QUAV_InputCaseIterator* MakeIterator(OBS* buffer) const override;
  long long RowCount() const override { return m_cases.Count(); }

 private:
  CaseReader& m_cases;
};

}  // namespace tool

#endif
