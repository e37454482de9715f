// The layout of a case: which cell each variable begins at.
//
// Variables lie in dictionary order without gaps, so the first begins at cell 0, and each next one where the one before
// it ends.
//
// Threads: one writer, or several readers.

#ifndef DATASRC_QUAV_DSOBS_H
#define DATASRC_QUAV_DSOBS_H

#include <vector>

#include "Platform/Export.h"
#include "datasrc/Obs.h"

class DATASRC_API QUAV_DSObs {
 public:
  // The first cell of the variable: -1 for variable -1, the total of cells for one past the last variable. Asserts that
  // the variable lies in this range.
  int GetObsIndex(int var_index) const;
  // The cells of a whole case.
  unsigned int TotalCells() const { return m_totalCells; }
  // The cells of the last variable, 0 with no variable.
  unsigned int LastCells() const { return m_lastCells; }

  // Types are those of a variable: 0 numeric, else the string's width.
  void AddVariable(int type);
  // Before `index`; at the end when the index is there or behind.
  void InsertVariable(unsigned int index, int type);
  // The variable changes its type.
  void SetVariable(unsigned int index, int oldType, int newType);
  // From `start` to `finish`, both included. Asserts that `finish` is a variable.
  void DeleteVariables(unsigned int start, unsigned int finish);

 private:
  std::vector<unsigned int> m_firstCells;
  unsigned int m_totalCells = 0;
  unsigned int m_lastCells = 0;
};

#endif
