// The rules for legal variable names, and functions that make a candidate legal and unique.
//
// A name has at most 64 bytes, in the process's present encoding; trailing blanks do not count. It consists of ASCII
// letters and digits, the characters @ # $ _ . and any character outside ASCII. It does not begin with a digit, "_" or
// ".". The following words are reserved, in upper and lower case: ALL AND BY EQ GE GT LE LT NE NOT OR TO WITH.
//
// Threads: any, while the present encoding does not change.

#ifndef DATASRC_VARIABLENAMES_H
#define DATASRC_VARIABLENAMES_H

#include <memory>

#include "Platform/Export.h"

class QUAV_DataSource;

// The longest name in bytes, without a terminator.
inline constexpr int kMaxVariableName = 64;

// What ValidateQUAVName returns.
enum VariableNameFault : int {
  kNameIsLegal = 0,
  kNameOfScratch = 1,    // legal in form, begins with #
  kNameOfSystem = 2,     // legal in form, begins with $
  kNameLength = 3,       // empty, all blank, or longer than 64 bytes
  kNameCharacter = 4,    // has a character that is not allowed, or bytes that are no character
  kNameReserved = 5,     // a reserved word
  kNameBegin = 6,        // begins with a digit, _ or .
  kNameEndsInPoint = 7,  // this and the next: only from ValidateQUAVNameCheckLastChar
  kNameEndsInUnderline = 100,
};

// Both take a terminated text that is not null.
DATASRC_API int ValidateQUAVName(const char* name);
// Also checks whether a legal name ends with "." or "_".
DATASRC_API int ValidateQUAVNameCheckLastChar(const char* name);

// For a name of 1 to 7 digits, writes "@" and the digits to `output` (room for 8 bytes and a terminator; it may be
// `name`) and returns 1. For any other name writes nothing and returns 0.
DATASRC_API int FormNumericQUAVName(char* output, const char* name);

// Returns nonzero when the candidate is taken. `context` and `tag` are those given to GenerateQUAVName.
using VariableNameTaken = int (*)(void* context, unsigned long tag, const char* candidate);

// Makes `name` legal in place; it has room for kMaxVariableName bytes and a terminator. Characters that are not
// allowed are removed. "@" is put before a reserved word, and before a name that begins with a digit or one of _ . #
// $, and "." and "_" are removed from the end. If nothing is left, the name becomes "V" and the number. While `taken`
// (which may be null) returns nonzero, the function tries the name with "_A", "_B" and so on after it. Once no such
// name fits, it tries the name itself until `taken` returns 0.
DATASRC_API void GenerateQUAVName(char* name, unsigned long number, VariableNameTaken taken, void* context,
                                  unsigned long tag);

// A sorted list of the names of a dictionary, for many look-ups. It points into the variables, so it is valid only
// while the dictionary does not change.
class DATASRC_API VariableNameIndex {
 public:
  explicit VariableNameIndex(const QUAV_DataSource& source);
  VariableNameIndex(const VariableNameIndex&) = delete;
  VariableNameIndex& operator=(const VariableNameIndex&) = delete;
  ~VariableNameIndex();

  // Returns the column of the name, which must be in upper case; -1 for none. Choice: of equal names, which a
  // dictionary should not have, the first column.
  int Find(const char* upperCaseName) const;

 private:
  struct DATASRC_LOCAL Data;
  std::unique_ptr<Data> m_;
};

#endif
