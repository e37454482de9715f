// A dictionary without cases. To ask it for cases is a programming error: MakeIterator asserts "0".
//
// Threads: as QUAV_DataSource.

#ifndef DATASRC_DATAFREEDATASOURCE_H
#define DATASRC_DATAFREEDATASOURCE_H

#include "Platform/Export.h"
#include "datasrc/QUAV_DataSource.h"

class DATASRC_API DataFreeDataSource : public QUAV_DataSource {
 public:
  // Makes an empty dictionary that is not marked as changed.
  DataFreeDataSource();
  ~DataFreeDataSource() override;

  QUAV_InputCaseIterator* MakeIterator(OBS* buffer) const override;
};

#endif
