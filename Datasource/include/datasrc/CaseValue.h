// A view of one column in the live buffer of an iterator: bound once, it serves all cases of a pass.
//
// Threads: one thread at a time, with its iterator.

#ifndef DATASRC_CASEVALUE_H
#define DATASRC_CASEVALUE_H

#include "Platform/Export.h"
#include "datasrc/Obs.h"
#include "datasrc/QUAV_InputCaseIterator.h"
#include "datasrc/QUAV_Variable.h"

class DATASRC_API CaseValue {
 public:
  // Not bound yet: SetIterator must run before anything else.
  explicit CaseValue(unsigned int column) : m_column(column) {}
  CaseValue(QUAV_InputCaseIterator& iterator, unsigned int column);
  // Binds to the iterator's buffer; the iterator and its source outlive the use of this object.
  void SetIterator(QUAV_InputCaseIterator& iterator);

  // A number: system-missing; a string: blanks only.
  bool IsNull() const;
  // With `user`, by the variable's missing values too; without, only whether a number is system-missing.
  bool IsMissing(bool user) const;
  bool IsMissing() const;
  // The column must be numeric. Deliberate: a negative zero becomes a positive one.
  void SetValue(double value);
  // The column must be a string. Cut or filled to the width; the rest of the last cell becomes blank.
  void SetValue(const char* text);
  // From the cells of a value of the variable's type.
  void SetValue(const OBS& value);

 private:
  OBS& LastCell() const;

  OBS* _pValue = nullptr;                     // in the iterator's buffer
  const QUAV_Variable* m_variable = nullptr;  // the source's
  unsigned int m_column;
  unsigned short _type = 0;
};

#endif
