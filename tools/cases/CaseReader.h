// Reads cases one after the other, whatever form they come in.
//
//   while (cases->Next()) use(cases->Cells());
//
// Failures are thrown as QuavServerError, or as ToolError with the line.
//
// Threads: one thread at a time.

#ifndef TOOLS_CASES_CASEREADER_H
#define TOOLS_CASES_CASEREADER_H

#include "datasrc/Obs.h"

namespace tool {

class CaseReader {
 public:
  virtual ~CaseReader() = default;
  // Reads the next case. Returns false at the end.
  virtual bool Next() = 0;
  // Returns the case in the layout of the reader's dictionary. The cells are valid until the next call of Next; the
  // pointer stays the same.
  virtual const OBS* Cells() const = 0;
  // Returns the number of cases, negative when it is unknown. The number is for progress only.
  virtual long long Count() const { return -1; }
  // Warns about values that were not read as they are. To be called after the last case.
  virtual void Report() const {}
};

}  // namespace tool

#endif
