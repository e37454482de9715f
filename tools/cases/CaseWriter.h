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

class Progress;

class CaseWriter {
 public:
  virtual ~CaseWriter() = default;
  virtual void Begin() {}
  // From here on shows how many cases are written, if it writes them later than it takes them. Otherwise returns false, and
  // the caller shows it. The progress lives until End returns.
  virtual bool Follow(Progress&) { return false; }
  // `cells` points to the first cell of the case.
  virtual void WriteCase(const OBS* cells) = 0;
  // Writes the cases so far, as far as a writer on one thread has written them. To be called before a failure of the
  // reader goes on, and before other messages about these cases. Throws an earlier failure of its own.
  virtual void CatchUp() {}
  virtual void End() {}
};

}  // namespace tool

#endif
