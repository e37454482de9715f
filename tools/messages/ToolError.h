// A failure of the tool itself, which has no number in the message catalog. A failure with a number is a
// QuavServerError.

#ifndef TOOLS_MESSAGES_TOOLERROR_H
#define TOOLS_MESSAGES_TOOLERROR_H

#include "Columns/files/FileFailure.h"

namespace tool {

class ToolError : public dstext::FileFailure {
 public:
  using FileFailure::FileFailure;
};

}  // namespace tool

#endif
