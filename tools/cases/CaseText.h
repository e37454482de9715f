// Turns cases into text, in one of the forms in which the text of a case does not depend on other cases.
//
//   text->AppendNames(out);
//   text->AppendCase(out, cells);   for each case
//
// A value that has no text in the form is a ToolError. The text of the case is then incomplete.
//
// Threads: one thread at a time for each object. Several objects that make the text of different cases make the same
// text as one.

#ifndef TOOLS_CASES_CASETEXT_H
#define TOOLS_CASES_CASETEXT_H

#include <string>

#include "datasrc/Obs.h"
#include "tools/messages/Losses.h"

namespace tool {

class CaseText {
 public:
  virtual ~CaseText() = default;
  // Appends what comes before the first case.
  virtual void AppendNames(std::string&) {}
  // `cells` points to the first cell of the case.
  virtual void AppendCase(std::string& out, const OBS* cells) = 0;
  // Adds what is doubtful about the values so far.
  virtual void AddLosses(Losses&) const {}
};

}  // namespace tool

#endif
