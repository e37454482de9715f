// The cases that are added to a system file, laid out as that has them, whatever they come from.
//
// Names, types and widths are compared when they are opened; a difference is a ToolError that names the variable.
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
  OpenedSource source;                // behind the cases, when they come from a system file
  std::unique_ptr<CaseReader> cases;  // goes before the source
};

// `formName` is what was asked for, or empty. The file outlives the cases.
AddedCases OpenAddedCases(const std::string& input, const std::string& formName, const OpenedSource& file,
                          const ExtNameStr& password);

}  // namespace tool

#endif
