// The records of sets: a line for each set. Format: docs/system-file.md, "Sets".
//
// Threads: functions without state.

#ifndef DATASRC_SRC_SOURCES_VARIABLESETRECORD_H
#define DATASRC_SRC_SOURCES_VARIABLESETRECORD_H

#include <string>
#include <vector>

#include "datasrc/VariableSet.h"

// These assert that `str` is not empty.
std::string ToLowerCase(const std::string& str);
std::string ToUpperCase(const std::string& str);

// Puts the members' names into lower case, as in the two older records.
void LowerCaseMembers(std::vector<VariableSet>& sets);
// Appends the lines of those sets that belong in the record of the subtype.
void MakeExtension(const std::vector<VariableSet>& sets, std::string& text, QUAV_DataSource::ExtensionType subtype);
// Returns the subtype of the record in which a set belongs.
int RecordOf(const VariableSetImpl& set);
// Returns whether the line of a set is read as that set again. The name of a multiple response set is not tested for
// its "$", nor a dichotomy for its value: making the line asserts both.
bool HasLine(const VariableSetImpl& set);
// Adds the sets of the record's text. If a name occurs twice, compared exactly, the later set wins. It takes the
// place of the first set whose name is equal without regard to case; asserts then that no set up to there has an
// empty name.
void ParseExtension(const char* bytes, unsigned int length, int subtype, std::vector<VariableSet>& sets);

#endif
