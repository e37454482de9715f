// The names that variables keep when a file is opened. FixVarNames replaces all others.

#ifndef DATASRC_SRC_SYSTEMFILE_FIXVARNAMES_H
#define DATASRC_SRC_SYSTEMFILE_FIXVARNAMES_H

// Returns whether a dictionary from a file may have a variable with this name, in the present encoding. A name may
// begin with a digit, which ValidateQUAVName does not allow.
bool IsNameInFile(const char* name);

#endif
