// Cases, one after the other, from whatever form they come in.
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
  // Reads the next case; false at the end.
  virtual bool Next() = 0;
  // The case, laid out as the dictionary says that the reader was made for. It lasts until the next call of Next; the
  // place stays.
  virtual const OBS* Cells() const = 0;
  // How many there are, below 0 when that is not known. Only to be shown.
  virtual long long Count() const { return -1; }
};

}  // namespace tool

#endif
