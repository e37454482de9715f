// What the value of an option or an argument is, so that a shell can complete it.
//
// Threads: any.

#ifndef TOOLS_MANUAL_OPTIONVALUES_H
#define TOOLS_MANUAL_OPTIONVALUES_H

#include "tools/commandline/Description.h"

namespace tool {

enum class ValueKind { none, choice, file, command, text, unknown };

// Returns `none` for a flag, and `unknown` for a type that the table of types does not have.
ValueKind KindOf(const OptionDescription& option);
ValueKind KindOf(const ArgumentDescription& argument);

}  // namespace tool

#endif
