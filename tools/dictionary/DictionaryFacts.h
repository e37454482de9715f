// What the dictionary says, in the words that both forms of `datasrc info` use.

#ifndef TOOLS_DICTIONARY_DICTIONARYFACTS_H
#define TOOLS_DICTIONARY_DICTIONARYFACTS_H

#include <string>
#include <string_view>
#include <vector>

#include "datasrc/DSDocument.h"
#include "datasrc/Obs.h"
#include "datasrc/QUAV_DataSource.h"
#include "datasrc/QUAV_Variable.h"

namespace tool {

// "none", "bytecode", "zlib"; another kind by its number.
std::string CompressionName(int level);
// "YYYY-MM-DD HH:MM:SS".
std::string TimestampText(double timestamp);
// "YYYY-MM-DD".
std::string DateText(const DSDocument& document);
// The missing values in their order, as many as the code says; they live until the variable changes.
std::vector<const OBS*> MissingValues(const QUAV_Variable& variable, int* code);
// "lowest" and "highest" for the numbers that stand for an open end of a range, else empty.
std::string_view OpenEndName(const OBS& cell);
// The names of a set's members that there are.
std::vector<std::string> MemberNames(const VariableSetImpl& set, const QUAV_DataSource& source);

}  // namespace tool

#endif
