// The cases that are added to a system file. They have the layout of that file, whatever they come from.
//
// Names, types and widths are compared when the cases are opened. A difference is a ToolError that names the variable.
//
// Threads: one thread at a time.

#ifndef TOOLS_FORMS_ADDEDCASES_H
#define TOOLS_FORMS_ADDEDCASES_H

#include <memory>
#include <string>

#include "tools/cases/CaseReader.h"
#include "tools/systemfile/OpenSource.h"

namespace tool {

struct AddedCases {
  OpenedSource source;                // the source of cases from a system file, otherwise empty
  std::unique_ptr<CaseReader> cases;  // destroyed before the source
};

// `formName` is the form that the user asked for, or empty. The file outlives the cases.
AddedCases OpenAddedCases(const std::string& input, const std::string& formName, const OpenedSource& file,
                          const ExtNameStr& password);

}  // namespace tool

#endif
