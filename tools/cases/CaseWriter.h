// The forms in which cases are written: CSV, JSON lines, a table.
//
//   writer->Begin();
//   writer->WriteCase(cells);   for each case
//   writer->End();
//
// Columns and output outlive a writer. Failures of the output are thrown as Output tells.
//
// Threads: one thread at a time.

#ifndef TOOLS_CASES_CASEWRITER_H
#define TOOLS_CASES_CASEWRITER_H

#include "datasrc/Obs.h"

namespace tool {

class CaseWriter {
 public:
  virtual ~CaseWriter() = default;
  virtual void Begin() {}
  // `cells` is the start of the case.
  virtual void WriteCase(const OBS* cells) = 0;
  virtual void End() {}
};

}  // namespace tool

#endif
