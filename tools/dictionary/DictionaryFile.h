// Reads a dictionary from a file of JSON (JsonDictionary.h).
//
// Threads: one thread at a time.

#ifndef TOOLS_DICTIONARY_DICTIONARYFILE_H
#define TOOLS_DICTIONARY_DICTIONARYFILE_H

#include <memory>
#include <string>

#include "datasrc/SystemFileDataSource.h"

namespace tool {

// `encoding` is that of the system file to be made. Warnings about the dictionary go to standard error. Throws ToolError
// when the file does not contain a dictionary, and error 1201 when it cannot be opened.
std::unique_ptr<SystemFileDataSource> ReadDictionaryFile(const std::string& file, const std::string& encoding);

// Returns the text of the file. Throws error 1201 when it cannot be opened.
std::string ReadDictionaryText(const std::string& file);

}  // namespace tool

#endif
