// Makes a dictionary of a JSON object as `datasrc info --json` prints it.
//
// Only `variables` is required, and of a variable `name` and `type`; what is left out takes the library's defaults.
// Members that a file has by itself (its compression, the number of its cases) are not looked at. Documents and trends
// are left out, with a warning.
//
// Threads: one thread at a time.

#ifndef TOOLS_DICTIONARY_JSONDICTIONARY_H
#define TOOLS_DICTIONARY_JSONDICTIONARY_H

#include <memory>
#include <string>

#include "datasrc/SystemFileDataSource.h"

namespace tool {

// Throws ToolError for what is no such object, error 1201 for a file that cannot be opened.
std::unique_ptr<SystemFileDataSource> ReadDictionaryJson(const std::string& file);

}  // namespace tool

#endif
