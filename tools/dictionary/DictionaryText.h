// Writes the dictionary of a source for people: the output of `datasrc info`.
//
// Threads: one thread at a time.

#ifndef TOOLS_DICTIONARY_DICTIONARYTEXT_H
#define TOOLS_DICTIONARY_DICTIONARYTEXT_H

#include <cstddef>
#include <string>
#include <vector>

#include "tools/systemfile/OpenSource.h"
#include "tools/text/Color.h"

namespace tool {

struct DictionaryTextStyle {
  Color color;
  std::size_t width = 0;  // of the terminal, in columns; 0 where lines may have any width
};

// Appends the facts, and a table of the variables.
void AppendDictionaryText(std::string& out, const OpenedSource& source, const DictionaryTextStyle& style);
// Appends all that the dictionary has about these variables; nothing is cut.
void AppendVariablesText(std::string& out, const OpenedSource& source, const std::vector<int>& columns,
                         const DictionaryTextStyle& style);

}  // namespace tool

#endif
