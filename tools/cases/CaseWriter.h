// Writes cases in one of the forms: a system file, CSV, JSON lines, a table.
//
//   writer->Begin();
//   writer->WriteCase(cells);   for each case
//   writer->End();
//
// Columns and output outlive a writer. Output.h says how failures of the output are thrown.
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
  // `cells` points to the first cell of the case.
  virtual void WriteCase(const OBS* cells) = 0;
  virtual void End() {}
};

}  // namespace tool

#endif
