// What a system file can hold of a dictionary, tested before its first byte is written.
//
//   text                        a file cannot hold                                                      error
//   name of a variable          a name that a reader replaces (FixVarNames.h)                           1506
//                               a name that equals another without regard to case                       1505
//   attribute with values       a name that a reader skips; a line feed or NUL byte in a value          1508
//   set                         "=" or a line break in its name; the exact name of another set of its   1509
//                               record; a line break in the label or value
//   plain variable set          a name that begins with "$"                                             1509
//   multiple response set       a type that is not known                                                1509
//   missing value wider than 8  a NUL byte                                                              1510
//
// Only what is written is tested: an attribute without values, for example, has no place in a file. The rest of the
// rules are assertions of the records (SystemFileDataSource.h).
//
// Threads: any.

#ifndef DATASRC_SRC_SYSTEMFILE_DICTIONARYCHECK_H
#define DATASRC_SRC_SYSTEMFILE_DICTIONARYCHECK_H

#include <string>

#include "datasrc/QUAV_DataSource.h"

// Throws the library's error 1505.
void RefuseEqualNames(const QUAV_DataSource& dictionary);

// Throws the library's error of the first fault, with the name. `encoding` names the encoding of the file.
void RefuseUnwritable(const QUAV_DataSource& dictionary, const std::string& encoding);

#endif
