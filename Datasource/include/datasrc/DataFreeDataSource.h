// A dictionary with no cases at all. Asking it for cases is a programming error: MakeIterator asserts "0".
//
// Threads: as a data source.

#ifndef DATASRC_DATAFREEDATASOURCE_H
#define DATASRC_DATAFREEDATASOURCE_H

#include "Platform/Export.h"
#include "datasrc/QUAV_DataSource.h"

class DATASRC_API DataFreeDataSource : public QUAV_DataSource {
 public:
  // Empty, and not marked as changed.
  DataFreeDataSource();
  ~DataFreeDataSource() override;

  QUAV_InputCaseIterator* MakeIterator(OBS* buffer) const override;
};

#endif
