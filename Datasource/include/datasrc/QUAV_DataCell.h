// A view of one column in the cells of a case. The source and the cells must outlive it, and the variable's type must
// not change.
//
// Threads: one thread at a time, together with its case.

#ifndef DATASRC_QUAV_DATACELL_H
#define DATASRC_QUAV_DATACELL_H

#include "Platform/Export.h"
#include "datasrc/Obs.h"
#include "datasrc/QUAV_DataSource.h"
#include "datasrc/QUAV_InputCaseIterator.h"
#include "datasrc/QUAV_Variable.h"

class DATASRC_API QUAV_DataCell {
 public:
  // The column counts from 0. Both assert that it exists. `cells` is the start of the case.
  QUAV_DataCell(const QUAV_DataSource& source, int column, QUAV_InputCaseIterator& iterator);
  QUAV_DataCell(const QUAV_DataSource& source, int column, OBS* cells);

  // Copies the cells of a value of the variable's type; `value` is the first of them.
  QUAV_DataCell& operator=(const OBS& value);
  // Does the same as SetTo with a terminated text.
  QUAV_DataCell& operator=(const char* text);
  // Truncates the text to the width, and fills the field with blanks. The type is not checked: the cell of a number
  // takes 8 bytes of text. The length is in bytes.
  void SetTo(const char* text, unsigned int length);
  // Returns whether the value is missing for the variable.
  bool IsMissing() const;

 private:
  const QUAV_Variable* m_variable;  // the source's
  OBS* m_cell;                      // the first one, in the case
  unsigned short m_type;
  unsigned short m_maxText;  // the most bytes of text
  unsigned int m_fieldSize;  // in bytes
};

#endif
