// Copies the cases of a reader to a writer and shows the progress.
//
// Threads: one thread at a time.

#ifndef TOOLS_CASES_COPYCASES_H
#define TOOLS_CASES_COPYCASES_H

#include "tools/cases/CaseReader.h"
#include "tools/cases/CaseWriter.h"
#include "tools/messages/Progress.h"

namespace tool {

// Reads the next case, as CaseReader::Next. When that fails, the writer first writes the cases before.
inline bool NextCase(CaseReader& from, CaseWriter& to) {
  try {
    return from.Next();
  } catch (...) {
    to.CatchUp();
    throw;
  }
}

// Progress.h describes `progressDescriptor`.
inline void CopyCases(CaseReader& from, CaseWriter& to, int progressDescriptor) {
  Progress progress(progressDescriptor, from.Count());
  const bool isFollowed = to.Follow(progress);
  to.Begin();
  for (long long count = 1; NextCase(from, to); ++count) {
    to.WriteCase(from.Cells());
    if (!isFollowed) progress.Step(count);
  }
  to.End();
}

}  // namespace tool

#endif
