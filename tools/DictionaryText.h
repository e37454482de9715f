// The dictionary of a source for people: what `datasrc info` prints.

#ifndef TOOLS_DICTIONARYTEXT_H
#define TOOLS_DICTIONARYTEXT_H

#include <string>

#include "OpenSource.h"

namespace tool {

void AppendDictionaryText(std::string& out, const OpenedSource& source);

}  // namespace tool

#endif
