// Copies the cases of a reader to a writer and shows the progress.
//
// Threads: one thread at a time.

#ifndef TOOLS_CASES_COPYCASES_H
#define TOOLS_CASES_COPYCASES_H

#include "tools/cases/CaseReader.h"
#include "tools/cases/CaseWriter.h"
#include "tools/messages/Progress.h"

namespace tool {

// Progress.h describes `progressDescriptor`.
inline void CopyCases(CaseReader& from, CaseWriter& to, int progressDescriptor) {
  Progress progress(progressDescriptor, from.Count());
  to.Begin();
  for (long long count = 1; from.Next(); ++count) {
    to.WriteCase(from.Cells());
    progress.Step(count);
  }
  to.End();
}

}  // namespace tool

#endif
