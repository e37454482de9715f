// The layout of a case: the cell at which each variable begins. Cells and variables count from 0.
//
// Variables are in dictionary order without gaps: the first begins at cell 0, and each other one where the one before
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
  // Returns the first cell of the variable: -1 for variable -1, the total number of cells for the one after the last
  // variable. Asserts that the variable is in this range.
  int GetObsIndex(int var_index) const;
  // The number of cells of a case.
  unsigned int TotalCells() const { return m_totalCells; }
  // The number of cells of the last variable, 0 without variables.
  unsigned int LastCells() const { return m_lastCells; }

  // Types are those of a variable: 0 numeric, else the string's width in bytes.
  void AddVariable(int type);
  // Inserts before `index`; adds at the end when no variable has that index.
  void InsertVariable(unsigned int index, int type);
  // Changes the type of the variable; `oldType` must be its present type.
  void SetVariable(unsigned int index, int oldType, int newType);
  // Deletes from `start` to `finish`, both included. Asserts that `finish` exists and start <= finish + 1.
  void DeleteVariables(unsigned int start, unsigned int finish);

 private:
  std::vector<unsigned int> m_firstCells;
  unsigned int m_totalCells = 0;
  unsigned int m_lastCells = 0;
};

#endif
