// A view of one column in the buffer of an iterator. Bound once, it shows the column of each case that Next delivers.
//
// Threads: one thread at a time, together with its iterator.

#ifndef DATASRC_CASEVALUE_H
#define DATASRC_CASEVALUE_H

#include "Platform/Export.h"
#include "datasrc/Obs.h"
#include "datasrc/QUAV_InputCaseIterator.h"
#include "datasrc/QUAV_Variable.h"

class DATASRC_API CaseValue {
 public:
  // The column counts from 0. The object is not bound: call SetIterator before anything else.
  explicit CaseValue(unsigned int column) : _column(column) {}
  CaseValue(QUAV_InputCaseIterator& iterator, unsigned int column);
  // Binds to the iterator's buffer. The iterator and its source must outlive the use of this object, and the variable's
  // type must not change. Asserts that the column exists.
  void SetIterator(QUAV_InputCaseIterator& iterator);

  // Returns whether a number is system-missing, or a string has only blanks.
  bool IsNull() const;
  // With `user`, or without an argument: whether the value is missing for the variable. With false: whether a number is
  // system-missing.
  bool IsMissing(bool user) const;
  bool IsMissing() const;
  // Asserts that the column is numeric. Deliberate: a negative zero becomes a positive one.
  void SetValue(double value);
  // Asserts that the column is a string. The text is truncated to the width, or filled with blanks; the rest of the
  // last cell becomes blank.
  void SetValue(const char* text);
  // Copies the cells of a value of the variable's type; `value` is the first of them.
  void SetValue(const OBS& value);

 private:
  OBS& LastCell() const;

  OBS* _pValue = nullptr;                    // in the iterator's buffer
  const QUAV_Variable* _variable = nullptr;  // the source's
  unsigned int _column;
  unsigned short _type = 0;
};

#endif
