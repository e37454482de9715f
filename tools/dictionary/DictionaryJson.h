// Writes the dictionary of a source as one JSON object: the output of `datasrc info --json`. tools/README.md lists its
// members.
//
// The variables are written one by one. Labels that many variables share might not fit into memory as one tree.

#ifndef TOOLS_DICTIONARY_DICTIONARYJSON_H
#define TOOLS_DICTIONARY_DICTIONARYJSON_H

#include "tools/files/Output.h"
#include "tools/systemfile/OpenSource.h"

namespace tool {

void WriteDictionaryJson(const OpenedSource& source, Output& output);

}  // namespace tool

#endif
