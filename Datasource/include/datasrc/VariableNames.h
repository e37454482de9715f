// What a legal variable name is, how a candidate is mended into one, and how a name that is taken makes way.
//
// A name has at most 64 bytes, in the process's present encoding; trailing blanks do not count. It holds ASCII letters
// and digits, the signs @ # $ _ . and whatever lies outside ASCII. It begins with none of: a digit, _ and the point.
// These are no names, in any case: ALL AND BY EQ GE GT LE LT NE NOT OR TO WITH.
//
// Threads: any, while the present encoding stands.

#ifndef DATASRC_VARIABLENAMES_H
#define DATASRC_VARIABLENAMES_H

#include <memory>

#include "Platform/Export.h"

class QUAV_DataSource;

// The longest name in bytes, without a terminator.
inline constexpr int kMaxVariableName = 64;

// What ValidateQUAVName answers.
enum VariableNameFault : int {
  kNameIsLegal = 0,
  kNameOfScratch = 1,    // legal in form, begins with #
  kNameOfSystem = 2,     // legal in form, begins with $
  kNameLength = 3,       // empty, all blank, or longer than 64 bytes
  kNameCharacter = 4,    // holds what is not allowed, or what is no character
  kNameReserved = 5,     // a reserved word
  kNameBegin = 6,        // begins with a digit, _ or .
  kNameEndsInPoint = 7,  // this and the next from ValidateQUAVNameCheckLastChar alone
  kNameEndsInUnderline = 100,
};

DATASRC_API int ValidateQUAVName(const char* name);
// The same, and of a legal name whether it ends with a point or an underline.
DATASRC_API int ValidateQUAVNameCheckLastChar(const char* name);

// "@" and the digits of a name of 1 to 7 digits, into `output` (room for 8 bytes and a terminator; it may be `name`).
// Answers 1; for any other name 0, and writes nothing.
DATASRC_API int FormNumericQUAVName(char* output, const char* name);

// Answers nonzero when the candidate is taken.
using VariableNameTaken = int (*)(void* context, unsigned long tag, const char* candidate);

// Mends the name in place, which has room for kMaxVariableName bytes and a terminator: what is not allowed is left out,
// a bad beginning gets "@" in front, bad ends go, and where nothing can be saved it becomes "V" and the number. While
// `taken` (which may be null) says so, "_A", "_B" and so on is put behind it. When no such name fits, the loop goes on
// with the name itself until `taken` lets it pass.
DATASRC_API void GenerateQUAVName(char* name, unsigned long number, VariableNameTaken taken, void* context,
                                  unsigned long tag);

// A sorted snapshot of the names of a dictionary, for many look-ups. It points into the variables, so it is good while
// the dictionary stands unchanged.
class DATASRC_API VariableNameIndex {
 public:
  explicit VariableNameIndex(const QUAV_DataSource& source);
  VariableNameIndex(const VariableNameIndex&) = delete;
  VariableNameIndex& operator=(const VariableNameIndex&) = delete;
  ~VariableNameIndex();

  // The column of the name, which must be in upper case already; -1 for none. Choice: of equal names, which a
  // dictionary should not have, the first column.
  int Find(const char* upperCaseName) const;

 private:
  struct DATASRC_LOCAL Data;
  std::unique_ptr<Data> m_;
};

#endif
