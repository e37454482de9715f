// Facts about the values of input text.
//
// Threads: any; a plain value.

#ifndef TOOLS_CASES_TEXTRULES_H
#define TOOLS_CASES_TEXTRULES_H

#include <string>

#include "Columns/cells/CellFiller.h"
#include "Platform/text/QUAVMB.h"

namespace tool {

struct TextRules {
  bool digitsAreKept = false;  // as in FillRules
  std::string encoding = {};   // of the stored text; empty for UTF-8

  // Returns the rules for fillers that one thread at a time uses.
  dstext::FillRules ForFillers() const {
    dstext::FillRules rules{.digitsAreKept = digitsAreKept};
    if (!encoding.empty() && !QUAVMBqSameCodePage(encoding.c_str(), kUtf8Name))
      rules.converter = QUAVMBConverterPtr(QUAVMBConverterNew_A(encoding.c_str()));
    return rules;
  }
};

}  // namespace tool

#endif
