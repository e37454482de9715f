// Where a chosen cell of successive cases goes.

#ifndef COLUMNS_BATCHES_CELLTARGET_H
#define COLUMNS_BATCHES_CELLTARGET_H

#include <cstdint>

#include "datasrc/Obs.h"

struct CellTarget {
  OBS* cells;  // that of case r to cells[r]
  // For a number: the bits that say which cases have a value, all but the system-missing ones (ColumnBatch.h describes
  // them). Where a byte is written, the bits of later cases in it are 0. Null where nobody wants them.
  std::uint8_t* present;
};

#endif
