// The records of sets: a line for each set. Format: docs/system-file.md, "Sets".
//
// Threads: functions without state.

#ifndef DATASRC_SRC_SOURCES_VARIABLESETRECORD_H
#define DATASRC_SRC_SOURCES_VARIABLESETRECORD_H

#include <string>
#include <vector>

#include "datasrc/VariableSet.h"

// Assert that there is a text.
std::string ToLowerCase(const std::string& str);
std::string ToUpperCase(const std::string& str);

// The members' names, as the older two of the records have them.
void LowerCaseMembers(std::vector<VariableSet>& sets);
// Appends the lines of the sets that belong into the record of the subtype.
void MakeExtension(const std::vector<VariableSet>& sets, std::string& text, int subtype);
// Adds the sets of the record's text. Of two with one name the later one counts, in the place of the first; names are
// compared exactly here. Asserts that no set without a name stands in front of the first of two.
void ParseExtension(const char* bytes, unsigned int length, int subtype, std::vector<VariableSet>& sets);

#endif
