// A view of one column in the cells of a case.
//
// Threads: one thread at a time, with its case.

#ifndef DATASRC_QUAV_DATACELL_H
#define DATASRC_QUAV_DATACELL_H

#include "Platform/Export.h"
#include "datasrc/Obs.h"
#include "datasrc/QUAV_DataSource.h"
#include "datasrc/QUAV_InputCaseIterator.h"
#include "datasrc/QUAV_Variable.h"

class DATASRC_API QUAV_DataCell {
 public:
  QUAV_DataCell(const QUAV_DataSource& source, int column, QUAV_InputCaseIterator& iterator);
  QUAV_DataCell(const QUAV_DataSource& source, int column, OBS* cells);

  // From the cells of a value of the variable's type.
  QUAV_DataCell& operator=(const OBS& value);
  QUAV_DataCell& operator=(const char* text);
  // Cuts the text to the width and fills the field with blanks.
  void SetTo(const char* text, unsigned int length);
  bool IsMissing() const;

 private:
  const QUAV_Variable* m_variable;  // the source's
  OBS* m_cell;                      // in the case
  unsigned short m_type;
  unsigned short m_maxText;  // bytes of text that fit
  unsigned int m_fieldSize;  // bytes of the field
};

#endif
