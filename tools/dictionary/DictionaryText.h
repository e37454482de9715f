// Writes the dictionary of a source for people: the output of `datasrc info`.

#ifndef TOOLS_DICTIONARY_DICTIONARYTEXT_H
#define TOOLS_DICTIONARY_DICTIONARYTEXT_H

#include <string>

#include "tools/systemfile/OpenSource.h"

namespace tool {

void AppendDictionaryText(std::string& out, const OpenedSource& source);

}  // namespace tool

#endif
